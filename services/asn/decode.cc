// The decoder: rows expanded at compile time, run over the caller's octets, checking and filling
// one block as they go:
//
//   record | nodes | a copy of the DER, one octet longer
//
// Every pointer of the record leads into the block. A text ends in place: its NUL is written into
// the copy, over the header that follows or the octet at the end. The room for nodes is a guess
// that certificates as they are issued fit; values that need more are read a second time, into a
// block of the size that the first reading measured. Small values can be read into memory of the
// caller's instead of a block.
#include <cstring>
#include <utility>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "corvid/short_copy.hpp"
#include "services/asn/der.h"
#include "services/asn/failure.h"
#include "services/asn/tables.h"

namespace corvid::asn {
namespace {

#define CORVID_INLINE [[gnu::always_inline]] inline

// One reading of the octets: hands out nodes while there is room, and counts what they need.
class Reading {
 public:
  Reading(const uint8_t* input, uint8_t* nodes, size_t room, uint8_t* copy)
      : input_(input), nodes_(nodes), room_(room), copy_(copy) {}

  // A node of zeros, so that every octet of a record is defined, padding included.
  template <size_t kSize>
  CORVID_INLINE uint8_t* Take() {
    const size_t at = taken_;
    taken_ += (kSize + 7) & ~size_t{7};
    uint8_t* node = taken_ <= room_ ? nodes_ + at : spare_;
    std::memset(node, 0, kSize);
    return node;
  }
  bool complete() const { return taken_ <= room_; }
  size_t needed() const { return taken_; }

  // The place in the copy of an octet of the input.
  CORVID_INLINE uint8_t* Copied(const uint8_t* at) const { return copy_ + (at - input_); }
  CORVID_INLINE BIN CopiedBin(const uint8_t* begin, const uint8_t* end) const {
    return {static_cast<int32_t>(end - begin), begin == end ? nullptr : Copied(begin)};
  }
  FailurePath& failure() { return failure_; }

