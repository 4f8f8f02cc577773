// Base64 (RFC 4648 section 4): one line out; strict in, but for white space.
#include <array>
#include <cstdint>
#include <string_view>

#include "corvid/codec.h"
#include "corvid/common.h"

namespace corvid {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What a character stands for: its six bits, or one of these, which all have bit 7.
enum : uint8_t { kSpace = 0x80, kOther = 0x81 };

constexpr std::array<uint8_t, 256> kMeaning = [] {
  std::array<uint8_t, 256> meaning{};
  meaning.fill(kOther);
  for (uint8_t value = 0; value < 64; ++value) {
    meaning[static_cast<uint8_t>(kAlphabet[value])] = value;
  }
  for (const char space : {' ', '\t', '\r', '\n'}) meaning[static_cast<uint8_t>(space)] = kSpace;
  return meaning;
}();

uint8_t MeaningOf(char c) { return kMeaning[static_cast<uint8_t>(c)]; }

// Writes the four characters of up to three octets, without padding.
void PutGroup(uint32_t bits, char* out) {
  out[0] = kAlphabet[bits >> 18];
  out[1] = kAlphabet[bits >> 12 & 0x3F];
  out[2] = kAlphabet[bits >> 6 & 0x3F];
  out[3] = kAlphabet[bits & 0x3F];
}

void Encode(const uint8_t* in, size_t size, char* out) {
  for (; size >= 3; size -= 3, in += 3, out += 4) {
    PutGroup(static_cast<uint32_t>(in[0] << 16 | in[1] << 8 | in[2]), out);
  }
  if (size > 0) {
    PutGroup(static_cast<uint32_t>(in[0] << 16 | (size == 2 ? in[1] << 8 : 0)), out);
    if (size == 1) out[2] = '=';
    out[3] = '=';
    out += 4;
  }
  *out = '\0';
}

void PutOctets(uint32_t bits, uint8_t* out) {
  out[0] = static_cast<uint8_t>(bits >> 16);
  out[1] = static_cast<uint8_t>(bits >> 8);
  out[2] = static_cast<uint8_t>(bits);
}

// True when `text`, which follows `held` characters of a group and begins with "=", is the group's
// padding and white space.
bool IsPadding(std::string_view text, int held) {
  int padding = 0;
  for (const char c : text) {
    if (c == '=') {
      ++padding;
    } else if (MeaningOf(c) != kSpace) {
      return false;
    }
  }
  return held >= 2 && padding == 4 - held;
}

// Writes the octets of a group that ends after two or three characters; their unused bits are zero.
bool PutLast(uint32_t bits, int held, uint8_t* out) {
  const int unused = held == 2 ? 4 : 2;
  if ((bits & ((1U << unused) - 1)) != 0) return false;
  bits >>= unused;
  if (held == 3) *out++ = static_cast<uint8_t>(bits >> 8);
  *out = static_cast<uint8_t>(bits);
  return true;
}

// Decodes the groups at the front of the text that have no white space and no padding inside.
uint8_t* TakeGroups(std::string_view* text, uint8_t* out) {
  for (; text->size() >= 4; text->remove_prefix(4), out += 3) {
    const uint8_t a = MeaningOf((*text)[0]);
    const uint8_t b = MeaningOf((*text)[1]);
    const uint8_t c = MeaningOf((*text)[2]);
    const uint8_t d = MeaningOf((*text)[3]);
    if (((a | b | c | d) & 0x80) != 0) break;
    PutOctets(static_cast<uint32_t>(a << 18 | b << 12 | c << 6 | d), out);
  }
  return out;
}

// Decodes into `out`, which holds three octets for each four characters begun. False for text that
// is not base64.
bool Decode(std::string_view text, uint8_t* out, size_t* size) {
  const uint8_t* const begin = out;
  uint32_t bits = 0;
  int held = 0;  // characters of the group that is not whole yet
  for (;;) {
    if (held == 0) out = TakeGroups(&text, out);
    if (text.empty()) break;
    const uint8_t meaning = MeaningOf(text.front());
    if (meaning == kOther) {
      if (!IsPadding(text, held) || !PutLast(bits, held, out)) return false;
      out += held - 1;
      held = 0;
      break;
    }
    text.remove_prefix(1);
    if (meaning == kSpace) continue;
    bits = bits << 6 | meaning;
    if (++held < 4) continue;
    PutOctets(bits, out);
    out += 3;
    bits = 0;
    held = 0;
  }
  *size = static_cast<size_t>(out - begin);
  return held == 0;
}

uint32_t FromBase64(std::string_view text, BIN* data) {
  BIN octets{0, nullptr};
  if (text.size() / 4 >= INT32_MAX / 3) return CVD_CODEC_ERR_NO_ROOM;
  if (!text.empty()) {
    octets.data = static_cast<uint8_t*>(CVD_malloc(text.size() / 4 * 3 + 3));
    if (octets.data == nullptr) return CVD_CODEC_ERR_MALLOC;
  }
  size_t size = 0;
  if (!Decode(text, octets.data, &size)) {
    CVD_BIN_Reset(&octets);
    return CVD_CODEC_ERR_BASE64;
  }
  octets.length = static_cast<int32_t>(size);
  if (size == 0) CVD_BIN_Reset(&octets);  // nothing but white space
  *data = octets;
  return 0;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_BinToBase64(const BIN* data, char** text) {
  if (data == nullptr || text == nullptr || data->length < 0 ||
      (data->data == nullptr && data->length != 0)) {
    return CVD_CODEC_ERR_INVALID_INPUT;
  }
  const auto size = static_cast<size_t>(data->length);
  auto* out = static_cast<char*>(CVD_malloc((size + 2) / 3 * 4 + 1));
  if (out == nullptr) return CVD_CODEC_ERR_MALLOC;
  corvid::Encode(data->data, size, out);
  *text = out;
  return 0;
}

uint32_t CVD_Base64ToBin(const char* text, BIN* data) {
  if (text == nullptr || data == nullptr) return CVD_CODEC_ERR_INVALID_INPUT;
  return corvid::FromBase64(text, data);
}
