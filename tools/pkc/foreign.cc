// The shapes of other files, and the labels of other PEM blocks.
#include "foreign.h"

#include <algorithm>
#include <iterator>

#include "der.h"

namespace corvid::tool {
namespace {

// A shape: '(' enters a SEQUENCE, other letters pass one element.
struct Shape {
  const char* name;
  std::string_view pattern;
};
struct ShapeLetter {
  char letter;
  uint8_t tag;
};
constexpr ShapeLetter kLetters[] = {
    {'i', kTagInteger},  {'b', kTagBitString}, {'o', kTagOid}, {'x', kTagOctetString},
    {'s', kTagSequence}, {'u', 0x17},          {'g', 0x18},    {'a', 0xA0}};
constexpr Shape kShapes[] = {
    {"a PKCS #12 store", "(i(oa"},
    {"a PKCS #7 message", "(oa"},
    {"a certificate request", "((is(sb"},
    {"a certificate revocation list", "((issu"},
    {"a certificate revocation list", "((issg"},
    {"a certificate revocation list", "((ssu"},
    {"a certificate revocation list", "((ssg"},
    {"a private key", "(isx"},
    {"a private key", "(iiiiiiii"},
    {"a private key", "(ix"},
    {"an encrypted private key", "(sx"},
    {"a public key", "(sb"},
};

// PEM labels (RFC 7468) that stand for something else.
struct Label {
  std::string_view label;
  const char* name;
};
constexpr Label kForeignLabels[] = {
    {"PRIVATE KEY", "a private key"},
    {"RSA PRIVATE KEY", "a private key"},
    {"DSA PRIVATE KEY", "a private key"},
    {"EC PRIVATE KEY", "a private key"},
    {"ENCRYPTED PRIVATE KEY", "an encrypted private key"},
    {"PUBLIC KEY", "a public key"},
    {"CERTIFICATE REQUEST", "a certificate request"},
    {"NEW CERTIFICATE REQUEST", "a certificate request"},
    {"PKCS7", "a PKCS #7 message"},
    {"CMS", "a CMS message"},
    {"X509 CRL", "a certificate revocation list"},
    {"EC PARAMETERS", "key parameters"},
    {"DH PARAMETERS", "key parameters"},
};

bool Matches(pkc::Octets octets, std::string_view pattern) {
  DerReader reader(octets);
  for (const char letter : pattern) {
    Element element;
    if (letter == '(') {
      if (!reader.Next(kTagSequence, &element)) return false;
      reader = DerReader(element.content);
      continue;
    }
    const auto* row = std::find_if(std::begin(kLetters), std::end(kLetters),
                                   [letter](const ShapeLetter& l) { return l.letter == letter; });
    if (row == std::end(kLetters) || !reader.Next(row->tag, &element)) return false;
  }
  return true;
}

}  // namespace

const char* NameForeignDer(pkc::Octets der) {
  for (const Shape& shape : kShapes) {
    if (Matches(der, shape.pattern)) return shape.name;
  }
  return nullptr;
}

const char* NameForeignLabel(std::string_view label) {
  const auto* row = std::find_if(std::begin(kForeignLabels), std::end(kForeignLabels),
                                 [label](const Label& l) { return l.label == label; });
  return row == std::end(kForeignLabels) ? nullptr : row->name;
}

}  // namespace corvid::tool
