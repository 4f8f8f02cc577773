// The reason texts of the module's codes, and the way to those of the service libraries.
#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "corvid/pkc.h"

namespace corvid {
namespace {

struct Reason {
  uint32_t code;
  const char* text;
};

constexpr Reason kReasons[] = {
    {PKC_ERR_INVALID_INPUT, "invalid input"},
    {PKC_ERR_INTERNAL, "internal error"},
    {PKC_ERR_MALLOC, "malloc failed"},
    {PKC_ERR_UNKNOWN_ALGID, "unknown algID"},
    {PKC_ERR_UNKNOWN_PKEYID, "unknown pkeyID"},
    {PKC_ERR_UNKNOWN_SIGNID, "unknown signID"},
    {PKC_ERR_UNKNOWN_HASHID, "unknown hashID"},
    {PKC_ERR_BAD_CERT, "bad certificate"},
    {PKC_ERR_BAD_RDN, "bad rdn"},
    {PKC_ERR_BAD_EXTENSION, "bad extension"},
    {PKC_ERR_BAD_AUTHKEYID, "bad authority key identifier"},
    {PKC_ERR_BAD_SUBKEYID, "bad subject key identifier"},
    {PKC_ERR_BAD_KEYUSAGE, "bad key usage"},
    {PKC_ERR_BAD_POLICIES, "bad certificate policies"},
    {PKC_ERR_INVALID_SIGNATURE, "invalid signature"},
    {PKC_ERR_INVALID_TIME, "invalid time"},
    {PKC_ERR_INVALID_VID, "invalid vid"},
    {PKC_ERR_NO_PUBKEY, "no public key"},
    {PKC_ERR_NO_EXTENSION, "no extension"},
    {PKC_ERR_NO_VIDINFO, "no vid info"},
    {PKC_ERR_CERT_REVOKED, "cert revoked"},
    {PKC_ERR_USER_CERT_TIME, "user certificate time"},
    {PKC_ERR_ISSUER_CERT_TIME, "issuer certificate time"},
};

// The codes of a service library, and who knows their reasons.
struct ServiceRange {
  uint32_t first;
  uint32_t last;
  const char* (*reason)(uint32_t code, int32_t selector);
};

constexpr ServiceRange kServiceRanges[] = {
    {1000, 1999, CVD_ASN_GetErrorReason}, {3000, 3999, CVD_Codec_GetErrorReason},
    {6000, 6999, CVD_CSP_GetErrorReason}, {8000, 8999, CVD_IO_GetErrorReason},
    {33000, 33999, CVD_GetErrReasonCRL},
};

constexpr int32_t kOwnTexts = 1;  // the one selector that has texts for the module's codes

}  // namespace
}  // namespace corvid

const char* CVD_PKC_GetErrorReason(uint32_t code, int32_t selector) {
  if (selector == corvid::kOwnTexts) {
    for (const corvid::Reason& reason : corvid::kReasons) {
      if (reason.code == code) return reason.text;
    }
  }
  for (const corvid::ServiceRange& range : corvid::kServiceRanges) {
    if (range.first <= code && code <= range.last) return range.reason(code, selector);
  }
  return "";
}

const char* CVD_GetErrReasonPKC(uint32_t code, int32_t selector) {
  return CVD_PKC_GetErrorReason(code, selector);
}
