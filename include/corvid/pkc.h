/* Corvid PKC: X.509 certificates as text, checked and issued (RFC 5280).
 *
 * Conventions, said once:
 * - A status is `uint32_t`: 0, a PKC_ERR_* code of this header, or a code of a service library that
 *   passes through unchanged (1000 to 1999 ASN.1, 3000 to 3999 codec, 6000 to 6999 cryptography,
 *   8000 to 8999 files, 33000 to 33999 revocation lists). CVD_PKC_GetErrorReason has the texts.
 *   Results that can be -1 by their own nature are `int32_t`.
 * - A null or short argument that is refused at the door is PKC_ERR_INVALID_INPUT and leaves no
 *   trace. Every other failure is traced where it arises and by each function that hands it on;
 *   corvid/common.h reads the trace.
 * - Arguments named `context` are not read; pass null.
 * - Texts are NUL-terminated and in the character set of the "locale" option. A text that is longer
 *   than its array is cut at the array's size less one byte, possibly inside a multibyte character.
 *   `capacity` counts bytes of an array, terminator included.
 * - A `BIN` that a function fills belongs to the caller, who releases it with CVD_BIN_Reset; a text
 *   that it hands over is released with CVD_free, a decoded record with CVD_ASN_FreePDU.
 * - Outputs are written only on success unless a function says otherwise.
 * - Functions run in any number of threads at once; the options are set while none runs. */
#ifndef CORVID_PKC_H_
#define CORVID_PKC_H_

#include <time.h>

#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/records.h"
#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- codes ------------------------------------------------------------------------------- */

enum {
  PKC_ERR_INVALID_INPUT = 36001,
  PKC_ERR_INTERNAL = 36002,
  PKC_ERR_MALLOC = 36003,
  PKC_ERR_UNKNOWN_ALGID = 36010,
  PKC_ERR_UNKNOWN_PKEYID = 36011,
  PKC_ERR_UNKNOWN_SIGNID = 36012,
  PKC_ERR_UNKNOWN_HASHID = 36013,
  PKC_ERR_BAD_CERT = 36030,
  PKC_ERR_BAD_RDN = 36032,
  PKC_ERR_BAD_EXTENSION = 36033,
  PKC_ERR_BAD_AUTHKEYID = 36034,
  PKC_ERR_BAD_SUBKEYID = 36035,
  PKC_ERR_BAD_KEYUSAGE = 36036,
  PKC_ERR_BAD_POLICIES = 36037,
  PKC_ERR_INVALID_SIGNATURE = 36050,
  PKC_ERR_INVALID_TIME = 36051,
  PKC_ERR_INVALID_VID = 36052,
  PKC_ERR_NO_PUBKEY = 36060,
  PKC_ERR_NO_EXTENSION = 36061,
  PKC_ERR_NO_VIDINFO = 36062,
  PKC_ERR_CERT_REVOKED = 36082,
  PKC_ERR_USER_CERT_TIME = 36083,
  PKC_ERR_ISSUER_CERT_TIME = 36084
};

/* The short English reason of a code of this library (`selector` 1) or of a service library (the
 * selector is handed on), never null; "" for an unknown code. */
CVD_EXPORT const char* CVD_PKC_GetErrorReason(uint32_t code, int32_t selector);
/* The same under its older name. */
CVD_EXPORT const char* CVD_GetErrReasonPKC(uint32_t code, int32_t selector);

/* ---- versions ---------------------------------------------------------------------------- */

/* "1.7.0.0". */
CVD_EXPORT const char* CVD_PKC_GetVersion(void);
/* The same under its older name. */
CVD_EXPORT const char* CVD_GetVersionPKC(void);
/* 0 when this library is at least `required` ("a.b.c.d"; null asks for nothing) and the service
 * libraries are recent enough for it, else -1. Missing numbers count as 0. */
CVD_EXPORT int32_t CVD_PKC_CheckVersion(const char* required);

/* ---- options ----------------------------------------------------------------------------- */

/* The current value of the option "locale" or "dncase", in its own storage: later changes show
 * there. Null for any other name. */
CVD_EXPORT const char* CVD_PKC_GetOption(const char* name);
/* Sets "locale" to "ko_KR-euc" (the initial value), "ko_KR-UTF-8", "ja_JP-EUC", "ja_JP-SJIS" or
 * "ja_JP-UTF-8", or "dncase" to "upper" or "lower" (the initial value). 0, or -1 when the name or
 * value is another. Process-wide; not while other threads use the library. */
CVD_EXPORT int32_t CVD_PKC_SetOption(const char* name, const char* value);
/* CVD_PKC_SetOption of "locale". */
CVD_EXPORT int32_t CVD_SetLocalePKC(const char* locale);

/* ---- growable and bounded text ----------------------------------------------------------- */

/* A growable byte string, kept NUL-terminated: `length` < `capacity`. One thread at a time. */
typedef struct StrBuf {
  uint32_t capacity;  /* bytes for text and terminator */
  uint32_t length;    /* bytes of text; they may hold NULs */
  uint32_t increment; /* bytes that it grows by, or a multiple of them */
  uint8_t owned;      /* 1: CVD_PKC_StrBuf_New allocated the record itself */
  char* text;         /* null only before it is made */
} StrBuf;

/* A new empty buffer, or null when memory is short. 0 stands for the defaults 512 and 128. Released
 * with CVD_PKC_StrBuf_Free. */
