// Verification of signatures by the number of the algorithm.
#include "verify.h"

#include <openssl/err.h>

#include <algorithm>

#include "corvid/csp.h"

namespace corvid {
namespace {

using Verifier = uint32_t (*)(const Verification& in);

// By the key's name in the rows of algorithms.
constexpr Verifier kVerifyRSA = VerifyRsa;
constexpr Verifier kVerifyDSA = VerifyDsa;
constexpr Verifier kVerifyKCDSA = VerifyKcdsa;

struct SignatureRow {
  int32_t signID;
  int32_t hashID;
  Verifier verify;
};
#define CORVID_ROW(number, name, oid, older, key, hash, text) \
  {CVD_SIGN_##name, CVD_HASH_##hash, kVerify##key},
constexpr SignatureRow kRows[] = {CVD_SIGN_ALGORITHMS(CORVID_ROW)};
#undef CORVID_ROW

uint32_t Verify(Verification in, int32_t signID) {
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                 [&](const auto& r) { return r.signID == signID; });
  if (row == std::end(kRows)) return CVD_CSP_ERR_UNKNOWN_SIGNID;
  in.hashID = row->hashID;
  // The status tells what happened; OpenSSL's error queue stays as the caller left it.
  ERR_set_mark();
  const uint32_t status = row->verify(in);
  ERR_pop_to_mark();
  return status;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_CSP_VerifyMsgSignature(const BIN* signature, const BIN* data, const BIN* publicKey,
                                    int32_t signID, const CVD_AlgorithmParameters* parameters) {
  const BIN* der = parameters == nullptr ? nullptr : parameters->parameters;
  if (!corvid::IsReadable(signature) || !corvid::IsReadable(data) ||
      !corvid::IsReadable(publicKey) || (der != nullptr && !corvid::IsReadable(der))) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  const corvid::Bytes none;
  return corvid::Verify({corvid::View(*signature), corvid::View(*data), corvid::View(*publicKey),
                         der == nullptr ? none : corvid::View(*der), CVD_HASH_UNKNOWN},
                        signID);
}
