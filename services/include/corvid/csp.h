/* The cryptographic service library (libCorvidCSP): hashes, keys, and the algorithm numbers. */
#ifndef CORVID_CSP_H_
#define CORVID_CSP_H_

#include "corvid/oids.h"
#include "corvid/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  CVD_CSP_ERR_INVALID_INPUT = 6001,
  CVD_CSP_ERR_MALLOC = 6002,
  CVD_CSP_ERR_INTERNAL = 6003,
  CVD_CSP_ERR_UNKNOWN_HASHID = 6004,
  CVD_CSP_ERR_UNKNOWN_PKEYID = 6005,
  CVD_CSP_ERR_UNKNOWN_SIGNID = 6006,
  CVD_CSP_ERR_VERIFY = 6012, /* a well-formed signature that does not verify, and nothing else */
  CVD_CSP_ERR_BAD_KEY = 6020,
  CVD_CSP_ERR_BAD_PARAMETERS = 6021,
  CVD_CSP_ERR_BAD_SIGNATURE = 6022,     /* a malformed signature value */
  CVD_CSP_ERR_NOT_A_PRIVATE_KEY = 6030, /* a public key, a certificate, a request, a list */
  CVD_CSP_ERR_UNSUPPORTED_KEY = 6031,   /* a private key of a kind or form that is not taken */
  CVD_CSP_ERR_PASSPHRASE = 6032         /* wrong or missing */
};

/* The three numberings of algorithms, sorted by number. Where two identifiers name one algorithm
 * the first is written and both are read. Identifiers are the names of corvid/oids.h. */
/* clang-format off */

/* signID: number, constant, identifier, older identifier, key algorithm, hash algorithm, name. */
#define CVD_SIGN_ALGORITHMS(ROW) \
  ROW(1, MD2_RSA, MD2_WITH_RSA, NONE, RSA, MD2, "MD2 + RSA") \
  ROW(2, MD5_RSA, MD5_WITH_RSA, NONE, RSA, MD5, "MD5 + RSA") \
  ROW(3, SHA1_RSA, SHA1_WITH_RSA, NONE, RSA, SHA1, "SHA1 + RSA") \
  ROW(4, SHA256_RSA, SHA256_WITH_RSA, NONE, RSA, SHA256, "SHA256 + RSA") \
  ROW(5, SHA384_RSA, SHA384_WITH_RSA, NONE, RSA, SHA384, "SHA384 + RSA") \
  ROW(6, SHA512_RSA, SHA512_WITH_RSA, NONE, RSA, SHA512, "SHA512 + RSA") \
  ROW(15, SHA1_DSA, DSA_WITH_SHA1, NONE, DSA, SHA1, "SHA1 + DSA") \
  ROW(21, SHA1_KCDSA, KCDSA_WITH_SHA1, KCDSA_WITH_SHA1_OLD, KCDSA, SHA1, "SHA1 + KCDSA") \
  ROW(22, HAS160_KCDSA, KCDSA_WITH_HAS160, KCDSA_WITH_HAS160_OLD, KCDSA, HAS160, "HAS160 + KCDSA") \
  ROW(27, SHA256_KCDSA, KCDSA_WITH_SHA256, KCDSA_WITH_SHA256_OLD, KCDSA, SHA256, "SHA256 + KCDSA")

/* pkeyID: number, constant, identifier, older identifier, name ("" = shown by its identifier). */
#define CVD_KEY_ALGORITHMS(ROW) \
  ROW(1, RSA, RSA_ENCRYPTION, NONE, "RSA") \
  ROW(2, DH, DH_PUBLIC_NUMBER, NONE, "DH") \
  ROW(3, DSA, DSA, NONE, "DSA") \
  ROW(11, KCDSA, KCDSA, KCDSA_OLD, "KCDSA") \
  ROW(13, EC, EC_PUBLIC_KEY, NONE, "")

/* hashID: number, constant, identifier, name. */
#define CVD_HASH_ALGORITHMS(ROW) \
  ROW(1, MD2, MD2, "MD2") \
  ROW(2, MD5, MD5, "MD5") \
  ROW(3, SHA1, SHA1, "SHA1") \
  ROW(4, HAS160, HAS160, "HAS160") \
  ROW(6, SHA256, SHA256, "SHA256") \
  ROW(7, SHA384, SHA384, "SHA384") \
  ROW(8, SHA512, SHA512, "SHA512")

/* clang-format on */

#define CVD_SIGN_CONSTANT(number, name, ...) CVD_SIGN_##name = (number),
#define CVD_PKEY_CONSTANT(number, name, ...) CVD_PKEY_##name = (number),
#define CVD_HASH_CONSTANT(number, name, ...) CVD_HASH_##name = (number),
enum { CVD_SIGN_ALGORITHMS(CVD_SIGN_CONSTANT) CVD_SIGN_UNKNOWN = -1 };
enum { CVD_KEY_ALGORITHMS(CVD_PKEY_CONSTANT) CVD_PKEY_UNKNOWN = -1 };
enum { CVD_HASH_ALGORITHMS(CVD_HASH_CONSTANT) CVD_HASH_UNKNOWN = -1 };
#undef CVD_SIGN_CONSTANT
#undef CVD_PKEY_CONSTANT
#undef CVD_HASH_CONSTANT

/* The library's version, "1.7.0.0". */
CVD_EXPORT const char* CVD_CSP_GetVersion(void);
/* The short English reason of a code of this library, "" for any other; `selector` is not read. */
CVD_EXPORT const char* CVD_CSP_GetErrorReason(uint32_t code, int32_t selector);

/* Allocates the digest of `data` (empty data included) by the algorithm CVD_HASH_*; released with
 * CVD_BIN_Reset. */