 private:
  const uint8_t* input_;
  uint8_t* nodes_;
  size_t room_;
  uint8_t* copy_;
  size_t taken_ = 0;
  FailurePath failure_;
  alignas(8) uint8_t spare_[kLargestNode];  // a node that is filled for nothing
};

template <typename T>
CORVID_INLINE void Store(uint8_t* member, const T& value) {
  std::memcpy(member, &value, sizeof value);
}

// A Huge or CVD_OID: the octets between length and pointer are zero.
CORVID_INLINE void StoreCounted(uint8_t* member, size_t length, const uint8_t* data) {
  static_assert(sizeof(Huge) == 16 && sizeof(CVD_OID) == 16 && offsetof(Huge, data) == 8);
  Store(member, static_cast<uint64_t>(length));
  Store(member + offsetof(Huge, data), data);
}

// The identifier octet that an element of the row begins with; kNoTag when that does not tell.
constexpr uint8_t FirstTag(const Row& row) {
  return row.options.explicit_tag != 0 ? row.options.explicit_tag : row.tag;
}

CORVID_INLINE constexpr bool TagFits(const Row& row, uint8_t tag) {
  if (row.kind == Kind::kTime) return tag == kUtcTimeTag || tag == kGeneralizedTimeTag;
  if (row.tag == kNoTag) return tag != kNoTag;  // 00 ends contents of indefinite length
  return row.tag == tag;
}

// The code for an element of another tag than the row's.
constexpr uint32_t OtherTag(const Row& row) {
  return row.options.only ? CVD_ASN_ERR_ALTERNATIVE : CVD_ASN_ERR_TAG;
}

template <const Schema* kSchema>
using Indices = std::make_index_sequence<kSchema->rows.size()>;

template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadRow(Reading& reading, Cursor* in, uint8_t* record);

// ---- primitive contents --------------------------------------------------------------------

CORVID_INLINE uint32_t ReadBoolean(const Element& element, uint8_t* value) {
  if (Rare(element.length() != 1)) return CVD_ASN_ERR_BOOLEAN;
  const uint8_t octet = *element.content;
  if (Rare(octet != 0x00 && octet != 0xFF)) return CVD_ASN_ERR_BOOLEAN;
  *value = octet & 1;
  return 0;
}

CORVID_INLINE uint32_t ReadInteger(const Element& element, int32_t* value) {
  if (const uint32_t status = CheckInteger(element.content, element.length()); status != 0) {
    return status;
  }
  if (element.length() > 4) return CVD_ASN_ERR_RANGE;
  uint32_t number = (*element.content & 0x80) != 0 ? ~uint32_t{0} : 0;
  for (const uint8_t* at = element.content; at != element.end; ++at) number = number << 8 | *at;
  *value = static_cast<int32_t>(number);
  return 0;
}

// Octets of a set without NUL; a record's text ends with one.
template <Characters kSet>
bool AreText(const uint8_t* octets, size_t length, size_t* characters) {
  *characters = length;
  if (Holds<0x00>(octets, length)) return false;
  if constexpr (kSet == Characters::kUtf8) return CountUtf8(octets, length, characters);
  return AreOf(kSet, octets, length);
}

template <const Schema* kSchema, size_t kIndex>
uint32_t CheckText(const Element& element) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if (element.length() == 0) {
    return row.options.exact ? static_cast<uint32_t>(CVD_ASN_ERR_TEXT_LENGTH) : 0;
  }
  size_t characters = 0;
  if (!AreText<row.options.characters>(element.content, element.length(), &characters)) {
    return CVD_ASN_ERR_TEXT;
  }
  if (row.kind == Kind::kCountedText && element.length() > kShortLimit) return CVD_ASN_ERR_RANGE;
  if (row.kind != Kind::kInlineText) return 0;
  // The array can be narrower than its bound of characters, of up to four octets each.
  if (characters > row.options.bound || element.length() >= row.size ||
      (row.options.exact && characters != row.options.bound)) {
    return CVD_ASN_ERR_TEXT_LENGTH;
  }
  return 0;
}

CORVID_INLINE CVD_BitString BitStringOf(const Reading& reading, const Element& element) {
  const size_t octets = element.length() - 1;
  return {static_cast<uint32_t>(octets * 8 - *element.content),
          octets == 0 ? nullptr : reading.Copied(element.content + 1)};
}

// The three records of named bits have one shape: the first bits, then the whole string.
CORVID_INLINE void FillNamedBits(const Reading& reading, const Element& element,
                                 const RowOptions& options, uint8_t* member) {
  static_assert(sizeof(CVD_KeyUsage) == 16 && offsetof(CVD_KeyUsage, bits) == 4);
  static_assert(sizeof(CVD_NetscapeCertType) == 16 && offsetof(CVD_NetscapeCertType, bits) == 4);
  static_assert(sizeof(CVD_ReasonFlags) == 16 && offsetof(CVD_ReasonFlags, bits) == 4);
  const CVD_BitString string = BitStringOf(reading, element);
  const uint32_t octets = (string.bits + 7) / 8;
  const uint8_t first = octets > 0 ? element.content[1] : 0;
  const uint8_t second = octets > 1 ? element.content[2] : 0;
  if (options.word) {
    Store(member, static_cast<uint16_t>(first << 8 | second));
  } else {
    member[0] = first;
    if (options.shown == 2) member[1] = second;
  }
  Store(member + offsetof(CVD_KeyUsage, bits), string.bits);
  Store(member + offsetof(CVD_KeyUsage, data), string.data);
}

CORVID_INLINE char* TextIn(const Reading& reading, const Element& element) {
  *reading.Copied(element.end) = '\0';
  return reinterpret_cast<char*>(reading.Copied(element.content));
}

// Checks a primitive element and writes its value.
template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadPrimitive(const Reading& reading, const Element& element,
                                     uint8_t* member) {
  constexpr const Row& row = kSchema->rows[kIndex];
  const size_t length = element.length();
  uint32_t status = 0;
  if constexpr (row.kind == Kind::kBoolean) {
    status = ReadBoolean(element, member);
  } else if constexpr (row.kind == Kind::kInteger) {
    int32_t value = 0;
    status = ReadInteger(element, &value);
    Store(member, value);
  } else if constexpr (row.kind == Kind::kHuge) {
    status = CheckInteger(element.content, length);
    StoreCounted(member, length, reading.Copied(element.content));
  } else if constexpr (row.kind == Kind::kOid) {
    status = CheckOid(element.content, length);
    StoreCounted(member, length, reading.Copied(element.content));
  } else if constexpr (row.kind == Kind::kBitString) {
    status = CheckBitString(element.content, length);
    if (Usual(status == 0)) Store(member, BitStringOf(reading, element));
  } else if constexpr (row.kind == Kind::kNamedBits) {
    status = CheckBitString(element.content, length);
    if (Usual(status == 0)) FillNamedBits(reading, element, row.options, member);
  } else if constexpr (row.kind == Kind::kOctets) {
    Store(member, reading.CopiedBin(element.content, element.end));
  } else if constexpr (row.kind == Kind::kAny) {
    Store(member, reading.CopiedBin(element.begin, element.end));
  } else if constexpr (row.kind == Kind::kText) {
    status = CheckText<kSchema, kIndex>(element);
    Store(member, TextIn(reading, element));
  } else if constexpr (row.kind == Kind::kCountedText) {
    status = CheckText<kSchema, kIndex>(element);
    Store(member,
          CVD_IA5Attribute{1, 0, static_cast<uint16_t>(length), 0, TextIn(reading, element)});
  } else if constexpr (row.kind == Kind::kInlineText) {
    status = CheckText<kSchema, kIndex>(element);
    if (status != 0) return status;
    std::memcpy(member, element.content, length);
    member[length] = '\0';
  } else {
    static_assert(row.kind == Kind::kTime);
    CVD_Time time;
    time.kind = *element.begin == kUtcTimeTag ? CVD_TIME_UTC : CVD_TIME_GENERALIZED;
    status = ReadTime(time.kind, element.content, length, &time.fields);
    if (Usual(status == 0)) Store(member, time);
  }
  return status;
}

// ---- constructed contents ------------------------------------------------------------------

template <const Schema* kSchema, size_t... kIndex>
CORVID_INLINE uint32_t ReadFields(Reading& reading, Cursor in, uint8_t* record,
                                  std::index_sequence<kIndex...>) {
  uint32_t status = 0;
  const bool read = (Usual((status = ReadRow<kSchema, kIndex>(reading, &in, record)) == 0) && ...);
  if (Rare(!read)) return status;
  if (Rare(!in.empty())) return reading.failure().Begin(CVD_ASN_ERR_TRAILING, in.at);
  return 0;
}

// A list's elements: nodes chained from `link`, which is the head pointer, then each node's `next`.
template <const Schema* kSchema>
[[gnu::noinline]] uint32_t ReadElements(Reading& reading, Cursor in, uint8_t* link) {
  if (Rare(kSchema->some && in.empty())) return reading.failure().Begin(CVD_ASN_ERR_EMPTY, in.at);
  for (uint32_t index = 0; !in.empty(); ++index) {
    uint8_t* node = reading.Take<kSchema->size>();
    if (const uint32_t status = ReadRow<kSchema, 0>(reading, &in, node); Rare(status != 0)) {
      return reading.failure().AddIndex(status, index);
    }
    Store(link, node);
    link = node;
  }
  Store(link, static_cast<uint8_t*>(nullptr));
  return 0;
}

template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadChosen(Reading& reading, Cursor* in, uint8_t* record) {
  Store(record, kSchema->rows[kIndex].options.number);
  if constexpr (kSchema->ordered) Store(record + 2, uint16_t{1});
  return ReadRow<kSchema, kIndex>(reading, in, record);
}

// The one alternative that the next identifier octet selects.
template <const Schema* kSchema, size_t... kIndex>
CORVID_INLINE uint32_t ReadAlternative(Reading& reading, Cursor* in, uint8_t* record,
                                       std::index_sequence<kIndex...>) {
  if (Rare(in->empty())) return reading.failure().Begin(CVD_ASN_ERR_TAG, in->at);
  const uint8_t tag = *in->at;
  uint32_t status = 0;
  const bool known = ((tag == FirstTag(kSchema->rows[kIndex]) &&
                       (status = ReadChosen<kSchema, kIndex>(reading, in, record), true)) ||
                      ...);
  if (Usual(known)) return status;
  return reading.failure().Begin(sizeof...(kIndex) == 1 ? CVD_ASN_ERR_TAG : CVD_ASN_ERR_ALTERNATIVE,
                                 in->at);
}

// ---- rows ----------------------------------------------------------------------------------

// The contents of the row's element into its member.
template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadContents(Reading& reading, const Element& element, uint8_t* member) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if constexpr (row.kind == Kind::kRecord) {
    constexpr const Schema* kOf = row.options.of;
    return ReadFields<kOf>(reading, {element.content, element.end}, member, Indices<kOf>{});
  } else if constexpr (row.kind == Kind::kList) {
    return ReadElements<row.options.of>(reading, {element.content, element.end}, member);
  } else {
    const uint32_t status = ReadPrimitive<kSchema, kIndex>(reading, element, member);
    if (Rare(status != 0)) return reading.failure().Begin(status, element.begin);
    return 0;
  }
}

