/* The common toolkit (libCorvidCrypto): allocator, counted octets, lists, big numbers, the trace.
 */
#ifndef CORVID_COMMON_H_
#define CORVID_COMMON_H_

#include <stddef.h>

#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The functions of this header that return a status use the module's two codes. */
enum { CVD_ERR_INVALID_INPUT = 36001, CVD_ERR_MALLOC = 36003 };

/* ---- allocator: every block of the toolkit comes from here ------------------------------- */

/* A block of `size` bytes, or null. A size of 0 is a block that may not be written. */
CVD_EXPORT void* CVD_malloc(size_t size);
/* A zeroed block of `count` times `size` bytes, or null, also when the product wraps. */
CVD_EXPORT void* CVD_calloc(size_t count, size_t size);
/* Resizes `block`; null, with `block` as it was, when memory is short. */
CVD_EXPORT void* CVD_realloc(void* block, size_t size);
/* Releases a block; null is ignored. */
CVD_EXPORT void CVD_free(void* block);

/* ---- counted octets ---------------------------------------------------------------------- */

/* Releases the octets and sets `bin` to {0, null}. A null or empty `bin` is ignored. */
CVD_EXPORT void CVD_BIN_Reset(BIN* bin);
/* Makes `destination` an independent copy of `source`, whose earlier octets are not released.
 * Zero octets give {0, null}. CVD_ERR_INVALID_INPUT for null pointers, a negative length, or a
 * positive length without data; CVD_ERR_MALLOC. */
CVD_EXPORT uint32_t CVD_BIN_Copy(BIN* destination, const BIN* source);

/* One element of a list of octets. */
typedef struct CVD_BIN_LIST CVD_BIN_LIST;
struct CVD_BIN_LIST {
  CVD_BIN_LIST* next; /* null at the end */
  uint32_t length;    /* octets */
  uint8_t* data;      /* the element's own */
};

/* Puts a copy of `item` in front of the list at `*head`. Codes as CVD_BIN_Copy; the list is then as
 * it was. */
CVD_EXPORT uint32_t CVD_BIN_LIST_Add(CVD_BIN_LIST** head, const BIN* item);
/* Releases every node and its octets; null is ignored. */
CVD_EXPORT void CVD_BIN_LIST_Free(CVD_BIN_LIST* first);

/* ---- big numbers ------------------------------------------------------------------------- */

/* The value of `huge` as a 32-bit number: the low 32 bits of its sign-extended value.
 * CVD_ERR_INVALID_INPUT for null pointers or a number without octets. */
CVD_EXPORT uint32_t CVD_HugeToNumEx(const Huge* huge, uint32_t* number);
/* Allocates the value in lower-case hexadecimal, two digits an octet, without a leading zero octet
 * ("00" for zero); a negative number shows its content octets. Released with CVD_free. Codes as
 * CVD_HugeToNumEx, and CVD_ERR_MALLOC. */
CVD_EXPORT uint32_t CVD_HugeToHexEx(const Huge* huge, char** text);
/* Makes the INTEGER contents of `number`; the caller releases `huge->data` with CVD_free. */
CVD_EXPORT uint32_t CVD_NumToHugeEx(uint32_t number, Huge* huge);

/* ---- the failure trace ------------------------------------------------------------------- */

/* One traced failure. Texts that are longer are cut. */
typedef struct CVD_TraceEntry {
  char function[64]; /* that failed, or handed the failure on */
  int32_t code;      /* its status */
  char reason[64];   /* of the code */
  char file[32];     /* name of the source file */
  int32_t line;      /* in it */
} CVD_TraceEntry;

enum { CVD_TRACE_KEPT = 64 }; /* entries that a thread keeps */

/* Records a failure in the calling thread's trace, which keeps the newest CVD_TRACE_KEPT entries.
 * Never fails; null texts count as "". */
CVD_EXPORT void CVD_Trace_PutError(const char* function, int32_t code, const char* reason,
                                   const char* file, int32_t line);
/* The number of entries kept in the calling thread. */
CVD_EXPORT uint32_t CVD_Trace_Count(void);
/* The number of older entries that the calling thread no longer has. */
CVD_EXPORT uint32_t CVD_Trace_Lost(void);
/* Copies the entry at `index`, 0 being the oldest kept. CVD_ERR_INVALID_INPUT for a null entry or
 * an index that is not below CVD_Trace_Count(). */
CVD_EXPORT uint32_t CVD_Trace_Get(uint32_t index, CVD_TraceEntry* entry);
/* Forgets the calling thread's entries and the number of those lost. */
CVD_EXPORT void CVD_Trace_Clear(void);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_COMMON_H_ */
