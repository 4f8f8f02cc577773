// Distinguished names in the report: one line as the library renders it, completed where that
// leaves out or cuts, and every attribute with its whole value.
#include <algorithm>
#include <iterator>

#include "der.h"
#include "escape.h"
#include "reporter.h"

namespace corvid::tool {
namespace {

// The attribute types that the library's one-line form labels.
struct Label {
  std::string_view dotted;
  const char* upper;
  const char* lower;
};
constexpr Label kLabels[] = {
    {"2.5.4.6", "C", "c"},
    {"2.5.4.10", "O", "o"},
    {"2.5.4.11", "OU", "ou"},
    {"2.5.4.3", "CN", "cn"},
    {"2.5.4.8", "S", "s"},
    {"2.5.4.7", "L", "l"},
    {"1.2.840.113549.1.9.1", "E", "e"},
    {"0.9.2342.19200300.100.1.1", "ID", "id"},
    {"2.5.4.12", "T", "t"},
    {"0.9.2342.19200300.100.1.25", "DC", "dc"},
    {"2.5.4.46", "DNQUALIFIER", "dnqualifier"},
};
constexpr std::string_view kCountry = "2.5.4.6";
// The most octets of a value that the library's form surely holds, also when each two octets of a
// BMPString become three.
constexpr size_t kSurelyWhole = 134;

const Label* FindLabel(std::string_view dotted) {
  const auto* label = std::find_if(std::begin(kLabels), std::end(kLabels),
                                   [dotted](const Label& row) { return row.dotted == dotted; });
  return label == std::end(kLabels) ? nullptr : label;
}

// The escapes of the one-line form.
void AppendEscapedValue(std::string_view value, std::string* text) {
  for (const char c : value) {
    if (static_cast<uint8_t>(c) < 0x20) {
      text->push_back('\\');
      AppendHex(std::string_view(&c, 1), text);
      continue;
    }
    if (std::string_view("\\,=+<>;").find(c) != std::string_view::npos) text->push_back('\\');
    text->push_back(c);
  }
}

}  // namespace

const char* NameLabel(std::string_view dotted) {
  const Label* label = FindLabel(dotted);
  return label == nullptr ? nullptr : label->lower;
}

void Reporter::Name(Key key, const char* label, std::string_view field, const CVD_Name& name) {
  const std::string text = NameText(name);
  report_.Object(key, label, {name.rdnSequence == nullptr ? "(empty)" : std::string_view(text)});
  report_.Rendered("text", nullptr, {text});
  report_.List("rdnSequence", nullptr);
  for (const auto& rdn : pkc::Nodes(name.rdnSequence)) {
    Attributes(field, rdn.relativeDistinguishedName);
  }
  report_.End();
  report_.End();
}

// The attributes of one RDN.
void Reporter::Attributes(std::string_view field, const CVD_AttributeTypeAndValueNode* first) {
  report_.List(nullptr, nullptr);
  for (const auto& attribute : pkc::Nodes(first)) Attribute(field, attribute);
  report_.End();
}

// A type that has a label is meant to be text; of others any value will do.
void Reporter::Attribute(std::string_view field, const CVD_AttributeTypeAndValueNode& attribute) {
  const OidName& id = oids_.Of(attribute.type);
  const char* label = id.label();
  const StringValue value = DecodeString(attribute.value);
  report_.Object(nullptr, nullptr);
  OidItems(id);
  if (value.type != nullptr) report_.Known("type", nullptr, value.type);
  if (value.type != nullptr && value.status.ok()) {
    report_.Text("value", label, value.text);
  } else {
    report_.Octets("der", label, attribute.value);
    if (!value.status.ok()) Fail(field, value.status);
    if (value.type == nullptr && FindLabel(id.dotted) != nullptr) Fail(field, PKC_ERR_BAD_RDN);
  }
  report_.End();
}

// True when the library's form shows all of the attribute: it has a label and holds a short text.
bool Reporter::IsPlain(const CVD_AttributeTypeAndValueNode& attribute) {
  const std::string& dotted = oids_.Of(attribute.type).dotted;
  if (FindLabel(dotted) == nullptr) return false;
  const pkc::Octets der = attribute.value;
  if (der.size() <= 2 || der.size() > kSurelyWhole) return false;
  if (std::find(der.begin() + 2, der.end(), 0) != der.end()) return false;
  return dotted != kCountry || der.size() == 4;
}

std::string Reporter::NameText(const CVD_Name& name) {
  bool plain = true;
  for (const auto& rdn : pkc::Nodes(name.rdnSequence)) {
    const auto* attribute = rdn.relativeDistinguishedName;
    plain = plain && attribute != nullptr && attribute->next == nullptr && IsPlain(*attribute);
  }
  pkc::Text rendered;
  if (plain && pkc::NameText(name, &rendered).ok()) return std::string(rendered.view());

  std::vector<const CVD_AttributeTypeAndValueNode*> rdns;
  for (const auto& rdn : pkc::Nodes(name.rdnSequence)) {
    if (rdn.relativeDistinguishedName != nullptr) rdns.push_back(rdn.relativeDistinguishedName);
  }
  std::string text;
  for (auto rdn = rdns.rbegin(); rdn != rdns.rend(); ++rdn) {
    if (rdn != rdns.rbegin()) text.push_back(',');
    AppendRdn(*rdn, &text);
  }
  return text;
}

// One RDN, its attributes from the last to the first; a value without label or text is written in
// hexadecimal (RFC 4514 section 2.4).
void Reporter::AppendRdn(const CVD_AttributeTypeAndValueNode* first, std::string* text) {
  std::vector<const CVD_AttributeTypeAndValueNode*> attributes;
  for (const auto& attribute : pkc::Nodes(first)) attributes.push_back(&attribute);
  for (auto at = attributes.rbegin(); at != attributes.rend(); ++at) {
    if (at != attributes.rbegin()) text->push_back('+');
    const OidName& id = oids_.Of((*at)->type);
    const Label* label = FindLabel(id.dotted);
    const StringValue value = DecodeString((*at)->value);
    *text += label == nullptr ? id.dotted.c_str() : upper_labels_ ? label->upper : label->lower;
    text->push_back('=');
    if (label != nullptr && value.type != nullptr && value.status.ok()) {
      AppendEscapedValue(value.text, text);
    } else {
      text->push_back('#');
      AppendHex((*at)->value, text);
    }
  }
}

}  // namespace corvid::tool