CVD_EXPORT StrBuf* CVD_PKC_StrBuf_New(uint32_t capacity, uint32_t increment);
/* Makes the caller's record an empty buffer. PKC_ERR_INVALID_INPUT, PKC_ERR_MALLOC. */
CVD_EXPORT uint32_t CVD_PKC_StrBuf_Init(StrBuf* buffer, uint32_t capacity, uint32_t increment);
/* Appends `length` bytes. PKC_ERR_INVALID_INPUT for null or 0 bytes; PKC_ERR_MALLOC, with the
 * buffer as it was. */
CVD_EXPORT uint32_t CVD_PKC_StrBuf_AddString(StrBuf* buffer, const char* bytes, uint32_t length);
/* The text, which stays the buffer's unless the caller takes it over: does not call
 * CVD_PKC_StrBuf_Free, and releases the text with CVD_free. Null for a null buffer. */
CVD_EXPORT char* CVD_PKC_StrBuf_GetString(const StrBuf* buffer);
/* The number of bytes of text; 0 for a null buffer. */
CVD_EXPORT uint32_t CVD_PKC_StrBuf_GetLength(const StrBuf* buffer);
/* Releases the text, and the record if CVD_PKC_StrBuf_New made it. Null is ignored. */
CVD_EXPORT void CVD_PKC_StrBuf_Free(StrBuf* buffer);

/* Copies at most `size` - 1 bytes, fills the rest up to there with NULs, and terminates. Returns
 * the destination; a size of 0 writes nothing. */
CVD_EXPORT char* pkc_strncpy(char* destination, const char* source, uint32_t size);
/* Appends what fits of `source` after the text of `length` bytes (0: measured) in an array of
 * `size` bytes. Returns the length of the text that is there now. */
CVD_EXPORT uint32_t pkc_strncat(char* destination, uint32_t size, uint32_t length,
                                const char* source);
