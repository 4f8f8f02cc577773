// `pkc show --as-request`: certificates as requests that `pkc issue` reads.
#ifndef CORVID_TOOLS_PKC_AS_REQUEST_H_
#define CORVID_TOOLS_PKC_AS_REQUEST_H_

#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"
#include "issue_request.h"

namespace corvid::tool {

struct RequestNote {
  std::string key;
  std::string text;
};

// The request for a certificate like the one given, which `der` holds, with what it cannot carry as
// notes. What it would be refused for is left out.
IssueRequest MakeRequest(const CVD_Certificate& certificate, pkc::Octets der,
                         std::vector<RequestNote>* notes);

// Writes the requests for the certificates of the inputs to standard output: one document, or one
// line each when there are several. Returns the exit status.
int ShowRequests(const std::vector<std::string>& inputs, bool recursive);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_AS_REQUEST_H_
