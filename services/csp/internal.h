// What the files of the cryptographic service share: a view of a caller's octets, digests without
// allocation, and the strict reading of the few DER elements that keys, parameters and signatures
// are made of.
#ifndef CORVID_SERVICES_CSP_INTERNAL_H_
#define CORVID_SERVICES_CSP_INTERNAL_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "corvid/types.h"

namespace corvid {

using Bytes = std::span<const uint8_t>;

// True for octets that a caller may hand over: counted, and there when the count is positive.
inline bool IsReadable(const BIN* bin) {
  return bin != nullptr && bin->length >= 0 && (bin->length == 0 || bin->data != nullptr);
}

inline Bytes View(const BIN& bin) { return {bin.data, static_cast<size_t>(bin.length)}; }

struct DigestValue {
  uint8_t octets[64];
  size_t length;

  Bytes view() const { return {octets, length}; }
};

// The digest of the parts, one behind the other, by the algorithm CVD_HASH_*.
[[nodiscard]] uint32_t Digest(std::initializer_list<Bytes> parts, int32_t hashID,
                              DigestValue* digest);

enum : uint8_t {
  kTagInteger = 0x02,
  kTagBitString = 0x03,
  kTagOctetString = 0x04,
  kTagNull = 0x05,
  kTagObject = 0x06,
  kTagSequence = 0x30
};

// Takes the element at the front of `*in`, which must have the identifier octet `tag`, and gives
// its content octets. False for another tag, a length that is not the shortest form of one up to
// four octets (X.690 section 10.1), and content that passes the end of `*in`.
[[nodiscard]] bool TakeElement(Bytes* in, uint8_t tag, Bytes* content);

// Takes an INTEGER in its shortest form (X.690 section 8.3.2) and gives its content octets.
[[nodiscard]] bool TakeInteger(Bytes* in, Bytes* content);

// Takes a positive INTEGER and gives its octets without the leading zero octet.
[[nodiscard]] bool TakePositive(Bytes* in, Bytes* number);

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }  (RFC 8017 A.1.1)
[[nodiscard]] bool ReadRsaKey(Bytes key, Bytes* modulus, Bytes* exponent);

// True for a key within the bounds of use; the numbers have no leading zero octets.
[[nodiscard]] bool IsUsableRsaKey(Bytes modulus, Bytes exponent);

// The length in bits of a positive number without leading zero octets.
inline size_t BitLength(Bytes number) {
  return 8 * (number.size() - 1) + static_cast<size_t>(std::bit_width(number[0]));
}

}  // namespace corvid

#endif  // CORVID_SERVICES_CSP_INTERNAL_H_
