// The cryptographic service library: its version and reasons.
#include "corvid/csp.h"

#include "corvid/reason_table.hpp"

namespace corvid {

static constexpr ReasonRow kReasons[] = {
    {CVD_CSP_ERR_INVALID_INPUT, "invalid input"},
    {CVD_CSP_ERR_MALLOC, "malloc failed"},
    {CVD_CSP_ERR_INTERNAL, "internal error"},
    {CVD_CSP_ERR_UNKNOWN_HASHID, "unknown hashID"},
    {CVD_CSP_ERR_UNKNOWN_PKEYID, "unknown pkeyID"},
    {CVD_CSP_ERR_UNKNOWN_SIGNID, "unknown signID"},
    {CVD_CSP_ERR_VERIFY, "signature does not verify"},
    {CVD_CSP_ERR_BAD_KEY, "bad key"},
    {CVD_CSP_ERR_BAD_PARAMETERS, "bad key parameters"},
    {CVD_CSP_ERR_BAD_SIGNATURE, "bad signature value"},
    {CVD_CSP_ERR_NOT_A_PRIVATE_KEY, "not a private key"},
    {CVD_CSP_ERR_UNSUPPORTED_KEY, "unsupported private key"},
    {CVD_CSP_ERR_PASSPHRASE, "wrong or missing passphrase"},
};

}  // namespace corvid

const char* CVD_CSP_GetVersion(void) { return corvid::kVersionText; }

const char* CVD_CSP_GetErrorReason(uint32_t code, int32_t /*selector*/) {
  return corvid::ReasonOf(corvid::kReasons, code);
}
