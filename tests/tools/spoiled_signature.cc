// Preloaded into the command, it stands for hardware that computes wrongly: every signature has a
// bit that it should not have.
#include <dlfcn.h>

#include "corvid/csp.h"

uint32_t CVD_CSP_ComputeMsgSignature(BIN* signature, const BIN* data, CVD_PrivateKey* key,
                                     int32_t signID, void* reserved) {
  static const auto next = reinterpret_cast<decltype(&CVD_CSP_ComputeMsgSignature)>(
      dlsym(RTLD_NEXT, "CVD_CSP_ComputeMsgSignature"));
  const uint32_t status = next(signature, data, key, signID, reserved);
  if (status == 0) signature->data[signature->length - 1] ^= 1;
  return status;
}
