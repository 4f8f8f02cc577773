// What the two targets of names share: names made from text, and what the text form can carry.
#ifndef CORVID_FUZZ_NAMES_H_
#define CORVID_FUZZ_NAMES_H_

#include "fuzz/input.h"

namespace corvid::fuzz {

// A name from text, released at the end.
struct ParsedName : CVD_Name {
  explicit ParsedName(const std::string& text) : CVD_Name{7, 7, nullptr} {
    status = CVD_ImplementRDN(nullptr, this, text.c_str());
    if (status != 0) Require(choice == 0 && rdnSequence == nullptr, "a failure leaves no name");
  }
  ParsedName(const ParsedName&) = delete;
  ParsedName& operator=(const ParsedName&) = delete;
  ~ParsedName() { CVD_NameFree(this); }

  uint32_t status;
};

// The name as one directoryName.
inline void Encode(const CVD_Name& name, pkc::Bin* der) {
  CVD_GeneralNameNode node{};
  node.generalName.choice = CVD_GENERAL_NAME_DIRECTORY;
  node.generalName.name.directoryName = name;
  const CVD_GeneralNames names{&node};
  Require(CVD_ASN_EncodePDU(der->out(), &names, CVD_PDU_GENERAL_NAMES) == 0, "a name encodes");
}

// Can the text form carry the attribute's value? Written as it is, or with each special character
// behind a backslash.
inline bool Carries(const CVD_AttributeTypeAndValueNode& attribute, bool joined) {
  const int32_t kUnescaped[] = {CVD_OID_COUNTRY_NAME, CVD_OID_DN_QUALIFIER};
  const std::string_view value = pkc::Octets(attribute.value).text();
  const std::string_view text = value.substr(2 + (value.size() > 129 ? 1 : 0));
  constexpr size_t kUncut = 130;  // octets that are at most 201 in every set
  if (text.empty() || text.size() > kUncut || text.front() == ' ' || text.back() == ' ')
    return false;
  if (text.find_first_of("+;") != std::string_view::npos || text.back() == ',') return false;
  if (joined && text.back() == '\\') return false;
  for (const int32_t type : kUnescaped) {
    if (CVD_ASN_CmpOID(&attribute.type, CVD_ASN_GetOID(type)) != 0) continue;
    if (type == CVD_OID_DN_QUALIFIER && joined) return false;  // it has no label there
    if (std::any_of(text.begin(), text.end(), [](char c) {
          return static_cast<uint8_t>(c) < 0x20 ||
                 std::string_view(",=<>\\").find(c) != std::string_view::npos;
        })) {
      return false;
    }
  }
  return true;
}

inline bool Carries(const CVD_RDNSequenceNode& rdn) {
  const CVD_AttributeTypeAndValueNode* first = rdn.relativeDistinguishedName;
  std::ptrdiff_t commas = 0;
  for (const auto& attribute : pkc::Nodes(first)) {
    if (!Carries(attribute, first->next != nullptr)) return false;
    const pkc::Octets value = attribute.value;
    commas += std::count(value.begin() + 2, value.end(), ',');
  }
  return commas <= 1;
}

// Checks that a text that parses renders, and that its rendering parses to the same octets.
inline void CheckThereAndBack(const std::string& text) {
  const ParsedName name(text);
  if (name.status != 0) return;
  pkc::Text rendered;
  pkc::Bin der;
  pkc::Bin again;
  Encode(name, &der);
  const uint32_t status = CVD_ExtractRDN(nullptr, &name, rendered.out());
  Require(status == 0, "what parses renders");
  constexpr size_t kLongestComponent = 401;  // octets
  if (rendered.view().size() > kLongestComponent) return;
  for (const auto& rdn : pkc::Nodes(name.rdnSequence)) {
    if (!Carries(rdn)) return;
  }
  const ParsedName parsed{std::string(rendered.view())};
  Require(parsed.status == 0, "what renders from a parsed name parses");
  Encode(parsed, &again);
  Require(Same(der.octets(), again.octets()), "a rendered name parses to the same octets");
}

}  // namespace corvid::fuzz

#endif  // CORVID_FUZZ_NAMES_H_
