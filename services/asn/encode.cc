// The encoder: the same rows, run once to measure and check, and once to write into a block of
// exactly that size. Sizes of nested elements are measured again where their header is written; how
// often depends on the depth of the schema only.
#include <algorithm>
#include <cstring>
#include <utility>

#include "corvid/asn.h"
#include "corvid/common.h"
#include "services/asn/der.h"
#include "services/asn/tables.h"

namespace corvid::asn {
namespace {

// The state of one encoding: the first failure, and whether the SETs of the name being written keep
// their order.
struct Encoder {
  uint32_t status = 0;
  bool keep_order = true;

  size_t Fail(uint32_t code) {
    if (status == 0) status = code;
    return 0;
  }
};

// Every Put function returns the octets that it needs, and writes them when `out` is not null.

size_t PutHeader(uint8_t tag, size_t length, uint8_t* out) {
  size_t octets = 0;
  if (length >= 0x80) {
    while (octets < sizeof length && length >> (8 * octets) != 0) ++octets;
  }
  if (out != nullptr) {
    out[0] = tag;
    out[1] = static_cast<uint8_t>(octets == 0 ? length : 0x80 | octets);
    for (size_t i = 0; i < octets; ++i) {
      out[2 + i] = static_cast<uint8_t>(length >> (8 * (octets - 1 - i)));
    }
  }
  return 2 + octets;
}

size_t PutOctets(const uint8_t* octets, size_t length, uint8_t* out) {
  if (out != nullptr && length != 0) std::memcpy(out, octets, length);
  return length;
}

template <typename T>
T Load(const uint8_t* member) {
  T value;
  std::memcpy(&value, member, sizeof value);
  return value;
}

uint8_t* Behind(uint8_t* out, size_t size) { return out == nullptr ? nullptr : out + size; }

template <const Schema* kSchema>
using Indices = std::make_index_sequence<kSchema->rows.size()>;

template <const Schema* kSchema, size_t kIndex>
size_t PutRow(Encoder& encoder, const uint8_t* record, uint8_t* out);

// ---- primitive contents --------------------------------------------------------------------

size_t PutChecked(Encoder& encoder, uint32_t status, const uint8_t* octets, size_t length,
                  uint8_t* out) {
  if (status != 0) return encoder.Fail(status);
  return PutOctets(octets, length, out);
}

size_t PutInteger(int32_t number, uint8_t* out) {
  size_t length = 4;
  while (length > 1 && number >> (8 * length - 9) == (number < 0 ? -1 : 0)) --length;
  for (size_t i = 0; out != nullptr && i < length; ++i) {
    out[i] = static_cast<uint8_t>(number >> (8 * (length - 1 - i)));
  }
  return length;
}

size_t PutBits(Encoder& encoder, const uint8_t* data, uint32_t bits, uint8_t* out) {
  const size_t octets = (static_cast<size_t>(bits) + 7) / 8;
  if (octets != 0 && data == nullptr) return encoder.Fail(CVD_ASN_ERR_INVALID_INPUT);
  if (out != nullptr) {
    const auto unused = static_cast<uint8_t>(octets * 8 - bits);
    out[0] = unused;
    PutOctets(data, octets, out + 1);
    out[octets] &= static_cast<uint8_t>(0xFF << (octets == 0 ? 0 : unused));
  }
  return 1 + octets;
}

// Named bits without a whole string behind them are written without trailing zero bits (X.690
// section 11.2.2).
size_t PutNamedBits(Encoder& encoder, const uint8_t* member, const RowOptions& options,
                    uint8_t* out) {
  const auto* data = Load<const uint8_t*>(member + offsetof(CVD_KeyUsage, data));
  if (data != nullptr) {
    return PutBits(encoder, data, Load<uint32_t>(member + offsetof(CVD_KeyUsage, bits)), out);
  }
  uint8_t octets[2] = {member[0], options.shown == 2 ? member[1] : uint8_t{0}};
  if (options.word) {
    const auto word = Load<uint16_t>(member);
    octets[0] = static_cast<uint8_t>(word >> 8);
    octets[1] = static_cast<uint8_t>(word);
  }
  uint32_t bits = 16;
  while (bits > 0 && (octets[(bits - 1) / 8] & 0x80 >> (bits - 1) % 8) == 0) --bits;
  return PutBits(encoder, octets, bits, out);
}

size_t PutText(Encoder& encoder, const Row& row, const char* text, size_t length, uint8_t* out) {
  const auto* octets = reinterpret_cast<const uint8_t*>(text);
  size_t characters = length;
  if (row.options.characters == Characters::kUtf8 && !CountUtf8(octets, length, &characters)) {
    return encoder.Fail(CVD_ASN_ERR_TEXT);
  }
  if (!AreOf(row.options.characters, octets, length) || std::memchr(octets, 0, length) != nullptr) {
    return encoder.Fail(CVD_ASN_ERR_TEXT);
  }
  if (row.kind == Kind::kInlineText && (length == row.size || characters > row.options.bound ||
                                        (row.options.exact && characters != row.options.bound))) {
    return encoder.Fail(CVD_ASN_ERR_TEXT_LENGTH);
  }
  return PutOctets(octets, length, out);
}

size_t PutTime(Encoder& encoder, const CVD_Time& time, uint8_t* out) {
  uint8_t octets[15];
  const size_t length = WriteTime(time, octets);
  return length == 0 ? encoder.Fail(CVD_ASN_ERR_TIME) : PutOctets(octets, length, out);
}

size_t PutBin(Encoder& encoder, const BIN& bin, uint8_t* out) {
  if (bin.length < 0 || (bin.data == nullptr && bin.length > 0)) {
    return encoder.Fail(CVD_ASN_ERR_INVALID_INPUT);
  }
  return PutOctets(bin.data, static_cast<size_t>(bin.length), out);
}

// An ANY is one well-formed element, of the row's tag if it has one.
size_t PutAny(Encoder& encoder, const Row& row, const BIN& bin, uint8_t* out) {
  if (bin.length <= 0 || bin.data == nullptr) return encoder.Fail(CVD_ASN_ERR_INVALID_INPUT);
  Cursor in{bin.data, bin.data + bin.length};
  Element element;
  if (const uint32_t status = ReadElement(&in, &element); status != 0) return encoder.Fail(status);
  if (!in.empty()) return encoder.Fail(CVD_ASN_ERR_TRAILING);
  if (row.tag != kNoTag && row.tag != *bin.data) return encoder.Fail(CVD_ASN_ERR_TAG);
  return PutOctets(bin.data, static_cast<size_t>(bin.length), out);
}

// The contents of a primitive row.
template <const Schema* kSchema, size_t kIndex>
size_t PutPrimitive(Encoder& encoder, const uint8_t* member, uint8_t* out) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if constexpr (row.kind == Kind::kBoolean) {
    const uint8_t octet = *member != 0 ? 0xFF : 0x00;
    return PutOctets(&octet, 1, out);
  } else if constexpr (row.kind == Kind::kInteger) {
    return PutInteger(Load<int32_t>(member), out);
  } else if constexpr (row.kind == Kind::kHuge) {
    const auto huge = Load<Huge>(member);
    if (huge.data == nullptr) return encoder.Fail(CVD_ASN_ERR_INTEGER);
    return PutChecked(encoder, CheckInteger(huge.data, huge.length), huge.data, huge.length, out);
  } else if constexpr (row.kind == Kind::kOid) {
    const auto oid = Load<CVD_OID>(member);
    if (oid.data == nullptr) return encoder.Fail(CVD_ASN_ERR_OID);
    return PutChecked(encoder, CheckOid(oid.data, oid.length), oid.data, oid.length, out);
  } else if constexpr (row.kind == Kind::kBitString) {
    const auto string = Load<CVD_BitString>(member);
    return PutBits(encoder, string.data, string.bits, out);
  } else if constexpr (row.kind == Kind::kNamedBits) {
    return PutNamedBits(encoder, member, row.options, out);
  } else if constexpr (row.kind == Kind::kOctets) {
    return PutBin(encoder, Load<BIN>(member), out);
  } else if constexpr (row.kind == Kind::kText) {
    const auto* text = Load<const char*>(member);
    if (text == nullptr) return encoder.Fail(CVD_ASN_ERR_INVALID_INPUT);
    return PutText(encoder, row, text, std::strlen(text), out);
  } else if constexpr (row.kind == Kind::kCountedText) {
    const auto text = Load<CVD_IA5Attribute>(member);
    if (text.choice != 1) return encoder.Fail(CVD_ASN_ERR_ALTERNATIVE);
    if (text.text == nullptr) return encoder.Fail(CVD_ASN_ERR_INVALID_INPUT);
    return PutText(encoder, row, text.text, text.length, out);
  } else if constexpr (row.kind == Kind::kInlineText) {
    const auto* text = reinterpret_cast<const char*>(member);
    return PutText(encoder, row, text, strnlen(text, row.size), out);
  } else {
    static_assert(row.kind == Kind::kTime);
    return PutTime(encoder, Load<CVD_Time>(member), out);
  }
}

// ---- constructed contents ------------------------------------------------------------------

template <const Schema* kSchema, size_t... kIndex>
size_t PutFields(Encoder& encoder, const uint8_t* record, uint8_t* out,
                 std::index_sequence<kIndex...>) {
  size_t size = 0;
  ((size += PutRow<kSchema, kIndex>(encoder, record, Behind(out, size))), ...);
  return size;
}

struct Span {
  const uint8_t* begin;
  size_t size;
};

// The order of a SET OF's elements in DER (X.690 section 11.6). No encoding is the beginning of
// another, so that the padding the section speaks of never decides.
bool Before(const Span& a, const Span& b) {
  const int order = std::memcmp(a.begin, b.begin, std::min(a.size, b.size));
  return order != 0 ? order < 0 : a.size < b.size;
}

// Sorts the elements that were written to [out, out + size).
void SortSet(Encoder& encoder, uint8_t* out, size_t size, size_t count) {
  auto* block = static_cast<uint8_t*>(CVD_malloc(count * sizeof(Span) + size));
  if (block == nullptr) {
    encoder.Fail(CVD_ASN_ERR_MALLOC);
    return;
  }
  auto* spans = reinterpret_cast<Span*>(block);
  uint8_t* copy = block + count * sizeof(Span);
  std::memcpy(copy, out, size);
  Cursor in{copy, copy + size};
  for (size_t i = 0; i < count; ++i) {
    Element element;
    if (ReadElement(&in, &element) != 0) break;  // what was just written is well-formed
    spans[i] = {element.begin, static_cast<size_t>(element.end - element.begin)};
  }
  std::sort(spans, spans + count, Before);
  for (size_t i = 0; i < count; ++i) out += PutOctets(spans[i].begin, spans[i].size, out);
  CVD_free(block);
}

template <const Schema* kSchema, size_t kIndex>
size_t PutElements(Encoder& encoder, const uint8_t* member, uint8_t* out) {
  constexpr const Row& list = kSchema->rows[kIndex];
  constexpr const Schema* kOf = list.options.of;
  size_t size = 0;
  size_t count = 0;
  const auto* node = Load<const uint8_t*>(member);
  for (; node != nullptr; node = Load<const uint8_t*>(node), ++count) {
    size += PutRow<kOf, 0>(encoder, node, Behind(out, size));
  }
  if (kOf->some && count == 0) return encoder.Fail(CVD_ASN_ERR_EMPTY);
  if (kOf->set && out != nullptr && count > 1 && !encoder.keep_order && encoder.status == 0) {
    SortSet(encoder, out, size, count);
  }
  return size;
}

template <const Schema* kSchema, size_t... kIndex>
size_t PutAlternative(Encoder& encoder, const uint8_t* record, uint8_t* out,
                      std::index_sequence<kIndex...>) {
  const auto choice = Load<uint16_t>(record);
  if constexpr (kSchema->ordered) encoder.keep_order = Load<uint16_t>(record + 2) != 0;
  size_t size = 0;
  const bool known = ((choice == kSchema->rows[kIndex].options.number &&
                       (size = PutRow<kSchema, kIndex>(encoder, record, out), true)) ||
                      ...);
  return known ? size : encoder.Fail(CVD_ASN_ERR_ALTERNATIVE);
}

// ---- rows ----------------------------------------------------------------------------------

template <const Schema* kSchema, size_t kIndex>
size_t PutContents(Encoder& encoder, const uint8_t* member, uint8_t* out) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if constexpr (row.kind == Kind::kRecord) {
    constexpr const Schema* kOf = row.options.of;
    return PutFields<kOf>(encoder, member, out, Indices<kOf>{});
  } else if constexpr (row.kind == Kind::kList) {
    return PutElements<kSchema, kIndex>(encoder, member, out);
  } else {
    return PutPrimitive<kSchema, kIndex>(encoder, member, out);
  }
}