// Where the contents of an element lie; null contents: `length` is the code of its refusal.
struct Contents {
  const uint8_t* begin;
  size_t length;
};

// Reads the header of any element; tells why there is none that fits.
[[gnu::noinline]] Contents ReadAnyHeader(Cursor in, bool fits, uint32_t other_tag) {
  if (Rare(in.empty())) return {nullptr, CVD_ASN_ERR_TAG};
  if (Rare(!fits)) return {nullptr, other_tag};
  Element element;
  if (const uint32_t status = ReadElement(&in, &element); Rare(status != 0)) {
    return {nullptr, status};
  }
  return {element.content, element.length()};
}

// Takes the element around the row's ([n] EXPLICIT), or the row's own. Most elements have less than
// 128 octets and one of identifier; they are read here, the others out of line.
template <const Schema* kSchema, size_t kIndex, bool kAround>
CORVID_INLINE uint32_t TakeElement(Reading& reading, Cursor* in, Element* out) {
  constexpr const Row& row = kSchema->rows[kIndex];
  const uint8_t* at = in->at;
  const size_t available = in->size();
  const bool fits =
      available >= 1 && (kAround ? *at == row.options.explicit_tag : TagFits(row, *at));
  Contents contents{at + 2, 0};
  if (fits && available >= 2 && (row.tag != kNoTag || kAround || (*at & 0x1F) != 0x1F) &&
      at[1] < 0x80 && at[1] <= available - 2) [[likely]] {
    contents.length = at[1];
  } else {
    contents = ReadAnyHeader(*in, fits, OtherTag(row));
    if (Rare(contents.begin == nullptr)) {
      return reading.failure().Begin(static_cast<uint32_t>(contents.length), at);
    }
  }
  *out = {at, contents.begin, contents.begin + contents.length};
  in->at = out->end;
  return 0;
}

