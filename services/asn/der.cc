// The less frequent cases of reading DER.
#include "services/asn/der.h"

namespace corvid::asn {

bool HasPaddedSubidentifier(const uint8_t* octets, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (octets[i] == 0x80 && (i == 0 || (octets[i - 1] & 0x80) == 0)) return true;
  }
  return false;
}

// The octets of the character at `at`, or 0 when there is none that is valid.
static size_t Utf8Character(const uint8_t* at, size_t available) {
  const uint8_t lead = at[0];
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (available < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((at[i] & 0xC0) != 0x80) return 0;
  }
  const uint8_t second = at[1];
  if (lead == 0xE0 && second < 0xA0) return 0;  // overlong
  if (lead == 0xED && second > 0x9F) return 0;  // surrogates
  if (lead == 0xF0 && second < 0x90) return 0;  // overlong
  if (lead == 0xF4 && second > 0x8F) return 0;  // over U+10FFFF
  return length;
}

bool CountUtf8(const uint8_t* octets, size_t length, size_t* characters) {
  *characters = 0;
  for (size_t i = 0; i < length; ++*characters) {
    const size_t size = Utf8Character(octets + i, length - i);
    if (size == 0) return false;
    i += size;
  }
  return true;
}

bool IsPrintable(const uint8_t* octets, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    const uint8_t c = octets[i];
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    const bool digit = c >= '0' && c <= '9';
    if (!letter && !digit && (c == 0 || std::strchr(" '()+,-./:=?", c) == nullptr)) return false;
  }
  return true;
}

bool IsVisible(const uint8_t* octets, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (octets[i] < 0x20 || octets[i] > 0x7E) return false;
  }
  return true;
}

}  // namespace corvid::asn