// The row's element, without an explicit tag around it.
template <const Schema* kSchema, size_t kIndex>
size_t PutInner(Encoder& encoder, const uint8_t* member, uint8_t* out) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if constexpr (row.kind == Kind::kChoice) {
    constexpr const Schema* kOf = row.options.of;
    return PutAlternative<kOf>(encoder, member, out, Indices<kOf>{});
  } else if constexpr (row.kind == Kind::kAny) {
    return PutAny(encoder, row, Load<BIN>(member), out);
  } else {
    uint8_t tag = row.tag;
    if constexpr (row.kind == Kind::kTime) {
      tag = Load<CVD_Time>(member).kind == CVD_TIME_UTC ? kUtcTimeTag : kGeneralizedTimeTag;
    }
    const size_t content = PutContents<kSchema, kIndex>(encoder, member, nullptr);
    const size_t header = PutHeader(tag, content, out);
    if (out != nullptr) PutContents<kSchema, kIndex>(encoder, member, out + header);
    return header + content;
  }
}

template <const Schema* kSchema, size_t kIndex>
size_t PutRow(Encoder& encoder, const uint8_t* record, uint8_t* out) {
  constexpr const Row& row = kSchema->rows[kIndex];
  if (row.options.bit != 0 && (record[kSchema->present] & row.options.bit) == 0) return 0;
  const uint8_t* member = record + row.offset;
  if constexpr (row.options.explicit_tag == 0) {
    return PutInner<kSchema, kIndex>(encoder, member, out);
  } else {
    const size_t inner = PutInner<kSchema, kIndex>(encoder, member, nullptr);
    const size_t header = PutHeader(row.options.explicit_tag, inner, out);
    if (out != nullptr) PutInner<kSchema, kIndex>(encoder, member, out + header);
    return header + inner;
  }
}