// The row's element, without an explicit tag around it.
template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadInner(Reading& reading, Cursor* in, uint8_t* member) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if constexpr (row.kind == Kind::kChoice) {
    constexpr const Schema* kOf = row.options.of;
    return ReadAlternative<kOf>(reading, in, member, Indices<kOf>{});
  } else {
    Element element{};
    if (const uint32_t status = TakeElement<kSchema, kIndex, false>(reading, in, &element);
        Rare(status != 0)) {
      return status;
    }
    return ReadContents<kSchema, kIndex>(reading, element, member);
  }
}

// Takes an [n] EXPLICIT element, which holds the row's element and nothing else.
template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadExplicit(Reading& reading, Cursor* in, uint8_t* member) {
  Element wrapper{};
  if (const uint32_t status = TakeElement<kSchema, kIndex, true>(reading, in, &wrapper);
      Rare(status != 0)) {
    return status;
  }
  Cursor inner{wrapper.content, wrapper.end};
  if (const uint32_t status = ReadInner<kSchema, kIndex>(reading, &inner, member);
      Rare(status != 0)) {
    return status;
  }
  if (Rare(!inner.empty())) return reading.failure().Begin(CVD_ASN_ERR_TRAILING, inner.at);
  return 0;
}

template <const Schema* kSchema, size_t kIndex>
CORVID_INLINE uint32_t ReadRow(Reading& reading, Cursor* in, uint8_t* record) {
  constexpr const Row& row = kSchema->rows[kIndex];
  constexpr uint8_t kFirst = FirstTag(row);
  uint8_t* member = record + row.offset;
  if constexpr (row.options.bit != 0) {
    const bool absent = in->empty() || (kFirst != kNoTag && *in->at != kFirst) ||
                        (row.kind == Kind::kTime && !TagFits(row, *in->at));
    if (absent) return 0;  // bit clear, member zero
    record[kSchema->present] |= row.options.bit;
  }
  uint32_t status = 0;
  if constexpr (row.options.explicit_tag != 0) {
    status = ReadExplicit<kSchema, kIndex>(reading, in, member);
  } else {
    status = ReadInner<kSchema, kIndex>(reading, in, member);
  }
  if (Rare(status != 0)) return reading.failure().AddName(status, row.name);
  return 0;
}

