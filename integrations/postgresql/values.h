/* What the reading of a certificate leaves behind: values in the server's memory.
 *
 * While a decoded record is at hand, nothing here jumps out: memory that is short is a status, and
 * the caller raises it once the record is released. */
#ifndef CORVID_PKC_POSTGRESQL_VALUES_H_
#define CORVID_PKC_POSTGRESQL_VALUES_H_

#include <postgres.h> /* before every other header, as the server wants it */

#include <corvid/pkc.h>

/* A value of one column. The thing is absent when `present` is false and `status` is 0. */
typedef struct Value {
  uint32_t status; /* why a value that should be there is not */
  bool present;
  Datum datum;
  Datum* items; /* of a text[], instead of `datum` */
  int count;
} Value;

/* Sets the library's options for the database's encoding. */
void FollowServerEncoding(void);

/* Memory of the current context, or null. */
void* TryAllocate(size_t size);
/* A text, or null. Octets that are no character of the database's encoding become \xhh. */
struct varlena* TryText(const char* text, size_t length);

/* Each puts a value and returns its status: 0 or PKC_ERR_MALLOC. */
uint32_t PutDatum(Value* value, Datum datum);
uint32_t PutOctets(Value* value, const void* octets, size_t length);
uint32_t PutText(Value* value, const char* text);
/* Puts and releases what a library function has allocated. */
uint32_t TakeOctets(Value* value, BIN* octets);
uint32_t TakeText(Value* value, char* text);
/* Puts an array with room for `count` texts, which are null until they are set. */
uint32_t PutTextArray(Value* value, size_t count);

bool IsMemoryStatus(uint32_t status);
/* Raises the server's error when the status says that memory is short. Nothing of the library may
 * be held. */
void RaiseIfMemoryIsShort(uint32_t status);
/* The datum of a value that is present. May raise. */
Datum ValueDatum(const Value* value);

#endif
