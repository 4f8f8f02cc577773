// A name as text. Input: options, then the DER of a Name. Contract: the text is terminated,
// "dncase" changes nothing but the case of letters, control octets come from the unescaped
// attributes alone, and a text that parses renders and parses again (names.h); a failure leaves no
// text. A name equals itself.
#include <cctype>

#include "fuzz/names.h"

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Octets;

// The DER of GeneralNames ::= SEQUENCE { [4] Name }.
std::string AsGeneralNames(Octets name) {
  std::string der(name.text());
  for (const char* tag : {"\xA4", "0"}) {
    const size_t length = der.size();
    std::string header = tag;
    if (length >= 0x80) header += length > 0xFF ? '\x82' : '\x81';
    if (length > 0xFF) header += static_cast<char>(length >> 8);
    header += static_cast<char>(length);
    der.insert(0, header);
  }
  return der;
}

bool HasUnescaped(const CVD_Name& name) {
  for (const auto& rdn : corvid::pkc::Nodes(name.rdnSequence)) {
    for (const auto& attribute : corvid::pkc::Nodes(rdn.relativeDistinguishedName)) {
      if (CVD_ASN_CmpOID(&attribute.type, CVD_ASN_GetOID(CVD_OID_COUNTRY_NAME)) == 0 ||
          CVD_ASN_CmpOID(&attribute.type, CVD_ASN_GetOID(CVD_OID_DN_QUALIFIER)) == 0) {
        return true;
      }
    }
  }
  return false;
}

bool SameButForCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return x == y ||
                  std::tolower(static_cast<uint8_t>(x)) == std::tolower(static_cast<uint8_t>(y));
         });
}

void CheckName(const CVD_Name& name) {
  Require(name.rdnSequence == nullptr || CVD_ASN_CmpName(&name, &name) == 0,
          "a name equals itself");
  char* text = nullptr;
  const uint32_t status = CVD_ExtractRDN(nullptr, &name, &text);
  Require((status == 0) == (text != nullptr), "there is a text when there is no failure");
  if (status != 0) return;
  const std::string lower = text;
  CVD_free(text);
  CVD_PKC_SetOption("dncase", "upper");
  corvid::pkc::Text upper;
  Require(CVD_ExtractRDN(nullptr, &name, upper.out()) == 0, "a name renders in either case");
  Require(SameButForCase(lower, upper.view()), "the case of labels changes nothing else");
  Require(HasUnescaped(name) || std::none_of(lower.begin(), lower.end(),
                                             [](char c) { return static_cast<uint8_t>(c) < 0x20; }),
          "control octets are escaped");
  corvid::fuzz::CheckThereAndBack(lower);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  const std::string der = AsGeneralNames(input.Rest());
  corvid::pkc::Decoded<CVD_GeneralNames> names;
  if (!names.Decode(std::string_view(der)).ok()) return 0;
  const CVD_GeneralName& name = names->first->generalName;
  CheckName(name.name.directoryName);
  return 0;
}
