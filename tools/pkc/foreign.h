// Inputs that hold some other well-known thing than a certificate.
#ifndef CORVID_TOOLS_PKC_FOREIGN_H_
#define CORVID_TOOLS_PKC_FOREIGN_H_

#include <string_view>

#include "corvid/pkc.hpp"

namespace corvid::tool {

// "a PKCS #12 store" for DER that is some other well-known kind of file, else null.
const char* NameForeignDer(pkc::Octets der);
// The same for the label of a PEM block (RFC 7468).
const char* NameForeignLabel(std::string_view label);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_FOREIGN_H_
