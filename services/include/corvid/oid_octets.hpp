// The octets of the catalogue's object identifiers as constants, and a comparison of identifiers by
// words. For our own libraries; not installed.
//
// Going through CVD_ASN_GetOID and CVD_ASN_CmpOID for each row of a table costs a third of a
// record; two words a row cost nothing. Every identifier of the catalogue fits two words.
#ifndef CORVID_OID_OCTETS_HPP_
#define CORVID_OID_OCTETS_HPP_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "corvid/oids.h"
#include "corvid/types.h"

namespace corvid {

void MalformedObjectIdentifier();  // never defined: reaching it stops the compiler

// The content octets of an identifier written dotted, encoded by the compiler (X.690 section 8.19).
template <size_t kSize>
struct OidOctets {
  uint16_t length = 0;
  uint8_t octets[kSize] = {};  // the content octets never outnumber the characters

  consteval OidOctets(const char (&dotted)[kSize]) {  // NOLINT(google-explicit-constructor)
    uint64_t first = 0;
    size_t arc = 0;
    size_t at = 0;
    while (at + 1 < kSize) {
      uint64_t number = 0;
      size_t digits = 0;
      for (; at + 1 < kSize && dotted[at] != '.'; ++at, ++digits) {
        if (dotted[at] < '0' || dotted[at] > '9' || digits == 18) MalformedObjectIdentifier();
        number = number * 10 + static_cast<uint64_t>(dotted[at] - '0');
      }
      if (digits == 0 || (arc == 0 && number > 2)) MalformedObjectIdentifier();
      if (arc == 1) {
        if (first < 2 && number > 39) MalformedObjectIdentifier();
        number += 40 * first;
      }
      if (arc == 0) {
        first = number;
      } else {
        Append(number);
      }
      ++arc;
      ++at;
    }
    if (arc < 2 || dotted[kSize - 2] == '.') MalformedObjectIdentifier();
  }

  constexpr void Append(uint64_t number) {  // base 128, high bit set on all but the last octet
    int shift = 63;
    while (shift > 0 && number >> shift == 0) shift -= 7;
    for (; shift > 0; shift -= 7) octets[length++] = static_cast<uint8_t>(0x80 | number >> shift);
    octets[length++] = static_cast<uint8_t>(number & 0x7F);
  }
};

// An identifier of at most 16 octets as two words, or a value that equals no identifier's.
struct OidWords {
  uint64_t low = 0;
  uint64_t high = 0;
  uint32_t length = 0;

  friend constexpr bool operator==(const OidWords&, const OidWords&) = default;
};

constexpr OidWords WordsOf(const uint8_t* octets, uint32_t length) {
  OidWords words{0, 0, length};
  for (uint32_t i = 0; i < length; ++i) {
    (i < 8 ? words.low : words.high) |= static_cast<uint64_t>(octets[i]) << (8 * (i % 8));
  }
  return words;
}

// The words of an identifier met in a certificate, loaded without reading past its octets. The
// order of the octets is that of WordsOf on the little-endian machines we build for.
inline OidWords WordsOf(const CVD_OID& oid) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
  if (oid.data == nullptr) return {0, 0, UINT32_MAX};  // equals no row
  OidWords words{0, 0, oid.length};
  if (oid.length >= 8) {
    if (oid.length > 16) return words;  // longer than any row; the length alone tells it apart
    uint64_t tail = 0;
    std::memcpy(&words.low, oid.data, 8);
    std::memcpy(&tail, oid.data + oid.length - 8, 8);
    const uint32_t overlap = 16U - oid.length;
    words.high = overlap == 8 ? 0 : tail >> (8 * overlap);
  } else if (oid.length >= 4) {
    uint32_t head = 0;
    uint32_t tail = 0;
    std::memcpy(&head, oid.data, 4);
    std::memcpy(&tail, oid.data + oid.length - 4, 4);
    words.low = head | static_cast<uint64_t>(tail) << (8 * (oid.length - 4U));
  } else if (oid.length > 0) {
    words.low = static_cast<uint64_t>(oid.data[0]) |
                static_cast<uint64_t>(oid.data[oid.length / 2]) << (8 * (oid.length / 2U)) |
                static_cast<uint64_t>(oid.data[oid.length - 1]) << (8 * (oid.length - 1U));
  }
  return words;
}

// The octets of every catalogue number: kOid<CVD_OID_KEY_USAGE>.octets, .length, and .words.
template <int32_t kNumber>
struct CatalogueOid;

#define CORVID_CATALOGUE_OID(number, name, dotted)                              \
  template <>                                                                   \
  struct CatalogueOid<number> {                                                 \
    static constexpr OidOctets kOctets{dotted};                                 \
    static constexpr OidWords kWords = WordsOf(kOctets.octets, kOctets.length); \
    static_assert(kOctets.length <= 16, "OidWords holds 16 octets");            \
  };
CVD_OID_CATALOGUE(CORVID_CATALOGUE_OID)
#undef CORVID_CATALOGUE_OID

// The words of a catalogue number, for rows of tables and single comparisons.
template <int32_t kNumber>
inline constexpr OidWords kOidWords = CatalogueOid<kNumber>::kWords;

// True when `oid` is the identifier of the catalogue number.
template <int32_t kNumber>
inline bool IsOid(const CVD_OID& oid) {
  return oid.length == CatalogueOid<kNumber>::kOctets.length && oid.data != nullptr &&
         std::memcmp(oid.data, CatalogueOid<kNumber>::kOctets.octets,
                     CatalogueOid<kNumber>::kOctets.length) == 0;
}

}  // namespace corvid

#endif  // CORVID_OID_OCTETS_HPP_
