// What the verification of signatures shares: its inputs as views, one verifier for each kind of
// key, and holders for OpenSSL's big-number objects. A verifier returns CVD_CSP_ERR_VERIFY for a
// well-formed signature that does not verify, and for nothing else.
#ifndef CORVID_SERVICES_CSP_VERIFY_H_
#define CORVID_SERVICES_CSP_VERIFY_H_

#include <openssl/bn.h>

#include <memory>

#include "internal.h"

namespace corvid {

struct Verification {
  Bytes signature;
  Bytes data;
  Bytes key;         // the subjectPublicKey octets
  Bytes parameters;  // DER, empty for none
  int32_t hashID;
};

[[nodiscard]] uint32_t VerifyRsa(const Verification& in);
[[nodiscard]] uint32_t VerifyDsa(const Verification& in);
[[nodiscard]] uint32_t VerifyKcdsa(const Verification& in);

template <auto kFree>
struct Freed {
  template <typename T>
  void operator()(T* object) const {
    kFree(object);
  }
};
using ScopedContext = std::unique_ptr<BN_CTX, Freed<BN_CTX_free>>;
using ScopedMontgomery = std::unique_ptr<BN_MONT_CTX, Freed<BN_MONT_CTX_free>>;

// For octets whose length a bound of keys already limits.
[[nodiscard]] inline bool SetNumber(BIGNUM* number, Bytes octets) {
  return BN_bin2bn(octets.data(), static_cast<int>(octets.size()), number) != nullptr;
}

}  // namespace corvid

#endif  // CORVID_SERVICES_CSP_VERIFY_H_
