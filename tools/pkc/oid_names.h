// Object identifiers as people read them: dotted text and the name that the standards use.
#ifndef CORVID_TOOLS_PKC_OID_NAMES_H_
#define CORVID_TOOLS_PKC_OID_NAMES_H_

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "corvid/pkc.hpp"

namespace corvid::tool {

struct OidName {
  std::string dotted;     // "#" and the content octets in hexadecimal when there is no dotted text
  std::string_view name;  // a literal; empty for an identifier without a name here
  // "keyUsage (2.5.29.15)", or the dotted text alone.
  std::string title;
  // The name, else the dotted text, for as long as this is there.
  const char* label() const { return name.empty() ? dotted.c_str() : name.data(); }
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
  using Known = std::unordered_map<std::string, OidName, Hash, std::equal_to<>>;
  const Known::value_type& Find(const CVD_OID& oid, std::string_view octets);

  Known known_;
  std::array<const Known::value_type*, 128> recent_{};  // by a hash that costs nothing
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_OID_NAMES_H_
