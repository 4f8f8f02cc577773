// Comparing names as RFC 5280 section 7.1 asks, without conversion into another text: both values
// are read character by character.
#include <cstring>

#include "corvid/asn.h"
#include "services/asn/der.h"

namespace corvid::asn {
namespace {

enum StringTag : uint8_t {
  kNumericString = 0x12,
  kTeletexString = 0x14,
  kUniversalString = 0x1C,
  kBmpString = 0x1E,
  kUtf8 = 0x0C,
  kPrintable = 0x13,
  kIa5 = 0x16,
  kVisible = 0x1A
};

constexpr uint32_t kEnd = 0xFFFFFFFF;

// The characters of one string value, as the comparison sees them: blanks at the ends dropped, runs
// of blanks one blank, ASCII letters in lower case.
class Characters {
 public:
  // False when the value is no string of a type that can be read.
  bool Begin(const BIN& value) {
    if (value.data == nullptr || value.length <= 0) return false;
    Cursor in{value.data, value.data + value.length};
    Element element;
    if (ReadElement(&in, &element) != 0 || !in.empty()) return false;
    at_ = element.content;
    end_ = element.end;
    switch (*element.begin) {
      case kUniversalString:
        width_ = 4;
        for (size_t i = 0; i < element.length(); i += 4) {
          if (at_[i] != 0) return false;  // no character, and kEnd among them
        }
        break;
      case kBmpString:
        width_ = 2;
        break;
      case kUtf8: {
        size_t count = 0;
        width_ = 0;
        return CountUtf8(at_, element.length(), &count);
      }
      case kNumericString:
      case kTeletexString:
      case kPrintable:
      case kIa5:
      case kVisible:
        width_ = 1;
        break;
      default:
        return false;
    }
    return element.length() % width_ == 0;
  }

  uint32_t Next() {
    uint32_t character = Take();
    bool blank = false;
    while (IsBlank(character)) {
      blank = true;
      character = Take();
    }
    if (blank && begun_ && character != kEnd) {
      held_ = character;
      return ' ';
    }
    begun_ = true;
    return character >= 'A' && character <= 'Z' ? character | 0x20 : character;
  }

 private:
  static bool IsBlank(uint32_t character) {
    return character == ' ' || (character >= 0x09 && character <= 0x0D) || character == 0xA0;
  }
  uint32_t Take() {
    if (held_ != kEnd) {
      const uint32_t character = held_;
      held_ = kEnd;
      return character;
    }
    if (at_ == end_) return kEnd;
    if (width_ == 0) return TakeUtf8();
    uint32_t character = 0;
    for (size_t i = 0; i < width_; ++i) character = character << 8 | *at_++;
    return character;
  }
  uint32_t TakeUtf8() {  // valid, as Begin has found
    const uint32_t lead = *at_++;
    if (lead < 0x80) return lead;
    const size_t more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    uint32_t character = lead & (0x3FU >> more);
    for (size_t i = 0; i < more; ++i) character = character << 6 | (*at_++ & 0x3F);
    return character;
  }

  size_t width_ = 1;  // octets a character; 0: UTF-8
  const uint8_t* at_ = nullptr;
  const uint8_t* end_ = nullptr;
  uint32_t held_ = kEnd;  // the character after a run of blanks
  bool begun_ = false;
};

bool SameOctets(const BIN& a, const BIN& b) {
  return a.length == b.length &&
         (a.length <= 0 || (a.data != nullptr && b.data != nullptr &&
                            std::memcmp(a.data, b.data, static_cast<size_t>(a.length)) == 0));
}

bool SameValue(const BIN& a, const BIN& b) {
  if (SameOctets(a, b)) return true;
  Characters left;
  Characters right;
  if (!left.Begin(a) || !right.Begin(b)) return false;
  uint32_t character = 0;
  do {
    character = left.Next();
    if (character != right.Next()) return false;
  } while (character != kEnd);
  return true;
}

using Attribute = CVD_AttributeTypeAndValueNode;

bool SameAttribute(const Attribute& a, const Attribute& b) {
  return CVD_ASN_CmpOID(&a.type, &b.type) == 0 && SameValue(a.value, b.value);
}

constexpr size_t kAnyOrder = 32;  // attributes of an RDN that are matched in any order

// Each attribute of one RDN has its own equal in the other.
bool SameRdn(const Attribute* a, const Attribute* b) {
  size_t count = 0;
  const Attribute* left = a;
  const Attribute* right = b;
  bool in_order = true;
  for (; left != nullptr && right != nullptr; left = left->next, right = right->next, ++count) {
    in_order = in_order && SameAttribute(*left, *right);
  }
  if (left != nullptr || right != nullptr) return false;
  if (in_order || count > kAnyOrder) return in_order;
  uint32_t matched = 0;
  for (left = a; left != nullptr; left = left->next) {
    size_t index = 0;
    for (right = b; right != nullptr; right = right->next, ++index) {
      if ((matched >> index & 1) == 0 && SameAttribute(*left, *right)) break;
    }
    if (right == nullptr) return false;
    matched |= uint32_t{1} << index;
  }
  return true;
}

bool SameName(const CVD_Name& a, const CVD_Name& b) {
  if (a.choice != CVD_NAME_RDN_SEQUENCE || b.choice != CVD_NAME_RDN_SEQUENCE) return false;
  const CVD_RDNSequenceNode* left = a.rdnSequence;
  const CVD_RDNSequenceNode* right = b.rdnSequence;
  for (; left != nullptr && right != nullptr; left = left->next, right = right->next) {
    if (!SameRdn(left->relativeDistinguishedName, right->relativeDistinguishedName)) return false;
  }
  return left == nullptr && right == nullptr;
}

}  // namespace
}  // namespace corvid::asn

int32_t CVD_ASN_CmpName(const CVD_Name* a, const CVD_Name* b) {
  return a != nullptr && b != nullptr && corvid::asn::SameName(*a, *b) ? 0 : 1;
}
