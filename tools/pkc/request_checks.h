// What the library would silently bend in a certificate, or put there without being one bit better
// for it: refused before anything is signed. And whether an issuer may issue (RFC 5280).
#ifndef CORVID_TOOLS_PKC_REQUEST_CHECKS_H_
#define CORVID_TOOLS_PKC_REQUEST_CHECKS_H_

#include <string>
#include <string_view>

#include "corvid/pkc.hpp"
#include "issue_request.h"
#include "refusals.h"

namespace corvid::tool {

// The values of a request, whose form is right.
void CheckRequest(const IssueRequest& request, std::string_view input, Refusals* refusals);

// A subject in text form, or one attribute of it; `key` goes into refusals.
void CheckSubject(const std::string& subject, std::string_view input, std::string_view key,
                  Refusals* refusals);

// An issuer, given as `input`, for what is asked of it at the time `now`. What makes certificates
// that nobody should trust is refused; periods that do not fit are told on standard error.
void CheckIssuer(const CVD_Certificate& issuer, const IssueRequest& request, std::string_view input,
                 int64_t now, Refusals* refusals);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_REQUEST_CHECKS_H_
