/* The ASN.1 library (libCorvidASN): DER to records and back, object identifiers, times. */
#ifndef CORVID_ASN_H_
#define CORVID_ASN_H_

#include "corvid/oids.h"
#include "corvid/records.h"
#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  CVD_ASN_ERR_INVALID_INPUT = 1001,
  CVD_ASN_ERR_MALLOC = 1002,
  CVD_ASN_ERR_UNKNOWN_TYPE = 1003,
  CVD_ASN_ERR_TRUNCATED = 1010,   /* an element ends before its header or content does */
  CVD_ASN_ERR_LENGTH = 1011,      /* a length that is indefinite, not minimal, or over 4 octets */
  CVD_ASN_ERR_TAG = 1012,         /* another element, or none, where one is required */
  CVD_ASN_ERR_TRAILING = 1013,    /* octets left over at the end of a value */
  CVD_ASN_ERR_BOOLEAN = 1014,     /* neither 00 nor FF */
  CVD_ASN_ERR_INTEGER = 1015,     /* empty or not minimal */
  CVD_ASN_ERR_RANGE = 1016,       /* wider than the record holds */
  CVD_ASN_ERR_OID = 1017,         /* malformed object identifier */
  CVD_ASN_ERR_BIT_STRING = 1018,  /* unused bits that are over 7, of nothing, or not zero */
  CVD_ASN_ERR_TIME = 1019,        /* not in DER form, or no such date or time */
  CVD_ASN_ERR_TEXT = 1020,        /* a NUL in a text, or not valid in its string type */
  CVD_ASN_ERR_TEXT_LENGTH = 1021, /* more characters than the type allows */
  CVD_ASN_ERR_ALTERNATIVE = 1022, /* a CHOICE's alternative that the record does not hold */
  CVD_ASN_ERR_EMPTY = 1023        /* no element where one or more is required */
};

/* The library's version, "1.7.0.0". */
CVD_EXPORT const char* CVD_ASN_GetVersion(void);
/* The short English reason of a code of this library, "" for any other; `selector` is not read. */
CVD_EXPORT const char* CVD_ASN_GetErrorReason(uint32_t code, int32_t selector);

/* ---- records ----------------------------------------------------------------------------- */

/* Decodes all of `der` as the type CVD_PDU_* into a new record of the struct named there.
 *
 * The record does not refer to `der`; it is one block, of at most 32 times the DER's length plus
 * 8 KiB, and is released by CVD_ASN_FreePDU. Strict where DER (X.690) is strict: definite minimal
 * lengths, minimal INTEGERs, nothing left over. Lenient where issued certificates need it: any
 * string type in a name, negative and long serial numbers, any version, empty SETs and lists, but
 * for policyQualifiers. What decodes encodes back to the identical octets.
 * After a failure `*record` is as it was, and CVD_ASN_GetDecodeFailure tells where it was. */
CVD_EXPORT uint32_t CVD_ASN_DecodePDU(void** record, const BIN* der, int32_t type);
/* CVD_ASN_DecodePDU for values that are read and dropped at once: the record lies in the `size`
 * octets at `memory`, aligned for any object, if it fits there, else in a new block as before.
 * A record that is not at `memory` is released by CVD_ASN_FreePDU; one that is ends with it. `der`
 * lies outside of `memory`. What that holds after a failure is not defined. Null memory counts as
 * none. */
CVD_EXPORT uint32_t CVD_ASN_DecodePDUInto(void** record, const BIN* der, int32_t type, void* memory,
                                          uint32_t size);
/* Encodes a record as the type CVD_PDU_*; the caller releases `der` with CVD_BIN_Reset. Checks the
 * upper bounds and character sets that the types state. */
CVD_EXPORT uint32_t CVD_ASN_EncodePDU(BIN* der, const void* record, int32_t type);
/* Releases a decoded record and all it owns; null is ignored. */
CVD_EXPORT void CVD_ASN_FreePDU(void* record, int32_t type);

/* Where the calling thread's last failing CVD_ASN_DecodePDU stood. */
typedef struct CVD_ASNFailure {
  uint32_t code;   /* the decoder's */
  uint32_t offset; /* octets from the start of the DER to the element that was refused */
  char path[160];  /* the field, as "tbsCertificate.extensions[2].extnID"; cut, if it is longer */
} CVD_ASNFailure;

/* CVD_ASN_ERR_INVALID_INPUT for null, or when no decode of this thread has failed. */
CVD_EXPORT uint32_t CVD_ASN_GetDecodeFailure(CVD_ASNFailure* failure);

/* 0 when two names are equal as RFC 5280 section 7.1 asks, else 1: the same RDNs in the same order,
 * each with the same attributes in any order (of the more than 32 of one RDN, in the same order);
 * values of any string type are compared without regard to the type, to the case of ASCII letters,
 * and to white space at the ends or repeated within. A null or released name equals nothing. */
CVD_EXPORT int32_t CVD_ASN_CmpName(const CVD_Name* a, const CVD_Name* b);

/* ---- object identifiers ------------------------------------------------------------------ */

/* The constant record of the catalogue number CVD_OID_*, or null for an unknown number. */
CVD_EXPORT const CVD_OID* CVD_ASN_GetOID(int32_t number);
/* 0 when both have the same octets, else 1; null equals nothing. */
CVD_EXPORT int32_t CVD_ASN_CmpOID(const CVD_OID* a, const CVD_OID* b);
/* Allocates the dotted decimal text ("2.5.29.15"), released with CVD_free. Subidentifiers have up
 * to 128 bits; a wider one, or a malformed identifier, is CVD_ASN_ERR_OID. */
CVD_EXPORT uint32_t CVD_ASN_OID2DotVal(char** text, const CVD_OID* oid);
/* The same into the caller's `*count` bytes; sets `*count` to the length of the text. They must be
 * 4 an octet of the identifier and 4 more, else CVD_ASN_ERR_INVALID_INPUT. After another failure
 * `out` holds no text. */
CVD_EXPORT uint32_t CVD_ASN_OID2DotValInto(char* out, uint32_t* count, const CVD_OID* oid);
/* Fills `oid` with newly allocated octets, released by CVD_ASN_ResetOID. Refuses (CVD_ASN_ERR_OID)
 * fewer than two numbers, empty numbers, anything but digits and dots, a first number over 2, a
 * second over 39 below 0 and 1, and numbers over 64 bits. */
CVD_EXPORT uint32_t CVD_ASN_DotVal2OID(CVD_OID* oid, const char* text);
/* Releases the octets of an OID that CVD_ASN_DotVal2OID filled, and clears it; null is ignored. */
CVD_EXPORT void CVD_ASN_ResetOID(CVD_OID* oid);

/* ---- times ------------------------------------------------------------------------------- */

/* Seconds since 1970-01-01 00:00:00 UTC of UTCTime fields; years below 50 are 20xx, others 19xx. */
CVD_EXPORT int64_t CVD_ASN_UTC2Time(const CVD_TimeFields* fields);
/* The same of GeneralizedTime fields with their full year. */
CVD_EXPORT int64_t CVD_ASN_General2Time(const CVD_TimeFields* fields);
/* The UTCTime fields of an instant; the year is taken modulo 100. */
CVD_EXPORT void CVD_ASN_Time2UTC(CVD_TimeFields* fields, int64_t time);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_ASN_H_ */
