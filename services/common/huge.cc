// Big numbers: INTEGER contents (X.690 section 8.3) as a 32-bit number and as hexadecimal text.
#include "corvid/common.h"
#include "corvid/hex_digits.hpp"

namespace corvid {

static bool HasOctets(const Huge* huge) {
  return huge != nullptr && huge->data != nullptr && huge->length > 0;
}

static bool IsNegative(const Huge& huge) { return (huge.data[0] & 0x80) != 0; }

}  // namespace corvid

uint32_t CVD_HugeToNumEx(const Huge* huge, uint32_t* number) {
  if (!corvid::HasOctets(huge) || number == nullptr) return CVD_ERR_INVALID_INPUT;
  uint32_t value = corvid::IsNegative(*huge) ? UINT32_MAX : 0;
  for (uint16_t i = 0; i < huge->length; ++i) value = value << 8 | huge->data[i];
  *number = value;
  return 0;
}

uint32_t CVD_HugeToHexEx(const Huge* huge, char** text) {
  if (!corvid::HasOctets(huge) || text == nullptr) return CVD_ERR_INVALID_INPUT;
  const uint8_t* octets = huge->data;
  size_t count = huge->length;
  for (; count > 1 && *octets == 0; --count) ++octets;
  auto* digits = static_cast<char*>(CVD_malloc(2 * count + 1));
  if (digits == nullptr) return CVD_ERR_MALLOC;
  corvid::PutHex(octets, count, digits);
  digits[2 * count] = '\0';
  *text = digits;
  return 0;
}

uint32_t CVD_NumToHugeEx(uint32_t number, Huge* huge) {
  if (huge == nullptr) return CVD_ERR_INVALID_INPUT;
  uint16_t length = 1;  // one octet more where the top bit would say "negative"
  while (length < 5 && number >> (8 * length - 1) != 0) ++length;
  auto* octets = static_cast<uint8_t*>(CVD_malloc(length));
  if (octets == nullptr) return CVD_ERR_MALLOC;
  uint64_t rest = number;
  for (uint16_t i = length; i > 0; rest >>= 8) octets[--i] = static_cast<uint8_t>(rest);
  *huge = {length, octets};
  return 0;
}
