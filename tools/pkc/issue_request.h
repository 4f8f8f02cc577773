// A request for a certificate, as the JSON object that `pkc issue` reads (pkc-issue(1) describes
// it) and `pkc show --as-request` writes.
#ifndef CORVID_TOOLS_PKC_ISSUE_REQUEST_H_
#define CORVID_TOOLS_PKC_ISSUE_REQUEST_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "refusals.h"

namespace corvid::tool {

constexpr std::string_view kRequestSchema = "corvid.request/1";

struct IssueRequest {
  std::string subject;
  uint32_t serial_number = 0;  // 0: a random one
  int64_t not_before = 0;      // seconds since 1970
  int64_t not_after = 0;
  int32_t signID = 0;                   // 0: what suits the signing key
  std::optional<std::string> key_file;  // the subject's public key: a path as it stands there,
  std::optional<std::string> key_der;   // or the octets of a SubjectPublicKeyInfo
  bool self_signed = false;
  bool ca = false;
  std::optional<std::string> policy;
  std::optional<std::string> cps;
  std::optional<std::string> notice;
  std::optional<std::string> holder_name;
  std::optional<std::string> vid;  // octets
  std::optional<std::string> crl;
  std::optional<std::string> ocsp;
};

// Reads the text of a request, which came from `input`. Whatever is wrong with its form is refused,
// by the name of the key; so is what would say nothing or nonsense in a certificate. `now` begins a
// validity that does not say when it begins. False when something was refused.
bool ReadRequest(std::string_view text, std::string_view input, int64_t now, IssueRequest* request,
                 Refusals* refusals);

// "SHA256 + RSA" and its number; the name for a number, or null.
const char* SignatureName(int32_t signID);
// The key algorithm that a signature algorithm is for; CVD_PKEY_UNKNOWN for an unknown one.
int32_t KeyOfSignature(int32_t signID);
// The number of the signature algorithm that a key makes unless its request says another; 0 for a
// key that signs nothing.
int32_t DefaultSignature(int32_t pkeyID);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_ISSUE_REQUEST_H_