// ---- PDUs ----------------------------------------------------------------------------------

template <int32_t kType>
uint32_t EncodeAs(const uint8_t* record, BIN* der) {
  constexpr const Schema* kRoot = &Pdu<kType>::kRoot;
  Encoder encoder;
  const size_t size = PutRow<kRoot, 0>(encoder, record, nullptr);
  if (encoder.status != 0) return encoder.status;
  if (size > INT32_MAX) return CVD_ASN_ERR_RANGE;
  auto* out = static_cast<uint8_t*>(CVD_malloc(size));
  if (out == nullptr) return CVD_ASN_ERR_MALLOC;
  PutRow<kRoot, 0>(encoder, record, out);
  if (encoder.status != 0) {
    CVD_free(out);
    return encoder.status;
  }
  *der = {static_cast<int32_t>(size), out};
  return 0;
}

uint32_t EncodeType(const uint8_t* record, int32_t type, BIN* der) {
  switch (type) {
#define CORVID_ENCODE(pdu, ...) \
  case pdu:                     \
    return EncodeAs<pdu>(record, der);
    CORVID_PDUS(CORVID_ENCODE)
#undef CORVID_ENCODE
    default:
      return CVD_ASN_ERR_UNKNOWN_TYPE;
  }
}

}  // namespace
}  // namespace corvid::asn

uint32_t CVD_ASN_EncodePDU(BIN* der, const void* record, int32_t type) {
  if (der == nullptr || record == nullptr) return CVD_ASN_ERR_INVALID_INPUT;
  return corvid::asn::EncodeType(static_cast<const uint8_t*>(record), type, der);
}