/* vsnprintf; a size of 0 writes nothing and returns 0. */
CVD_EXPORT int32_t pkc_snprintf(char* destination, uint32_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/* strtok_r. */
CVD_EXPORT char* pkc_strtok(char* text, const char* delimiters, char** position);
/* strncasecmp for ASCII: negative, 0 or positive. Null comes before every text. */
CVD_EXPORT int32_t pkc_strncasecmp(const char* a, const char* b, uint32_t count);
/* localtime_r on a 64-bit time; null on failure. */
CVD_EXPORT struct tm* pkc_localtime(const int64_t* time, struct tm* result);

/* ---- character sets ---------------------------------------------------------------------- */

/* Converts UTF-8 into the "locale" set. `size` is the destination's, at least 1; `length` the bytes
 * of `source` to read (it may end earlier at a NUL), 0 for all of a NUL-terminated text. The result
 * is cut to `size` - 1 bytes. PKC_ERR_INVALID_INPUT, PKC_ERR_MALLOC, or the codec's code when the
 * text is not valid or does not exist in the set. Traces nothing. */
CVD_EXPORT uint32_t CVD_PKC_UTF8_Decode(char* destination, int32_t size, const char* source,
                                        int32_t length);
/* The same from the "locale" set into UTF-8. */
CVD_EXPORT uint32_t CVD_PKC_UTF8_Encode(char* destination, int32_t size, const char* source,
                                        int32_t length);
/* Writes the text of one DER string (UTF8String, PrintableString, TeletexString, IA5String,
 * VisibleString or BMPString) in the "locale" set. `*count` is the array's size, then the text's
 * length; `available` the bytes at `der`. PrintableString, TeletexString, IA5String and
 * VisibleString are copied as they are; a UTF8String yields at most 201 bytes. (uint32_t)-1 for
 * another type, empty content, or an encoding longer than `available`. Traces nothing. */
CVD_EXPORT uint32_t CVD_PKC_ASNString_Decode(char* text, int32_t* count, const uint8_t* der,
                                             uint32_t available);

/* ---- the information records ------------------------------------------------------------- */

/* What a certificate says, as numbers and texts. Absent things are 0 or empty. */
typedef struct PKCCertInfo {
  uint32_t reserved0;          /* 0 */
  uint32_t version;            /* 1, 2 or 3 */
  uint32_t serialNumber;       /* its low 32 bits */
  char serialHex[41];          /* its octets; cut at 20 of them */
  char signAlgorithm[50];      /* "SHA256 + RSA", or the dotted identifier */
  char issuerDN[1024];         /* "cn=Root,o=Org,c=KR"; empty when it cannot be rendered */
  char notBefore[50];          /* "2026-01-31 09:00:00", local time for UTCTime of 2000 to 2037 */
  char notAfter[50];           /* the same */
  char subjectDN[1024];        /* the same form as the issuer's */
  char publicKeyAlgorithm[50]; /* "RSA", "DH", "DSA", "KCDSA", or the dotted identifier */
  char publicKeyHex[1024];     /* subjectPublicKey; cut at 511 octets */
  uint32_t keyLength;          /* bits; 0 when unknown */
  char signatureHex[1024];     /* signature value; cut at 511 octets */
  char authorityKeyId[80];     /* hexadecimal */
  char subjectKeyId[80];       /* hexadecimal */
  char keyUsage[200];          /* "keyCertSign,cRLSign" */
  uint32_t keyUsageFlags;      /* named bit n is 1 << n */
  uint8_t reserved1[100];      /* 0 */
  int32_t policyCount;         /* policies, of which ten are rendered */
  char policies[1024];         /* dotted identifiers, comma between */
  char policyCps[201];         /* CPS pointers, line feed between */
  char policyNotice[201];      /* explicit texts, line feed between */
  char subjectAltName[1024];   /* "DNS=example.com", line feed between names */
  char vidHashAlgorithm[50];   /* "SHA256" */
  char vid[65];                /* hexadecimal */
  char issuerAltName[1024];    /* as subjectAltName */
  char basicConstraints[80];   /* "Subject Type=CA, Path Length Constraint=0" */
  char extKeyUsage[1024];      /* "id-kp-serverAuth,1.2.3.4" */
  char crlDistPoints[1024];    /* "URL=http://...", line feed between names */
  char authInfoAccess[1024];   /* "OCSP:URL=http://...", line feed between */
  char nsCertType[200];        /* "sslClient,sslServer" */
  char thumbprint[65];         /* SHA-1 of the DER, hexadecimal */
} PKCCertInfo;

/* A PKCCertInfo and what Korean certificates carry beyond it. The base64 texts have no line ends.
 */
typedef struct PKCCertInfoEx {
  PKCCertInfo info;               /* what every certificate has */
  char extString1[20];            /* value of the first of three string extensions */
  char extString2[20];            /* of the second */
  char extString3[20];            /* of the third */
  char corporationName[180];      /* of the extension id_corporationName */
  char rsaModulus[1005];          /* base64, as encoded (with a leading zero octet) */
  char kcdsaP[1024];              /* base64 of a domain parameter, as encoded */
  char kcdsaQ[1024];              /* the same */
  char kcdsaG[1024];              /* the same */
  char kcdsaJ[1024];              /* the same; empty when absent */
  char kcdsaSeed[1024];           /* the same; empty when absent */
  char kcdsaCount[1024];          /* the same; empty when absent */
  uint32_t authoritySerialNumber; /* of the authority key identifier: low 32 bits */
  char authoritySerialHex[41];    /* its octets; cut at 20 of them */
  uint8_t reserved2[11];          /* 0 */
} PKCCertInfoEx;

/* 1.2.410.100001.5.7.101.4, the extension that names a corporation. */
CVD_EXPORT extern const CVD_OID id_corporationName;

/* Fills all of `info` from one DER certificate. The certificate is the file at `path` when
 * `from_memory` is 0 and `path` is not null, else the `length` bytes at `der`. The record is
 * cleared first; after a failure it holds what was filled before. A subject that is empty or cannot
 * be rendered, and a keyUsage, certificatePolicies, extKeyUsage, subjectAltName or issuerAltName
 * that cannot, end the record; other extensions that cannot stay empty. */
CVD_EXPORT uint32_t CVD_ExtractCertInfo(void* context, const char* path, const uint8_t* der,
                                        uint32_t length, int32_t from_memory, PKCCertInfo* info);
/* The same with the fields of PKCCertInfoEx. */
CVD_EXPORT uint32_t CVD_ExtractCertInfoEx(void* context, const char* path, const uint8_t* der,
                                          uint32_t length, int32_t from_memory,
                                          PKCCertInfoEx* info);
/* The same from a decoded certificate; `thumbprint` stays empty. */
CVD_EXPORT uint32_t CVD_DoExtractCertInfo(void* context, const CVD_Certificate* certificate,
                                          PKCCertInfo* info);
/* Fills the fields that need no extension, without clearing the record. */
CVD_EXPORT uint32_t CVD_ExtractCertInfoNoExt(void* context, const CVD_Certificate* certificate,
                                             PKCCertInfo* info);
/* Fills the extension fields, without clearing the record. */
CVD_EXPORT uint32_t CVD_ExtractCertExtension(void* context, const CVD_Certificate* certificate,
                                             PKCCertInfo* info);
/* Decodes a DER certificate; the caller releases `*record` with CVD_ASN_FreePDU(…,
 * CVD_PDU_CERTIFICATE). PKC_ERR_BAD_CERT, with `*record` null, when it does not decode. */
CVD_EXPORT uint32_t CVD_GetCertificateCtxBin(void* context, const BIN* certificate,
                                             CVD_Certificate** record);
/* Writes `data` in lower-case hexadecimal into an array of `*capacity` bytes (at least 3), cut to
 * whole octets. */
CVD_EXPORT uint32_t CVD_PKC_BIN_ToHex(char* out, const int32_t* capacity, const BIN* data);

/* ---- keys -------------------------------------------------------------------------------- */

/* The certificate's pkeyID, domain parameters (RFC 5280 section 4.1.2.7; `parameters` may be null;
 * not touched for RSA keys or absent parameters) and subjectPublicKey octets.
 * PKC_ERR_UNKNOWN_PKEYID, with *pkeyID -1, for an algorithm without number. */
CVD_EXPORT uint32_t CVD_PKC_GetPubKeyInfo(int32_t* pkeyID, BIN* parameters, BIN* publicKey,
                                          const CVD_Certificate* certificate);
/* The same from DER; `pkeyID` and `parameters` may be null. */
CVD_EXPORT uint32_t CVD_GetSubPubKeyInfo(BIN* publicKey, int32_t* pkeyID, BIN* parameters,
                                         const BIN* certificate);
/* The subjectPublicKey octets of a DER certificate. */
CVD_EXPORT uint32_t CVD_GetCertPubKey(BIN* publicKey, const BIN* certificate);
/* Fills kcdsaP to kcdsaCount from the DER of KCDSA domain parameters SEQUENCE { p, q, g, j
 * OPTIONAL, SEQUENCE { seed OCTET STRING, count INTEGER } OPTIONAL }. (uint32_t)-21 to -36 for
 * malformed ones, (uint32_t)-7 for a text over 1023 characters; fields before the failure stay
 * filled. */
CVD_EXPORT uint32_t CVD_Decode_KCDSA_Parameters(const BIN* parameters, PKCCertInfoEx* info);
/* Fills rsaModulus from the DER of an RSAPublicKey (RFC 8017 appendix A.1.1). (uint32_t)-11, -12 or
 * -13 for a malformed one, (uint32_t)-5 for a text over 999 characters. */
CVD_EXPORT uint32_t CVD_Decode_RSAPublicKey(const uint8_t* der, uint32_t length,
                                            PKCCertInfoEx* info);

/* ---- thumbprints ------------------------------------------------------------------------- */

/* Writes the base64 text, without terminator, of the digest CVD_HASH_* of a whole DER certificate;
 * `out` is zero-filled and holds it (28 characters for SHA-1, 88 for SHA-512).
 * CVD_CSP_ERR_UNKNOWN_HASHID for another number. Traces nothing. */
CVD_EXPORT uint32_t CVD_PKC_GetCertThumbPrint(char* out, int32_t hashID, const BIN* certificate);
/* The same over the signed part only. */
CVD_EXPORT uint32_t CVD_PKC_GetCertThumbPrintExcludeSig(char* out, int32_t hashID,
                                                        const BIN* certificate);

/* ---- algorithms -------------------------------------------------------------------------- */

/* Conversions between the numbers of corvid/csp.h and identifiers; -1 or null for unknown ones. */
CVD_EXPORT int32_t CVD_PKC_SignID_To_PkeyID(uint32_t signID);
CVD_EXPORT int32_t CVD_PKC_SignID_To_HashID(int32_t signID);
CVD_EXPORT const CVD_OID* CVD_PKC_SignID_To_ObjID(uint32_t signID);
CVD_EXPORT int32_t CVD_PKC_ObjID_To_SignID(const CVD_OID* oid);
CVD_EXPORT const CVD_OID* CVD_PKC_PkeyID_To_ObjID(uint32_t pkeyID);
CVD_EXPORT int32_t CVD_PKC_ObjID_To_PkeyID(const CVD_OID* oid);
CVD_EXPORT const CVD_OID* CVD_PKC_HashID_To_ObjID(uint32_t hashID);
CVD_EXPORT int32_t CVD_PKC_ObjID_To_HashID(const CVD_OID* oid);

/* The hash of a certificate's signature, for a DER or PEM certificate: SHA-1 (3), SHA-256 (6) with
 * RSA or KCDSA, HAS-160 (4); 3 for everything else. `hashID` is required. */
CVD_EXPORT uint32_t CVD_PKC_GetHashAlg(uint32_t* hashID, const BIN* certificate);
/* The signature algorithm: signID 3 to 6, 21, 22, 27; 3 for everything else. */
CVD_EXPORT uint32_t CVD_PKC_GetSignAlg(uint32_t* signID, const BIN* certificate);

/* ---- names ------------------------------------------------------------------------------- */

/* Allocate a name's text: RDNs in reverse order joined by ",", attributes of one RDN joined by "+",
 * labels in the case of "dncase" (C O OU CN S L E ID T DC DNQUALIFIER; others are left out),
 * special characters escaped by a backslash, control bytes as \09: "cn=Doe\, John,o=Org,c=KR"
 * (after RFC 2253). A value yields at most 201 bytes. PKC_ERR_BAD_RDN for a value that cannot be
 * shown, PKC_ERR_INVALID_INPUT for a name without RDNs. Released with CVD_free. */
CVD_EXPORT uint32_t CVD_ExtractRDN(void* reserved, const CVD_Name* name, char** text);
/* The subject; `*text` is set to null first. */
CVD_EXPORT uint32_t CVD_GetRDNFromCert(void* reserved, const CVD_Certificate* certificate,
                                       char** text);
/* The issuer. */
CVD_EXPORT uint32_t CVD_GetIssuerRDNFromCert(void* reserved, const CVD_Certificate* certificate,
                                             char** text);
/* The subject of a DER certificate. */
CVD_EXPORT uint32_t CVD_ExtractDN(void* reserved, const BIN* der, char** text);

/* Reads a name from text, the form that CVD_ExtractRDN writes: "cn=Doe\, John,o=Org,c=KR" makes the
 * RDNs C, O, CN in this order. Labels (E O L S C T CN OU ID DC DNQUALIFIER) in any case; blanks
 * around labels and values, and a missing "=", are forgiven; a backslash stands before each of
 * ",=+<>\" or before two hexadecimal digits of an octet; a ";" cannot be written, nor a "+" in a
 * value. O, T, CN and OU hold up to 64 characters, L and S 128, as UTF8String; C two octets and
 * DNQUALIFIER any number as PrintableString, E up to 128 octets (cut there), ID and DC any number
 * as IA5String, all five as passed. A component (all attributes of one RDN) has at most 401 octets.
 * The name is released with CVD_NameFree; after a failure it is empty. PKC_ERR_BAD_RDN for a text
 * of another form, PKC_ERR_MALLOC (PKC_ERR_INVALID_INPUT for a second attribute of an RDN), or the
 * code of the conversion or of the encoder. */
CVD_EXPORT uint32_t CVD_ImplementRDN(void* reserved, CVD_Name* name, const char* text);
/* Reads one attribute ("cn = Doe\, John", at most 401 octets) and adds its label and its value,
 * terminated and without escapes, at the heads of two lists, which the caller releases with
 * CVD_BIN_LIST_Free. PKC_ERR_BAD_RDN, also for a null list and a negative length; PKC_ERR_MALLOC.
 * The lists are then as they were. Traces nothing. */
CVD_EXPORT uint32_t CVD_GetAttrTypeAndValue(const char* text, int32_t length, CVD_BIN_LIST** types,
                                            CVD_BIN_LIST** values);
/* Releases the RDNs of a name that CVD_ImplementRDN made, and empties it; null is ignored. */
CVD_EXPORT void CVD_NameFree(CVD_Name* name);

/* ---- extensions -------------------------------------------------------------------------- */

/* The first extension `oid` from the node `extensions` onwards, or null. */
CVD_EXPORT const CVD_Extension* CVD_GetExtension(const CVD_ExtensionNode* extensions,
                                                 const CVD_OID* oid);

/* Renderers: each finds its extension from the node given and writes its text into an array of
 * `capacity` bytes (at least 2; a text is left as it was when the extension does not decode).
 * PKC_ERR_NO_EXTENSION when it is absent, PKC_ERR_BAD_EXTENSION when malformed (keyUsage:
 * PKC_ERR_BAD_KEYUSAGE). `flags` may be null. */

/* "sslClient,sslServer": the first octet of the BIT STRING of Netscape's certificate type. */
CVD_EXPORT uint32_t CVD_PKC_NSCertType_ToString(char* text, int32_t capacity, uint32_t* flags,
                                                const CVD_ExtensionNode* extensions);
/* "keyCertSign,cRLSign"; named bit n is 1 << n (RFC 5280 section 4.2.1.3). */
CVD_EXPORT uint32_t CVD_PKC_KeyUsage_ToString(char* text, int32_t capacity, uint32_t* flags,
                                              const CVD_ExtensionNode* extensions);
/* "id-kp-serverAuth,1.2.3.4"; id-kp-serverAuth 0x01 to id-kp-timeStamping 0x80
 * (section 4.2.1.12). */
CVD_EXPORT uint32_t CVD_PKC_ExtKeyUsage_ToString(char* text, int32_t capacity, uint32_t* flags,
                                                 const CVD_ExtensionNode* extensions);
/* "Subject Type=CA, Path Length Constraint=None" (section 4.2.1.9). */
CVD_EXPORT uint32_t CVD_PKC_BasicConsts_ToString(char* text, int32_t capacity,
                                                 const CVD_ExtensionNode* extensions);
/* "OCSP:URL=http://...", a line feed between descriptions (section 4.2.2.1); what was written
 * before a name that cannot be rendered stays. */
CVD_EXPORT uint32_t CVD_PKC_AuthInfoAccess_ToString(char* text, int32_t capacity,
                                                    const CVD_ExtensionNode* extensions);
/* "URL=http://...", "reason" and the reasons of a point; in UTF-8 as stored, but for directory
 * names (section 4.2.1.13). */
CVD_EXPORT uint32_t CVD_PKC_CrlDistPoints_ToString(char* text, int32_t capacity,
                                                   const CVD_ExtensionNode* extensions);
/* Renders the alternative names (section 4.2.1.6) of the node given, which is not searched for:
 * "RN=" mail, "DNS=", "DN=", "URL=", "IP=", "ON=" other name and its octets in hexadecimal, a line
 * feed between. For a subjectAltName with identity data the holder's name, the VID in hexadecimal
 * and its hash's name are written too, when all three arrays are given. `capacity` is at least 3.
 * What was written before a failure stays. */
CVD_EXPORT uint32_t CVD_PKC_AltName_ToString(char* text, int32_t capacity, char* holderName,
                                             int32_t holderCapacity, char* vid, int32_t vidCapacity,
                                             char* hashName, int32_t hashCapacity,
                                             const CVD_ExtensionNode* node);
/* Appends to three texts, which the caller passes holding texts (section 4.2.1.4): the policy
 * identifiers (comma between), the CPS pointers and the explicit texts of user notices (line feed
 * between). `*count` is the number of policies; the first ten are rendered. PKC_ERR_BAD_POLICIES
 * for a malformed value. A null list is traced, unlike other refused arguments. */
CVD_EXPORT uint32_t CVD_PKC_CertPolicies_ToString(int32_t* count, char* policies,
                                                  int32_t policiesCapacity, char* cps,
                                                  int32_t cpsCapacity, char* notice,
                                                  int32_t noticeCapacity,
                                                  const CVD_ExtensionNode* extensions);

/* The same into arrays of the sizes of PKCCertInfo: 200, 200, 1024, 80, 1024, 1024, 1024 bytes. */
CVD_EXPORT uint32_t CVD_GetNetscapeCertType(void* context, const CVD_ExtensionNode* extensions,
                                            char* text);
CVD_EXPORT uint32_t CVD_GetKeyUsage(void* context, const CVD_ExtensionNode* extensions, char* text);
CVD_EXPORT uint32_t CVD_GetExtKeyUsage(void* context, const CVD_ExtensionNode* extensions,
                                       char* text);
CVD_EXPORT uint32_t CVD_GetBC(void* context, const CVD_ExtensionNode* extensions, char* text);
CVD_EXPORT uint32_t CVD_GetAIA(void* context, const CVD_ExtensionNode* extensions, char* text);
CVD_EXPORT uint32_t CVD_GetDistributionPoints(void* context, const CVD_ExtensionNode* extensions,
                                              char* text);
CVD_EXPORT uint32_t CVD_GetAltName(void* context, const CVD_ExtensionNode* node, char* text);
/* The policies into an array of 1024 bytes; CPS pointers and notices, mixed, into one of 201. */
CVD_EXPORT uint32_t CVD_GetPolicy(void* context, const CVD_ExtensionNode* extensions,
                                  int32_t* count, char* policies, char* qualifiers);

/* Encodes a certificatePolicies value with one policy (dotted identifier), at most one CPS pointer
 * (null for none; its length is not read) and one user notice (null for none; `noticeLength` bytes,
 * or up to its NUL when that is 0, in the "locale" set). The caller releases `der`. CVD_ASN_ERR_OID
 * for a policy of another form, or the code of the conversion or of the encoder. */
CVD_EXPORT uint32_t CVD_PKC_CertPolicies_Encode(BIN* der, const char* policy, const char* cps,
                                                uint32_t cpsLength, const char* notice,
                                                uint32_t noticeLength);

/* ---- key identifiers: RFC 5280 sections 4.2.1.1 and 4.2.1.2 ------------------------------- */

/* SHA-1 of the key's octets. */
CVD_EXPORT uint32_t CVD_PKC_SubKeyId_Compute(BIN* out, const BIN* key);
/* The octets of a subjectKeyIdentifier value. PKC_ERR_BAD_SUBKEYID. */
CVD_EXPORT uint32_t CVD_PKC_SubKeyId_Decode(BIN* out, const BIN* der);
/* The DER of a subjectKeyIdentifier value for a key. */
CVD_EXPORT uint32_t CVD_PKC_SubKeyId_Encode(BIN* der, const BIN* key);
/* The carried identifier in lower-case hexadecimal, cut to whole octets. PKC_ERR_NO_EXTENSION, or
 * PKC_ERR_INVALID_INPUT for a size of less than 3. */
CVD_EXPORT uint32_t CVD_PKC_SubKeyId_ToString(char* text, int32_t size,
                                              const CVD_ExtensionNode* extensions);
/* The keyIdentifier of an authorityKeyIdentifier value; `out` stays empty when it has none.
 * PKC_ERR_BAD_AUTHKEYID. */
CVD_EXPORT uint32_t CVD_PKC_AuthKeyId_Decode(BIN* out, const BIN* der);
/* The DER of an authorityKeyIdentifier value for the issuer's key. */
CVD_EXPORT uint32_t CVD_PKC_AuthKeyId_Encode(BIN* der, const BIN* issuerKey);
/* The carried keyIdentifier in lower-case hexadecimal; `text` is left alone when it has none. The
 * codes of CVD_PKC_SubKeyId_ToString. */
CVD_EXPORT uint32_t CVD_PKC_AuthKeyId_ToString(char* text, int32_t size,
                                               const CVD_ExtensionNode* extensions);
/* The carried subject key identifier, else SHA-1 of the subjectPublicKey octets. */
CVD_EXPORT uint32_t CVD_GetSubjectKeyIDv(void* reserved, const CVD_Certificate* certificate,
                                         BIN* out);
/* The same from DER, under three names. */
CVD_EXPORT uint32_t CVD_GenSubjectKeyID(void* reserved, const BIN* certificate, BIN* out);
CVD_EXPORT uint32_t CVD_GetSubjectKeyID(void* reserved, const BIN* certificate, BIN* out);
CVD_EXPORT uint32_t CVD_GetSubjectKeyIDBin(void* reserved, const BIN* certificate, BIN* out);
/* The renderers into an array of 80 bytes. */
CVD_EXPORT uint32_t CVD_GetSubjectKeyId(void* reserved, const CVD_ExtensionNode* extensions,
                                        char* text);
CVD_EXPORT uint32_t CVD_GetAuthorityKeyId(void* reserved, const CVD_ExtensionNode* extensions,
                                          char* text);

/* ---- checks ------------------------------------------------------------------------------ */

/* 0 when `time` (seconds since 1970-01-01 00:00:00 UTC) lies in the validity period, ends included
 * (RFC 5280 section 4.1.2.5); PKC_ERR_INVALID_TIME when not. Traces nothing. */
CVD_EXPORT uint32_t CVD_PKC_VerifyTime(const CVD_Certificate* certificate, int32_t time);
/* 1 when the certificate is valid now, else 0, also for null. */
CVD_EXPORT int32_t CVD_IsCertTimeValid(const CVD_Certificate* certificate);
/* Verifies a certificate's signature with the issuer's key. PKC_ERR_INVALID_SIGNATURE when it does
 * not verify, PKC_ERR_UNKNOWN_SIGNID for an algorithm without number, PKC_ERR_UNKNOWN_PKEYID for
 * such a key; another code for a malformed key or signature. Names, times and constraints are not
 * looked at. */
CVD_EXPORT uint32_t CVD_PKC_VerifySignature(const CVD_Certificate* certificate,
                                            const CVD_Certificate* issuer);
/* The same under its older name. */
CVD_EXPORT uint32_t CVD_CheckSignature(void* context, const CVD_Certificate* certificate,
                                       const CVD_Certificate* issuer);

/* Flags of CVD_CertCheck; other bits are ignored. */
enum {
  PKC_CHECK_SIGNATURE = 0x0001,
  PKC_CHECK_REVOKED = 0x0010,
  PKC_CHECK_TIME = 0x0100,
  PKC_CHECK_ISSUER_TIME = 0x1000
};

/* Runs the checks of `flags` in the order of their values, stopping at the first that fails:
 * PKC_ERR_INVALID_SIGNATURE (for every failure of the verification), PKC_ERR_CERT_REVOKED,
 * PKC_ERR_USER_CERT_TIME, PKC_ERR_ISSUER_CERT_TIME. `crl` is asked with the caller's `context` and
 * must be there for PKC_CHECK_REVOKED (PKC_ERR_INVALID_INPUT); a list that cannot answer does not
 * revoke, so the caller checks the list itself (corvid/crl.h). */
CVD_EXPORT uint32_t CVD_CertCheck(void* context, void* ignored, const CVD_CRL* crl,
                                  const CVD_Certificate* certificate, const CVD_Certificate* issuer,
                                  uint16_t flags);
/* 1 for a CA by its basicConstraints (RFC 5280 section 4.2.1.9), 0 for none, -1 when they do not
 * decode; PKC_ERR_INVALID_INPUT for null. Traces nothing. */
CVD_EXPORT int32_t CVD_CheckCaOrNot(void* context, const CVD_Certificate* certificate);
/* 0 when the keyUsage has a bit of `mask` (named bit n is 0x8000 >> n), (uint32_t)-1 when not; the
 * decoder's code. */
CVD_EXPORT uint32_t CVD_CheckKeyUsage(void* context, const CVD_Extension* extension, uint16_t mask);
/* 0 when the extKeyUsage lists `purpose`, (uint32_t)-1 when not; the decoder's code. */
CVD_EXPORT uint32_t CVD_CheckExtKeyUsage(void* context, const CVD_Extension* extension,
                                         const CVD_OID* purpose);
/* 0 when the certificate's extension lists the usage: 1 keyEncipherment, 2 digitalSignature of
 * keyUsage; 3 time stamping, 4 OCSP signing, 5 code signing, 6 e-mail protection, 7 server, 8
 * client authentication of extKeyUsage. (uint32_t)-1 otherwise, also without the extension. */
CVD_EXPORT uint32_t CVD_CheckCertUsage(void* context, const CVD_Certificate* certificate,
                                       int32_t usage);

/* ---- Korean identity verification (VID) --------------------------------------------------- */

/* VID = H(H(DER(HashContent))) of an identification number (PrintableString characters) and a
 * random value of at least 20 octets, with SHA-1, SHA-256, SHA-384 or SHA-512 (else
 * PKC_ERR_UNKNOWN_HASHID). */
CVD_EXPORT uint32_t CVD_PKC_ComputeVID(BIN* vid, int32_t hashID, const char* idn,
                                       const BIN* random);
/* 0 when the recomputed value equals `vid`, PKC_ERR_INVALID_VID when not. */
CVD_EXPORT uint32_t CVD_PKC_VerifyVID(const BIN* vid, int32_t hashID, const char* idn,
                                      const BIN* random);
/* The DER of a subjectAltName value with the holder's name (`nameLength` bytes in the "locale" set)
 * and the VID. */
CVD_EXPORT uint32_t CVD_PKC_SubAltName_Encode(BIN* der, const char* name, uint32_t nameLength,
                                              int32_t hashID, const BIN* vid);
/* The holder's name, hash and VID of a DER IdentityData. `*size` is the array's size, then the
 * text's length. Without a VID in it, `hashID` and `vid` are not touched. What was written before
 * a failure stays: the name and its size, then the hash (-1 for an unknown one). */
CVD_EXPORT uint32_t CVD_PKC_IdentityData_Decode(char* name, uint32_t* size, int32_t* hashID,
                                                BIN* vid, const BIN* der);
/* The same of a decoded certificate. PKC_ERR_NO_EXTENSION without subjectAltName,
 * PKC_ERR_NO_VIDINFO without identity data. */
CVD_EXPORT uint32_t CVD_PKC_GetVIDInfo(char* name, uint32_t* size, int32_t* hashID, BIN* vid,
                                       const CVD_Certificate* certificate);
/* The same as three texts: name, VID in lower-case hexadecimal, hash name ("SHA256"). Written in
 * the order name, hash name, VID. Without a VID, the last two are empty. What was written before
 * a failure stays. */
CVD_EXPORT uint32_t CVD_GetVID(char* name, uint32_t nameSize, char* vid, uint32_t vidSize,
                               char* hashName, uint32_t hashNameSize,
                               const CVD_ExtensionNode* extensions);
/* The hash of the VID of a DER certificate. Every failure is traced, refused arguments included. */
CVD_EXPORT uint32_t CVD_PKC_GetVIDHashAlg(int32_t* hashID, const BIN* certificate);

/* ---- issuing: RFC 5280 section 4 --------------------------------------------------------- */

/* Makes the record of a key from its pkeyID, the DER of its domain parameters (not read for RSA
 * keys, which get NULL; required otherwise) and its subjectPublicKey octets. The record refers to
 * both. PKC_ERR_UNKNOWN_PKEYID. */
CVD_EXPORT uint32_t CVD_PKC_AsnSubPubKeyInfo_Encode(CVD_SubjectPublicKeyInfo* info, int32_t pkeyID,
                                                    const BIN* parameters, const BIN* publicKey);
/* The other way: `parameters` (not touched for RSA keys or absent parameters) and `publicKey` refer
 * to the record and are not released. PKC_ERR_UNKNOWN_PKEYID. */
CVD_EXPORT uint32_t CVD_PKC_AsnSubPubKeyInfo_Decode(int32_t* pkeyID, BIN* parameters,
                                                    BIN* publicKey,
                                                    const CVD_SubjectPublicKeyInfo* info);

/* The slots of a template's extensions, in the order in which the certificate lists them, but for
 * PKC_SLOT_EXT_KEY_USAGE and PKC_SLOT_CRL_DISTRIBUTION_POINTS, which keep this order too. */
enum {
  PKC_SLOT_AUTHORITY_KEY_IDENTIFIER = 0,
  PKC_SLOT_SUBJECT_KEY_IDENTIFIER = 1,
  PKC_SLOT_KEY_USAGE = 2, /* critical; required */
  PKC_SLOT_CERTIFICATE_POLICIES = 3,
  PKC_SLOT_SUBJECT_ALT_NAME = 4,
  PKC_SLOT_BASIC_CONSTRAINTS = 6, /* critical */
  PKC_SLOT_NAME_CONSTRAINTS = 7,
  PKC_SLOT_EXT_KEY_USAGE = 9, /* critical */
  PKC_SLOT_CRL_DISTRIBUTION_POINTS = 10,
  PKC_SLOT_AUTHORITY_INFO_ACCESS = 11,
  PKC_SLOTS = 12 /* 5 and 8 are not read */
};

/* What CVD_PKC_Cert_Encode signs. It refers to names and octets that stay the caller's. */
typedef struct PKCCertTemplate {
  uint32_t reserved1;         /* not read */
  Huge serialNumber;          /* content octets, as CVD_NumToHugeEx makes them */
  int32_t signatureAlgorithm; /* signID */
  const CVD_Name* issuer;     /* required */
  int64_t notBefore; /* seconds since 1970-01-01 00:00:00 UTC; written as UTCTime in any case, so */
  int64_t notAfter;  /* that years before 1950 and after 2049 come out as others */
  const CVD_Name* subject;          /* required */
  int32_t keyAlgorithm;             /* pkeyID of the subject's key */
  const BIN* keyParameters;         /* DER of its domain parameters; not read for RSA keys */
  BIN publicKey;                    /* subjectPublicKey octets */
  const BIN* extensions[PKC_SLOTS]; /* DER of the values, null for none, by PKC_SLOT_* */
  uint32_t reserved2;               /* not read */
} PKCCertTemplate;

/* Encodes and signs a version 3 certificate. `signerAlgorithm` is the signing key's pkeyID: RSA
 * gives both signature AlgorithmIdentifiers NULL parameters, KCDSA is refused once the signed part
 * is encoded (PKC_ERR_UNKNOWN_PKEYID). `signingKey` is of CVD_CSP_LoadPrivateKey. The caller
 * releases `der`. PKC_ERR_UNKNOWN_SIGNID, PKC_ERR_UNKNOWN_PKEYID, PKC_ERR_NO_EXTENSION without a
 * keyUsage, PKC_ERR_INVALID_INPUT for a missing name, parameters or key, PKC_ERR_MALLOC, or the
 * code of the encoder or of the signature. */
CVD_EXPORT uint32_t CVD_PKC_Cert_Encode(BIN* der, const PKCCertTemplate* certTemplate,
                                        int32_t signerAlgorithm, void* reserved,
                                        CVD_PrivateKey* signingKey);

/* What a request adds to a certificate; null for what it does not. Texts but for the addresses and
 * the policy are in the "locale" set. */
typedef struct PKCGenExtOptions {
  const char* policy;     /* dotted identifier: certificatePolicies */
  const char* cps;        /* the policy's CPS pointer (URI, as passed); not read without a policy */
  const char* notice;     /* the policy's user notice; not read without a policy */
  const char* holderName; /* subjectAltName with identity data; needs `vid` */
  const BIN* vid;         /* the octets of the VID, declared as made with SHA-1 */
  const char* crl;        /* URI, as passed: cRLDistributionPoints */
  const char* ocsp;       /* URI, as passed: authorityInfoAccess */
} PKCGenExtOptions;

/* Who signs, and what the certificate is for. */
typedef struct PKCGenContext {
  int32_t signerAlgorithm;    /* pkeyID of the signing key */
  uint32_t reserved1;         /* not read */
  CVD_PrivateKey* signingKey; /* stays the caller's */
  uint32_t reserved2;         /* not read */
  int32_t selfSigned;         /* not 0: the subject is the issuer, too */
  int32_t ca; /* not 0: basicConstraints with cA, keyUsage with keyCertSign and cRLSign */
} PKCGenContext;

/* Issues a certificate from a compact request: serial number, signID, validity (seconds since
 * 1970-01-01 00:00:00 UTC, 1950 to 2049), subject (the text form of CVD_ImplementRDN), the
 * subject's key (pkeyID RSA, DSA or KCDSA; `parameters` as for CVD_PKC_AsnSubPubKeyInfo_Encode; the
 * subjectPublicKey octets), the issuer's certificate (not read when self-signed).
 *
 * Its extensions are authorityKeyIdentifier (not when self-signed), subjectKeyIdentifier, keyUsage
 * (critical), certificatePolicies, subjectAltName, basicConstraints (critical, of a CA),
 * cRLDistributionPoints and authorityInfoAccess, in this order. Nothing is checked beyond what
 * encoding needs: neither the issuer's right to issue nor that the key is the issuer's. The caller
 * releases `der`. PKC_ERR_INVALID_INPUT also for a missing issuer, and the codes of what it calls:
 * CVD_ImplementRDN, CVD_PKC_CertPolicies_Encode, CVD_PKC_SubAltName_Encode, CVD_PKC_Cert_Encode. */
CVD_EXPORT uint32_t CVD_PKC_GenCertificate(BIN* der, uint32_t serialNumber, int32_t signID,
                                           int64_t notBefore, int64_t notAfter, const char* subject,
                                           int32_t pkeyID, const BIN* parameters,
                                           const BIN* publicKey, const CVD_Certificate* issuer,
                                           const PKCGenExtOptions* options,
                                           const PKCGenContext* context);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_PKC_H_ */