// ---- PDUs ----------------------------------------------------------------------------------

// Room for the nodes of a value of `length` octets, as certificates are issued: in a whole
// certificate they need less than the DER, in a list of short names up to four times as much. A
// revocation list's entries are no nodes.
constexpr size_t UsualRoom(size_t length) {
  if (length < 512) return 4 * length + 64;
  return (length < 16384 ? length : 16384) + 1600;
}

// Memory of the caller's that a record may be put into; none, when it is null.
struct Area {
  uint8_t* memory;
  size_t size;
};

// Reads the value into the area or, when that is too small, into a block.
template <int32_t kType>
uint32_t DecodeAs(const BIN& der, const Area& area, void** record) {
  constexpr const Schema* kRoot = &Pdu<kType>::kRoot;
  constexpr size_t kRecordSize = (kRoot->size + size_t{7}) & ~size_t{7};
  const auto length = static_cast<size_t>(der.length);
  const size_t fixed = kRecordSize + length + 1;
  bool near = area.memory != nullptr && area.size >= fixed;
  size_t room = (near ? area.size - fixed : UsualRoom(length) + 7) & ~size_t{7};
  for (;; near = false) {
    auto* memory = near ? area.memory : static_cast<uint8_t*>(CVD_malloc(fixed + room));
    if (Rare(memory == nullptr)) return CVD_ASN_ERR_MALLOC;
    std::memset(memory, 0, kRecordSize);
    uint8_t* copy = memory + kRecordSize + room;
    CopyShort(copy, der.data, length);
    Reading reading(der.data, memory + kRecordSize, room, copy);
    const uint32_t status =
        ReadFields<kRoot>(reading, {der.data, der.data + length}, memory, Indices<kRoot>{});
    if (Usual(status == 0 && reading.complete())) {
      *record = memory;
      return 0;
    }
    if (!near) CVD_free(memory);
    if (status != 0) {
      reading.failure().Publish(status, der.data);
      return status;
    }
    room = reading.needed();
  }
}

uint32_t DecodeType(const BIN& der, int32_t type, const Area& area, void** record) {
  switch (type) {
#define CORVID_DECODE(pdu, ...) \
  case pdu:                     \
    return DecodeAs<pdu>(der, area, record);
    CORVID_PDUS(CORVID_DECODE)
#undef CORVID_DECODE
    default:
      return CVD_ASN_ERR_UNKNOWN_TYPE;
  }
}

}  // namespace
}  // namespace corvid::asn

uint32_t CVD_ASN_DecodePDU(void** record, const BIN* der, int32_t type) {
  return CVD_ASN_DecodePDUInto(record, der, type, nullptr, 0);
}

uint32_t CVD_ASN_DecodePDUInto(void** record, const BIN* der, int32_t type, void* memory,
                               uint32_t size) {
  const bool readable = der != nullptr && der->length >= 0 &&
                        (der->data != nullptr || der->length == 0) && record != nullptr;
  const uint32_t status =
      readable ? corvid::asn::DecodeType(*der, type, {static_cast<uint8_t*>(memory), size}, record)
               : static_cast<uint32_t>(CVD_ASN_ERR_INVALID_INPUT);
  if (status == CVD_ASN_ERR_INVALID_INPUT || status == CVD_ASN_ERR_MALLOC ||
      status == CVD_ASN_ERR_UNKNOWN_TYPE) {
    corvid::asn::FailurePath().Publish(status, nullptr);  // nowhere in the DER
  }
  return status;
}

void CVD_ASN_FreePDU(void* record, int32_t /*type*/) { CVD_free(record); }
