// Signing by the number of the algorithm.
#include <openssl/err.h>

#include <algorithm>

#include "corvid/algorithm_rows.hpp"
#include "private_key.h"

namespace corvid {

static uint32_t Sign(CVD_PrivateKey* key, Bytes data, int32_t signID, BIN* signature) {
  const auto* row = std::find_if(std::begin(kSignRows), std::end(kSignRows),
                                 [&](const auto& r) { return r.signID == signID; });
  if (row == std::end(kSignRows)) return CVD_CSP_ERR_UNKNOWN_SIGNID;
  switch (row->pkeyID) {
    case CVD_PKEY_RSA:
      if (key->rsa == nullptr) return CVD_CSP_ERR_BAD_KEY;
      return SignRsa(key, data, row->hashID, signature);
    case CVD_PKEY_DSA:
      if (key->dsa == nullptr) return CVD_CSP_ERR_BAD_KEY;
      return SignDsa(key->dsa, data, row->hashID, signature);
    default:  // KCDSA is verified only
      return CVD_CSP_ERR_UNKNOWN_SIGNID;
  }
}

}  // namespace corvid

uint32_t CVD_CSP_ComputeMsgSignature(BIN* signature, const BIN* data, CVD_PrivateKey* key,
                                     int32_t signID, void* /*reserved*/) {
  if (signature == nullptr || !corvid::IsReadable(data) || key == nullptr) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  ERR_set_mark();
  const uint32_t status = corvid::Sign(key, corvid::View(*data), signID, signature);
  ERR_pop_to_mark();
  return status;
}
