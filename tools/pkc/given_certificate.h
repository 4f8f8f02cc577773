// The one certificate, or other DER, that a file given by name holds.
#ifndef CORVID_TOOLS_PKC_GIVEN_CERTIFICATE_H_
#define CORVID_TOOLS_PKC_GIVEN_CERTIFICATE_H_

#include <string>

#include "corvid/pkc.hpp"
#include "refusals.h"

namespace corvid::tool {

// The DER of a file of any form that the command reads; more than one, and a bundle's broken one,
// are refused. PEM of other things than certificates is refused too. `key` goes into refusals.
bool ReadOneDer(const std::string& path, const char* key, std::string* der, Refusals* refusals);

bool ReadOneCertificate(const std::string& path, pkc::Certificate* certificate, Refusals* refusals);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_GIVEN_CERTIFICATE_H_
