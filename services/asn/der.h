// Checking DER (X.690): the contents of primitive values, and the reader of headers under this
// library's codes.
#ifndef CORVID_ASN_DER_H_
#define CORVID_ASN_DER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "corvid/asn.h"
#include "corvid/der_reader.hpp"

namespace corvid::asn {

using Cursor = DerCursor;
using Element = DerElement;

// Takes the next element off `in`; the faults of the reader under this library's codes.
[[nodiscard, gnu::always_inline]] inline uint32_t ReadElement(Cursor* in, Element* out) {
  constexpr uint32_t kCodes[] = {0, CVD_ASN_ERR_TRUNCATED, CVD_ASN_ERR_LENGTH, CVD_ASN_ERR_TAG};
  const DerFault fault = ReadDerElement(in, out);
  if (Usual(fault == DerFault::kNone)) return 0;
  return kCodes[static_cast<size_t>(fault)];
}

// A record's lengths are narrower than an element's.
inline constexpr size_t kShortLimit = 0xFFFF;              // Huge, CVD_OID, CVD_IA5Attribute
inline constexpr size_t kBitStringLimit = 0xFFFFFFFF / 8;  // octets

// INTEGER contents: at least one octet, and the first nine bits not all alike (section 8.3.2).
[[nodiscard]] inline uint32_t CheckInteger(const uint8_t* octets, size_t length) {
  if (Rare(length == 0)) return CVD_ASN_ERR_INTEGER;
  if (Rare(length > 1 && (octets[0] == 0x00 || octets[0] == 0xFF) &&
           (octets[0] & 0x80) == (octets[1] & 0x80))) {
    return CVD_ASN_ERR_INTEGER;
  }
  return length > kShortLimit ? static_cast<uint32_t>(CVD_ASN_ERR_RANGE) : 0;
}

// True when an octet of the word is this one.
template <uint8_t kOctet>
bool WordHolds(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101U;
  const uint64_t zero = word ^ kOnes * kOctet;
  return ((zero - kOnes) & ~zero & 0x80 * kOnes) != 0;
}

// True when one of the octets, at least one, is this one. The words may overlap.
template <uint8_t kOctet>
[[gnu::always_inline]] inline bool Holds(const uint8_t* octets, size_t length) {
  if (length < 4) {
    return octets[0] == kOctet || octets[length / 2] == kOctet || octets[length - 1] == kOctet;
  }
  uint64_t word = 0;
  if (length < 8) {
    uint32_t head = 0;
    uint32_t tail = 0;
    std::memcpy(&head, octets, 4);
    std::memcpy(&tail, octets + length - 4, 4);
    return WordHolds<kOctet>(head | uint64_t{tail} << 32);
  }
  bool holds = false;
  for (size_t i = 0; i + 8 < length; i += 8) {
    std::memcpy(&word, octets + i, 8);
    holds |= WordHolds<kOctet>(word);
  }
  std::memcpy(&word, octets + length - 8, 8);
  return holds || WordHolds<kOctet>(word);
}

// True when a subidentifier begins with 80, that is, is longer than it need be (section 8.19.2).
bool HasPaddedSubidentifier(const uint8_t* octets, size_t length);

// OBJECT IDENTIFIER contents. Only identifiers that hold an octet 80 at all are walked octet by
// octet: looking at each octet of each identifier would be a third of a certificate's decoding.
[[nodiscard, gnu::always_inline]] inline uint32_t CheckOid(const uint8_t* octets, size_t length) {
  if (Rare(length == 0 || (octets[length - 1] & 0x80) != 0)) return CVD_ASN_ERR_OID;
  if (Rare(length > kShortLimit)) return CVD_ASN_ERR_RANGE;
  if (Usual(!Holds<0x80>(octets, length))) return 0;
  return HasPaddedSubidentifier(octets, length) ? static_cast<uint32_t>(CVD_ASN_ERR_OID) : 0;
}

// BIT STRING contents: unused bits 0 to 7, none without octets, and all of them zero (sections
// 8.6.2 and 11.2.1).
[[nodiscard]] inline uint32_t CheckBitString(const uint8_t* octets, size_t length) {
  if (Rare(length == 0)) return CVD_ASN_ERR_BIT_STRING;
  const uint32_t unused = octets[0];
  if (Rare(unused > 7 || (length == 1 && unused != 0))) return CVD_ASN_ERR_BIT_STRING;
  if (Rare((octets[length - 1] & ((1U << unused) - 1)) != 0)) return CVD_ASN_ERR_BIT_STRING;
  return length > kBitStringLimit ? static_cast<uint32_t>(CVD_ASN_ERR_RANGE) : 0;
}

// Counts the characters of UTF-8 (RFC 3629: no surrogates, no overlong forms); false when invalid.
[[nodiscard]] bool CountUtf8(const uint8_t* octets, size_t length, size_t* characters);

// True when all octets are of PrintableString (X.680 section 41.4), or of VisibleString.
[[nodiscard]] bool IsPrintable(const uint8_t* octets, size_t length);
[[nodiscard]] bool IsVisible(const uint8_t* octets, size_t length);

// The fields of a UTCTime or GeneralizedTime in DER form (sections 11.7 and 11.8: seconds, Z, no
// fraction) of a date and time that exist.
[[nodiscard]] uint32_t ReadTime(uint16_t kind, const uint8_t* octets, size_t length,
                                CVD_TimeFields* fields);

// Writes the contents of a time, 13 or 15 octets; 0 when its fields are no date and time.
size_t WriteTime(const CVD_Time& time, uint8_t out[15]);

}  // namespace corvid::asn

#endif  // CORVID_ASN_DER_H_
