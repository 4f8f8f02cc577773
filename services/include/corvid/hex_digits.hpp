// Octets as lower-case hexadecimal digits. For our own libraries; not installed.
#ifndef CORVID_HEX_DIGITS_HPP_
#define CORVID_HEX_DIGITS_HPP_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace corvid {

inline constexpr uint8_t kHexLetter = 'a' - '0' - 10;  // what a digit over 9 has more than '0'

constexpr char HexDigit(uint8_t value) {  // 0 to 15
  return static_cast<char>(value + '0' + (value > 9 ? kHexLetter : 0));
}

// Sixteen octets at a time: a whole record's key and signature are half a kilobyte, and octet by
// octet they would cost a tenth of it.
using HexVector = uint8_t __attribute__((vector_size(16)));

inline HexVector HexDigits(HexVector values) {
  return values + static_cast<uint8_t>('0') +
         (reinterpret_cast<HexVector>(values > 9) & kHexLetter);
}

inline void PutSixteenHex(const uint8_t* octets, char* out) {
  HexVector in;
  std::memcpy(&in, octets, sizeof in);
  const HexVector high = HexDigits(in >> 4);
  const HexVector low = HexDigits(in & 0x0F);
  const HexVector first =
      __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
  const HexVector second = __builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28,
                                                   13, 29, 14, 30, 15, 31);
  std::memcpy(out, &first, sizeof first);
  std::memcpy(out + sizeof first, &second, sizeof second);
}

// Writes two digits an octet; the caller terminates the text.
inline void PutHex(const uint8_t* octets, size_t count, char* out) {
  size_t i = 0;
  for (; count - i >= sizeof(HexVector); i += sizeof(HexVector)) {
    PutSixteenHex(octets + i, out + 2 * i);
  }
  if (i != 0 && i < count) {  // the last sixteen, some of them again
    PutSixteenHex(octets + count - sizeof(HexVector), out + 2 * (count - sizeof(HexVector)));
    return;
  }
  for (; i < count; ++i) {
    out[2 * i] = HexDigit(octets[i] >> 4);
    out[2 * i + 1] = HexDigit(octets[i] & 0x0F);
  }
}

}  // namespace corvid

#endif  // CORVID_HEX_DIGITS_HPP_
