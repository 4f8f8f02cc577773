// Private keys: what is kept of one, how its octets become numbers, and what signs with it.
#ifndef CORVID_SERVICES_CSP_PRIVATE_KEY_H_
#define CORVID_SERVICES_CSP_PRIVATE_KEY_H_

#include <openssl/types.h>

#include <memory>
#include <mutex>

#include "corvid/common.h"
#include "corvid/csp.h"
#include "verify.h"

namespace corvid {

// A copy of an RSA key that makes one signature at a time.
struct SigningCopy {
  RSA* rsa;
  SigningCopy* next;
  bool proven;  // it made a signature that verifies
};

}  // namespace corvid

// OpenSSL's objects of a kind of key, and not EVP_PKEY: one takes the DigestInfo of any hash, keeps
// its Montgomery contexts and blinding, and asks for no algorithm and no context a signature.
struct CVD_PrivateKey {
  RSA* rsa;  // null when it is the other kind
  DSA* dsa;
  corvid::SigningCopy* idle;  // copies of `rsa`, behind the mutex
  std::mutex mutex;
};

namespace corvid {

using ScopedNumber = std::unique_ptr<BIGNUM, Freed<BN_clear_free>>;
using ScopedOctets = std::unique_ptr<uint8_t, Freed<CVD_free>>;

// CVD_CSP_ERR_MALLOC when one of OpenSSL's errors since the mark says so, else `status`.
[[nodiscard]] uint32_t FailureOr(uint32_t status);
// True when OpenSSL told an error since the mark, or could not have told it.
[[nodiscard]] bool HasToldAnError();

// Writes with one of OpenSSL's i2d functions.
template <typename Object>
[[nodiscard]] uint32_t Encode(int (*encode)(const Object*, unsigned char**), const Object* object,
                              BIN* out) {
  const int length = encode(object, nullptr);
  if (length <= 0) return CVD_CSP_ERR_MALLOC;
  ScopedOctets octets(static_cast<uint8_t*>(CVD_malloc(static_cast<size_t>(length))));
  if (octets == nullptr) return CVD_CSP_ERR_MALLOC;
  uint8_t* at = octets.get();
  if (encode(object, &at) != length) return CVD_CSP_ERR_MALLOC;
  *out = {length, octets.release()};
  return 0;
}

// Loading, from the outside inward. A function that is handed a null passphrase takes no encrypted
// key; what it decrypts it hands on without one. `key` is empty before, and its members may be set
// after a failure too.
[[nodiscard]] uint32_t LoadPem(Bytes octets, const char* passphrase, CVD_PrivateKey* key);
[[nodiscard]] uint32_t LoadDer(Bytes der, const char* passphrase, CVD_PrivateKey* key);
// The content octets of an EncryptedPrivateKeyInfo.
[[nodiscard]] uint32_t LoadEncrypted(Bytes content, const char* passphrase, CVD_PrivateKey* key);

// The parameters of an algorithm that has none.
[[nodiscard]] bool IsNullOrAbsent(Bytes parameters);

// Takes the one SEQUENCE that is all of `der`.
[[nodiscard]] bool TakeWhole(Bytes der, Bytes* content);

// The numbers of an RSAPrivateKey after its version (RFC 8017 A.1.2), and of a DSA key; without
// leading zero octets, but for `x`, which is the content of an INTEGER.
struct RsaNumbers {
  enum { kN, kE, kD, kP, kQ, kDp, kDq, kInverse, kCount };
  Bytes octets[kCount];
};
struct DsaNumbers {
  Bytes p;
  Bytes q;
  Bytes g;
  Bytes y;  // empty: not stated
  Bytes x;
};
// Check that the numbers are within the bounds of verification and fit together.
[[nodiscard]] uint32_t MakeRsa(const RsaNumbers& in, RSA** key);
[[nodiscard]] uint32_t MakeDsa(const DsaNumbers& in, DSA** key);

void FreeCopy(SigningCopy* copy);
[[nodiscard]] uint32_t SignRsa(CVD_PrivateKey* key, Bytes data, int32_t hashID, BIN* signature);
[[nodiscard]] uint32_t SignDsa(DSA* key, Bytes data, int32_t hashID, BIN* signature);

}  // namespace corvid

#endif  // CORVID_SERVICES_CSP_PRIVATE_KEY_H_
