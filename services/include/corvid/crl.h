/* The revocation-list library (libCorvidCRL): lists (RFC 5280 section 5), loaded once, asked often.
 */
#ifndef CORVID_CRL_H_
#define CORVID_CRL_H_

#include "corvid/records.h"
#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  CVD_CRL_ERR_INVALID_INPUT = 33001,
  CVD_CRL_ERR_MALLOC = 33002,
  CVD_CRL_ERR_BAD_LIST = 33010,  /* neither a DER list nor PEM text of one */
  CVD_CRL_ERR_BAD_ENTRY = 33011, /* an entry, or an extension of one, that does not decode */
  CVD_CRL_ERR_EXTENSION = 33012, /* a critical extension that is not understood */
  CVD_CRL_ERR_DELTA = 33013,     /* a delta list: it is no list of its own */
  CVD_CRL_ERR_REASONS = 33014,   /* a list of some reasons only */
  CVD_CRL_ERR_ISSUER = 33020,    /* the list speaks of another issuer's certificates */
  CVD_CRL_ERR_SCOPE = 33021,     /* the list does not cover this certificate */
  CVD_CRL_ERR_ALGORITHM = 33030, /* signed by an algorithm without number, or by two */
  CVD_CRL_ERR_SIGNATURE = 33031  /* the signature does not verify */
};

/* A loaded list. Read-only: any number of threads may ask it at once. */
typedef struct CVD_CRL CVD_CRL;

/* The library's version, "1.7.0.0". */
CVD_EXPORT const char* CVD_GetVersionCRL(void);
/* The short English reason of a code of this library, "" for any other; `selector` is not read. */
CVD_EXPORT const char* CVD_GetErrReasonCRL(uint32_t code, int32_t selector);

/* Loads one list, DER or PEM text, and indexes its entries by serial number: at most 32 bytes an
 * entry beside the DER, and each certificateIssuer once. The caller releases `*crl` with
 * CVD_CRL_Free; `encoding` is not kept. Refuses lists with critical extensions that are not
 * understood (of the list or of an entry), delta lists, lists of some reasons only, and entries
 * that do not decode. Version 1 lists and lists without entries load. */
CVD_EXPORT uint32_t CVD_CRL_Load(CVD_CRL** crl, const BIN* encoding);
/* Releases a list; null is ignored. */
CVD_EXPORT void CVD_CRL_Free(CVD_CRL* crl);

/* Verifies the list's signature with the key of `issuer`, whose subject must be the list's issuer
 * (CVD_CRL_ERR_ISSUER) and whose keyUsage, if it has one, must allow cRLSign
 * (CVD_CRL_ERR_SIGNATURE). 0; CVD_CRL_ERR_ALGORITHM, CVD_CRL_ERR_SIGNATURE; another code of the
 * cryptographic or ASN.1 library for a malformed key or signature. */
CVD_EXPORT uint32_t CVD_CRL_VerifySignature(const CVD_CRL* crl, const CVD_Certificate* issuer);

/* What a list says of itself. */
typedef struct CVD_CRLInfo {
  int64_t thisUpdate;     /* seconds since 1970-01-01 00:00:00 UTC */
  int64_t nextUpdate;     /* the same; -1 when the list does not tell */
  uint32_t count;         /* entries, those that remove a certificate from the list included */
  const CVD_Name* issuer; /* the list's own */
} CVD_CRLInfo;

/* Tells a list's times, entries and issuer, which refers to the list. CVD_CRL_ERR_INVALID_INPUT for
 * null. */
CVD_EXPORT uint32_t CVD_CRL_GetInfo(const CVD_CRL* crl, CVD_CRLInfo* info);

/* 1 when the list revokes the certificate, 0 when it covers the certificate and does not revoke it.
 * CVD_CRL_ERR_ISSUER when the list is of another issuer than the certificate, but for an indirect
 * list with an entry of that issuer (certificateIssuer), or whose issuer a distribution point of
 * the certificate names (cRLIssuer); CVD_CRL_ERR_SCOPE when the list's issuingDistributionPoint
 * leaves the certificate out: user or CA certificates only, attribute certificates only, or a
 * distribution point that the certificate does not name (as far as a few thousand of its names are
 * compared). Entries with the reason removeFromCRL revoke nothing. Neither the signature nor the
 * time is looked at. O(log n), without allocation; of an indirect list the issuers of one serial
 * number are compared one by one, and, when the certificate does not name it, all the entries'
 * issuers. `context` is not read. */
CVD_EXPORT uint32_t CVD_IsCertRevoked(void* context, const CVD_CRL* crl,
                                      const CVD_Certificate* certificate);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_CRL_H_ */
