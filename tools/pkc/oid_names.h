// Object identifiers as people read them: dotted text and the name that the standards use.
#ifndef CORVID_TOOLS_PKC_OID_NAMES_H_
#define CORVID_TOOLS_PKC_OID_NAMES_H_

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "corvid/pkc.hpp"

namespace corvid::tool {

struct OidName {
  std::string dotted;  // "#" and the content octets in hexadecimal when there is no dotted text
  const char* name;    // null for an identifier without a name here
  // "keyUsage (2.5.29.15)", or the dotted text alone.
  std::string title;
};

// Remembers what it has once looked up: certificates name the same few identifiers over and over.
class OidNames {
 public:
  // The reference stays valid until Trim.
  const OidName& Of(const CVD_OID& oid);
  // Forgets everything when there is too much of it. Identifiers come from the input.
  void Trim();

 private:
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  std::unordered_map<std::string, OidName, Hash, std::equal_to<>> known_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_OID_NAMES_H_
