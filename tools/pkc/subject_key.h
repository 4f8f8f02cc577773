// Public keys: those that certificates, certificate requests (RFC 2986) and key files hold.
#ifndef CORVID_TOOLS_PKC_SUBJECT_KEY_H_
#define CORVID_TOOLS_PKC_SUBJECT_KEY_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "corvid/pkc.hpp"
#include "refusals.h"

namespace corvid::tool {

struct SubjectKey {
  int32_t pkeyID = CVD_PKEY_UNKNOWN;
  std::string parameters;  // DER; empty for none, and for RSA
  std::string octets;      // of the subjectPublicKey
};
bool operator==(const SubjectKey& a, const SubjectKey& b);

// A key that a certificate can have: of an algorithm that the library certifies, with its
// parameters, well-formed. `input` and `key` go into refusals.
bool MakeSubjectKey(const CVD_SubjectPublicKeyInfo& info, std::string_view input,
                    std::string_view key, SubjectKey* subject_key, Refusals* refusals);
// The same from the DER of a SubjectPublicKeyInfo.
bool DecodeSubjectKey(pkc::Octets der, std::string_view input, std::string_view key,
                      SubjectKey* subject_key, Refusals* refusals);
// The same from a file, PEM or DER, of a public key, a certificate or a certificate request. A
// request must be signed by its key.
bool ReadSubjectKey(const std::string& path, SubjectKey* subject_key, Refusals* refusals);

// The DER of the SubjectPublicKeyInfo in that of a certificate; empty when there is none.
pkc::Octets FindSubjectPublicKeyInfo(pkc::Octets certificate);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_SUBJECT_KEY_H_