CVD_EXPORT uint32_t CVD_CSP_Hash(BIN* digest, const BIN* data, int32_t hashID);
/* The same into the caller's `*count` octets; sets `*count` to those of the digest, 64 at most. Too
 * few are CVD_CSP_ERR_INVALID_INPUT. A failure changes nothing. */
CVD_EXPORT uint32_t CVD_CSP_HashInto(uint8_t* digest, uint32_t* count, const BIN* data,
                                     int32_t hashID);
/* The length in bits of the key whose subjectPublicKey octets are `key`: RSA the modulus, DSA,
 * KCDSA and DH the prime p of `parameters`, EC 8 bits an octet of the point's coordinate (66 octets
 * are 521). Told for every well-formed key, whatever its size. */
CVD_EXPORT uint32_t CVD_CSP_GetKeyLength(uint32_t* bits, const BIN* key, int32_t pkeyID,
                                         const BIN* parameters);

/* The domain parameters of a key, beside the key itself. */
typedef struct CVD_AlgorithmParameters {
  const BIN* parameters; /* DER, for DSA and KCDSA keys; null for RSA */
  void* reserved[2];     /* null */
} CVD_AlgorithmParameters;

/* Verifies the signature value `signature` (contents of a BIT STRING) over `data` with the
 * subjectPublicKey octets `publicKey`, by the algorithm CVD_SIGN_*. RSA: RFC 8017 section 8.2.2,
 * with the encoded message compared whole; DSA: FIPS 186-4; KCDSA: TTAK.KO-12.0001/R4. `parameters`
 * may be null for RSA.
 *
 * Keys and parameters are checked before any arithmetic: RSA moduli odd, of 512 to 16384 bits,
 * exponents odd, above 1, of at most 64 bits; DSA and KCDSA p odd, of at most 4096 bits, q odd, of
 * 128 to 512 bits and dividing p - 1, 1 < g < p, 1 < y < p - 1. 0 when it verifies,
 * CVD_CSP_ERR_VERIFY when a well-formed signature does not (values out of range, and an RSA value
 * as long as another key's included); a malformed signature, key (one of another algorithm, and an
 * RSA modulus too short for the hash, included) or parameters each have a code of their own. */
CVD_EXPORT uint32_t CVD_CSP_VerifyMsgSignature(const BIN* signature, const BIN* data,
                                               const BIN* publicKey, int32_t signID,
                                               const CVD_AlgorithmParameters* parameters);

/* A private key, ready to sign in any number of threads at once. An RSA key keeps, until it is
 * released, as many copies of itself as ever signed at the same time. */
typedef struct CVD_PrivateKey CVD_PrivateKey;

/* Loads an RSA or DSA private key, which CVD_CSP_FreePrivateKey releases: PKCS #8, plain or
 * encrypted, PKCS #1 (RFC 8017 A.1.2), or the SEQUENCE { 0, p, q, g, y, x } of older DSA files. DER
 * is the whole of `encoding`; in PEM, encrypted or not, text may stand around the first block of a
 * private key, which counts. `passphrase` is the text that an encrypted key was encrypted with, of
 * its octets nothing left out, or null; "" is a passphrase too. Nothing asks for one. More than 1
 * MiB of it is CVD_CSP_ERR_INVALID_INPUT.
 *
 * The numbers must be within the bounds of CVD_CSP_VerifyMsgSignature and fit together (RSA: two
 * primes, with the parts for the Chinese remainder theorem). `*key` is null after a failure.
 * CVD_CSP_ERR_PASSPHRASE for an encrypted key and a wrong or no passphrase, also when it was
 * encrypted wrongly; CVD_CSP_ERR_NOT_A_PRIVATE_KEY; CVD_CSP_ERR_UNSUPPORTED_KEY for private keys of
 * other algorithms and containers, encryption other than PBES2 (PBKDF2 with HMAC of SHA-1 or SHA-2,
 * or scrypt; AES, ARIA, Camellia or Triple DES in CBC mode) and the Triple DES schemes of PKCS #12,
 * more than 10 million iterations, and scrypt with N r p above 2^24 or more than 32 MiB of memory;
 * CVD_CSP_ERR_BAD_KEY for everything else. */
CVD_EXPORT uint32_t CVD_CSP_LoadPrivateKey(CVD_PrivateKey** key, const BIN* encoding,
                                           const char* passphrase);
/* Clears and releases a key; null is ignored. */
CVD_EXPORT void CVD_CSP_FreePrivateKey(CVD_PrivateKey* key);
/* Allocates the public half: its CVD_PKEY_* number, the subjectPublicKey octets, and the DER of its
 * algorithm's parameters, {0, null} for RSA; `parameters` may be null. Released with
 * CVD_BIN_Reset. */
CVD_EXPORT uint32_t CVD_CSP_GetPublicKey(CVD_PrivateKey* key, int32_t* pkeyID, BIN* parameters,
                                         BIN* publicKey);
/* Allocates the signature value (contents of a BIT STRING) over `data` by the algorithm CVD_SIGN_*;
 * released with CVD_BIN_Reset. `reserved` is not read. CVD_CSP_ERR_UNKNOWN_SIGNID for a number that
 * is neither RSA's nor DSA's: KCDSA signatures are verified, not made. CVD_CSP_ERR_BAD_KEY for the
 * number of the other kind of key, for an RSA modulus too short for the hash, and for an RSA key
 * whose factors turn out, at the first signature, not to be prime. */
CVD_EXPORT uint32_t CVD_CSP_ComputeMsgSignature(BIN* signature, const BIN* data,
                                                CVD_PrivateKey* key, int32_t signID,
                                                void* reserved);

#ifdef __cplusplus
}
#endif

#endif /* CORVID_CSP_H_ */
