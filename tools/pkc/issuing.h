// Signs what a request asks for, and looks at the result as at any certificate before anybody gets
// it. Nothing here reads or writes files.
#ifndef CORVID_TOOLS_PKC_ISSUING_H_
#define CORVID_TOOLS_PKC_ISSUING_H_

#include <string_view>

#include "corvid/pkc.hpp"
#include "issue_request.h"
#include "key_file.h"
#include "refusals.h"
#include "subject_key.h"

namespace corvid::tool {

struct Issuance {
  const IssueRequest& request;  // checked, with its serial number and signature algorithm
  const SubjectKey& subject_key;
  const SigningKey& signer;
  const CVD_Certificate* issuer;  // null for a self-signed certificate
};

// False with the reason refused; `der` is then empty. A certificate whose signature does not verify
// with the issuer's key, or that does not say what was asked for, is refused with kExitSystem.
bool Issue(const Issuance& issuance, std::string_view input, pkc::Bin* der, Refusals* refusals);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_ISSUING_H_
