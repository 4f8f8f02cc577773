/* The value types that pass between the libraries: counted octets, identifiers, numbers, times.
 *
 * Conventions of every header below `corvid/`:
 * - C11 and C++20, fixed-width integers, natural alignment.
 * - A status is `uint32_t`, 0 for success; a code's reason is told by the library that owns it.
 * - Outputs are written only on success unless a function says otherwise.
 * - Memory that a function hands over comes from the toolkit allocator (corvid/common.h).
 * - Functions keep no state between calls unless they say so, and may run in any thread. */
#ifndef CORVID_TYPES_H_
#define CORVID_TYPES_H_

#include <stdint.h>

/* Marks what a library exports. */
#define CVD_EXPORT __attribute__((visibility("default")))

/* Counted octets: a DER encoding, digest, key or parameter block. Empty is {0, null}. A `BIN` that
 * a function filled owns its octets and is released with CVD_BIN_Reset. */
typedef struct BIN {
  int32_t length; /* octets */
  uint8_t* data;  /* null for none */
} BIN;

/* The content octets of an OBJECT IDENTIFIER (X.690 section 8.19), without tag and length. */
typedef struct CVD_OID {
  uint16_t length;     /* octets */
  const uint8_t* data; /* null for none */
} CVD_OID;

/* An INTEGER of any size: its content octets, big-endian two's complement, as encoded. */
typedef struct Huge {
  uint16_t length; /* octets */
  uint8_t* data;   /* null for none */
} Huge;

/* A BIT STRING. The octets count is `bits` / 8 rounded up; unused bits are zero. */
typedef struct CVD_BitString {
  uint32_t bits; /* that are used */
  uint8_t* data; /* null for none */
} CVD_BitString;

/* The broken-down fields of a time, in UTC. `further` is zero and not read. */
typedef struct CVD_TimeFields {
  int16_t year;       /* UTCTime: 0 to 99; GeneralizedTime: the full year */
  int16_t month;      /* 1 to 12 */
  int16_t day;        /* 1 to 31 */
  int16_t hour;       /* 0 to 23 */
  int16_t minute;     /* 0 to 59 */
  int16_t second;     /* 0 to 59 */
  int16_t further[3]; /* 0 */
} CVD_TimeFields;

enum { CVD_TIME_UTC = 1, CVD_TIME_GENERALIZED = 2 };

/* The Time CHOICE of RFC 5280 section 4.1.2.5. */
typedef struct CVD_Time {
  uint16_t kind;         /* CVD_TIME_UTC or CVD_TIME_GENERALIZED */
  CVD_TimeFields fields; /* of that kind */
} CVD_Time;

#endif /* CORVID_TYPES_H_ */
