// The model of a record: rows that tie each ASN.1 component to a member of its C record. Decoder
// and encoder are expanded from the rows at compile time; the checks here prove that rows and
// layout fit.
#ifndef CORVID_ASN_SCHEMA_H_
#define CORVID_ASN_SCHEMA_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "corvid/asn.h"
#include "services/asn/der.h"

namespace corvid::asn {

// What a row's contents are, and the member that holds them.
enum class Kind : uint8_t {
  kBoolean,      // uint8_t
  kInteger,      // int32_t
  kHuge,         // Huge
  kOid,          // CVD_OID
  kBitString,    // CVD_BitString
  kNamedBits,    // CVD_KeyUsage, CVD_NetscapeCertType, CVD_ReasonFlags
  kOctets,       // BIN, IPAddress: the contents
  kAny,          // BIN: one whole element
  kText,         // const char*, NUL-terminated
  kCountedText,  // CVD_IA5Attribute
  kInlineText,   // char[], NUL-terminated, of at most `bound` characters
  kTime,         // CVD_Time
  kRecord,       // a record of the schema `of`, or the same record again
  kChoice,       // a record that begins with the number of its alternative, a row of `of`
  kList          // pointer to the first node; `of` describes a node
};

// Universal identifier octets (X.680 section 8.4); constructed ones have bit 20.
enum Tag : uint8_t {
  kNoTag = 0x00,  // of a CHOICE or ANY
  kBooleanTag = 0x01,
  kIntegerTag = 0x02,
  kBitStringTag = 0x03,
  kOctetStringTag = 0x04,
  kOidTag = 0x06,
  kUtf8StringTag = 0x0C,
  kPrintableStringTag = 0x13,
  kIa5StringTag = 0x16,
  kUtcTimeTag = 0x17,
  kGeneralizedTimeTag = 0x18,
  kVisibleStringTag = 0x1A,
  kSequenceTag = 0x30,
  kSetTag = 0x31
};

// Identifier octets of context-specific tags, for rows: primitive and constructed.
constexpr uint8_t Context(uint8_t number) { return static_cast<uint8_t>(0x80 | number); }
constexpr uint8_t ContextConstructed(uint8_t number) { return static_cast<uint8_t>(0xA0 | number); }

enum class Characters : uint8_t {
  kAny,
  kUtf8,
  kPrintable,
  kVisible
};  // what a text is checked for

// True when the octets are of the set; UTF-8 is checked where its characters are counted.
inline bool AreOf(Characters set, const uint8_t* octets, size_t length) {
  if (set == Characters::kPrintable) return IsPrintable(octets, length);
  return set != Characters::kVisible || IsVisible(octets, length);
}

struct Schema;

struct RowOptions {
  uint8_t bit = 0;           // presence bit; 0: required
  uint8_t explicit_tag = 0;  // identifier of the [n] EXPLICIT around the element; 0: none
  uint16_t number = 0;       // of a CHOICE's alternative
  uint16_t bound = 0;        // characters of an inline text
  bool exact = false;        // the inline text has exactly `bound` characters
  uint8_t shown = 0;         // octets that named bits show in place
  bool word = false;         // the two shown octets are a word, the first in its high byte
  bool only = false;  // another element is another alternative, which the record does not hold
  Characters characters = Characters::kAny;
  const Schema* of = nullptr;
};

struct Row {
  const char* name;  // the member's, for failure paths; "" adds nothing to them
  Kind kind;
  uint8_t tag;  // identifier octet; kNoTag: any (kAny) or those of the alternatives (kChoice)
  uint16_t offset;
  uint16_t size;  // bytes of the member
  RowOptions options;
};

inline constexpr size_t kLargestNode = 64;  // bytes of the largest node of a list

enum class Form : uint8_t { kFields, kAlternatives, kElements };

struct Schema {
  Form form;
  std::span<const Row> rows;  // kElements: the one row of an element
  uint16_t size;              // of the record or node; nodes begin with `next`
  uint16_t present = 0;       // offset of the presence mask
  bool some = false;          // kElements: SIZE (1..MAX) is enforced
  bool set = false;           // kElements: a SET OF, sorted when it is encoded
  bool ordered = false;  // kAlternatives: 16 bits behind the choice say that SETs keep their order
};

// Refuses, at compile time, a row whose kind does not fit the member's type.
template <Kind kKind, typename Member>
consteval bool KindFits() {
  using T = std::remove_cv_t<Member>;
  switch (kKind) {
    case Kind::kBoolean:
      return std::is_same_v<T, uint8_t>;
    case Kind::kInteger:
      return std::is_same_v<T, int32_t>;
    case Kind::kHuge:
      return std::is_same_v<T, Huge>;
    case Kind::kOid:
      return std::is_same_v<T, CVD_OID>;
    case Kind::kBitString:
      return std::is_same_v<T, CVD_BitString>;
    case Kind::kNamedBits:
      return std::is_same_v<T, CVD_KeyUsage> || std::is_same_v<T, CVD_NetscapeCertType> ||
             std::is_same_v<T, CVD_ReasonFlags>;
    case Kind::kOctets:
      return std::is_same_v<T, BIN> || std::is_same_v<T, CVD_IPAddress>;
    case Kind::kAny:
      return std::is_same_v<T, BIN>;
    case Kind::kText:
      return std::is_same_v<T, const char*>;
    case Kind::kCountedText:
      return std::is_same_v<T, CVD_IA5Attribute>;
    case Kind::kInlineText:
      return std::is_array_v<T>;
    case Kind::kTime:
      return std::is_same_v<T, CVD_Time>;
    case Kind::kRecord:
    case Kind::kChoice:
      return std::is_class_v<T>;
    case Kind::kList:
      return std::is_pointer_v<T>;
  }
  return false;
}

template <Kind kKind, typename Member>
consteval Row MakeRow(const char* name, size_t offset, uint8_t tag, RowOptions options = {}) {
  static_assert(KindFits<kKind, Member>(), "the member's type does not fit the row's kind");
  static_assert(sizeof(Member) <= 0xFFFF);
  return {name,   kKind, tag, static_cast<uint16_t>(offset), static_cast<uint16_t>(sizeof(Member)),
          options};
}

// ROW(Record, member, kind, identifier octet, .option = value, ...)
#define ROW(Record, member, kind, tag, ...)                                               \
  MakeRow<Kind::kind, std::remove_reference_t<decltype(std::declval<Record&>().member)>>( \
      #member, offsetof(Record, member), tag, RowOptions{__VA_ARGS__})

// A row that stands for a whole record, node element or PDU: it adds no name to failure paths.
#define WHOLE(Record, kind, tag, ...) \
  MakeRow<Kind::kind, Record>("", 0, tag, RowOptions{__VA_ARGS__})

// The optional rows use the presence bits 80, 40, ... in turn, members ascend in memory and stay
// inside the record, and alternatives have numbers that ascend.
consteval bool LayoutHolds(const Schema& schema) {
  size_t end = 0;
  uint8_t bit = 0x80;
  uint16_t number = 0;
  for (const Row& row : schema.rows) {
    if (row.offset + row.size > schema.size) return false;
    if (schema.form == Form::kAlternatives) {
      if (row.options.number <= number) return false;
      number = row.options.number;
      continue;
    }
    const bool same_record = row.kind == Kind::kRecord && row.options.of->size == schema.size;
    if (!same_record && row.offset < end) return false;
    if (!same_record) end = row.offset + row.size;
    if (row.options.bit == 0) continue;
    if (row.options.bit != bit) return false;
    bit = static_cast<uint8_t>(bit >> 1);
  }
  return schema.form != Form::kElements || (schema.rows.size() == 1 && schema.size <= kLargestNode);
}

}  // namespace corvid::asn

#endif  // CORVID_ASN_SCHEMA_H_
