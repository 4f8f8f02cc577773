// Code sets through iconv, which no plain ASCII text ever reaches: ASCII is the same in every set
// that we know. Nothing is substituted; a text that a set cannot hold is an error.
#include <iconv.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstring>
#include <span>
#include <string_view>

#include "corvid/codec.h"
#include "corvid/common.h"

namespace corvid {
namespace {

enum CodeSet : int { kCp949, kEucJp, kCp932, kUtf8, kUtf16, kCodeSets, kTargets = kUtf16 };

// glibc's names. Each is the widest set of its encoding: plain EUC-KR lacks most Hangul syllables,
// plain EUC-JP the circled digits, and SHIFT_JIS reads 5C as the yen sign.
constexpr const char* kIconvNames[kCodeSets] = {
    "CP949", "EUC-JP-MS", "CP932", "UTF-8",
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE"};

struct NameRow {
  std::string_view name;
  CodeSet set;
};
constexpr NameRow kNames[] = {
    {"ko_KR-euc", kCp949},  {"ko_KR-UTF-8", kUtf8}, {"ja_JP-EUC", kEucJp},
    {"ja_JP-SJIS", kCp932}, {"ja_JP-UTF-8", kUtf8},
};

std::atomic<CodeSet> g_local{kCp949};

bool FindCodeSet(std::string_view name, CodeSet* set) {
  for (const NameRow& row : kNames) {
    if (row.name != name) continue;
    *set = row.set;
    return true;
  }
  return false;
}

// ---- iconv -----------------------------------------------------------------------------------

// Set when the thread's descriptors are closed. What runs later (a destructor of a static object,
// or of another object of the thread) still finds it: it has no destructor.
constinit thread_local bool g_closed = false;

// A thread's own descriptors, opened on first use, so that no lock is taken.
class Converters {
 public:
  constexpr Converters() = default;
  Converters(const Converters&) = delete;
  Converters& operator=(const Converters&) = delete;
  ~Converters() {
    for (auto& row : descriptors_) {
      for (iconv_t descriptor : row) {
        if (descriptor != nullptr) iconv_close(descriptor);
      }
    }
    g_closed = true;
  }

  // Converts all of `in` into at most `room` bytes and adds their number to `*length`.
  [[nodiscard]] uint32_t Convert(CodeSet from, CodeSet to, std::string_view in, char* out,
                                 size_t room, size_t* length) {
    iconv_t& descriptor = descriptors_[from][to];
    if (descriptor == nullptr) {
      if (const uint32_t status = Open(from, to, &descriptor); status != 0) return status;
    }
    char* source = const_cast<char*>(in.data());  // iconv's signature; it does not write there
    size_t left = in.size();
    const size_t given = room;
    const size_t substituted = iconv(descriptor, &source, &left, &out, &room);
    if (substituted == 0) {
      *length += given - room;
      return 0;
    }
    const int failure = substituted == kFailed ? errno : EILSEQ;
    iconv(descriptor, nullptr, nullptr, nullptr, nullptr);  // forgets the character it is in
    if (failure == E2BIG) return CVD_CODEC_ERR_NO_ROOM;
    return failure == EINVAL ? CVD_CODEC_ERR_TRUNCATED : CVD_CODEC_ERR_UNMAPPABLE;
  }

 private:
  static constexpr size_t kFailed = static_cast<size_t>(-1);

  static uint32_t Open(CodeSet from, CodeSet to, iconv_t* descriptor) {
    const iconv_t opened = iconv_open(kIconvNames[to], kIconvNames[from]);
    if (opened != reinterpret_cast<iconv_t>(-1)) {
      *descriptor = opened;
      return 0;
    }
    return errno == ENOMEM ? CVD_CODEC_ERR_MALLOC : CVD_CODEC_ERR_CODE_SET;
  }

  iconv_t descriptors_[kCodeSets][kTargets] = {};
};

constinit thread_local Converters g_converters;

uint32_t ConvertByIconv(CodeSet from, CodeSet to, std::string_view in, char* out, size_t room,
                        size_t* length) {
  if (g_closed) return Converters().Convert(from, to, in, out, room, length);
  return g_converters.Convert(from, to, in, out, room, length);
}

// What iconv does in silence to some characters, although they are not in the target set: in the
// Japanese sets it takes the yen sign (U+00A5) and the overline (U+203E) for "\" and "~", and it
// drops the tags U+E0000 to U+E007F from every set. The text would come back as another one.
bool IsLostIn(CodeSet to, uint32_t character) {
  if (to == kUtf8) return false;
  if (character >> 7 == 0xE0000 >> 7) return true;
  return (to == kEucJp || to == kCp932) && (character == 0x00A5 || character == 0x203E);
}

// The same for a place in UTF-8 text that is valid: only the characters in question are put
// together.
bool IsLostIn(CodeSet to, std::string_view text) {
  switch (static_cast<uint8_t>(text[0])) {
    case 0xC2:
      return IsLostIn(to, 0x80U | (static_cast<uint8_t>(text[1]) & 0x3FU));
    case 0xE2:
      return text.substr(0, 3) == "\xE2\x80\xBE" && IsLostIn(to, 0x203E);
    case 0xF3:
      return (text.substr(0, 3) == "\xF3\xA0\x80" || text.substr(0, 3) == "\xF3\xA0\x81") &&
             IsLostIn(to, 0xE0000);
    default:
      return false;
  }
}

// ---- UTF-8 -----------------------------------------------------------------------------------

// The well-formed characters by their first octet (RFC 3629 section 4). The range of the second
// octet is what keeps out overlong forms, surrogates and numbers above U+10FFFF.
struct Utf8Row {
  uint8_t first;
  uint8_t last;
  uint8_t second_low;
  uint8_t second_high;
  uint8_t length;
};
constexpr Utf8Row kUtf8Rows[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}, {0x00, 0x7F, 0x00, 0x00, 1},
};

// Checks the first character of a text that is not empty.
uint32_t CheckCharacter(std::string_view text, size_t* length) {
  const auto octet = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
  const auto* row = std::find_if(std::begin(kUtf8Rows), std::end(kUtf8Rows), [&](const auto& r) {
    return r.first <= octet(0) && octet(0) <= r.last;
  });
  if (row == std::end(kUtf8Rows)) return CVD_CODEC_ERR_UNMAPPABLE;
  for (size_t i = 1; i < row->length; ++i) {
    if (i == text.size()) return CVD_CODEC_ERR_TRUNCATED;
    const uint8_t low = i == 1 ? row->second_low : 0x80;
    const uint8_t high = i == 1 ? row->second_high : 0xBF;
    if (octet(i) < low || octet(i) > high) return CVD_CODEC_ERR_UNMAPPABLE;
  }
  *length = row->length;
  return 0;
}

// Checks that text is valid, and that no character of it would be lost in the target set.
uint32_t CheckUtf8(CodeSet to, std::string_view text) {
  while (!text.empty()) {
    size_t length = 0;
    if (const uint32_t status = CheckCharacter(text, &length); status != 0) return status;
    if (IsLostIn(to, text)) return CVD_CODEC_ERR_UNMAPPABLE;
    text.remove_prefix(length);
  }
  return 0;
}

// ---- texts -----------------------------------------------------------------------------------

// The number of ASCII bytes at the front, counted by words.
size_t AsciiPrefix(std::string_view text) {
  size_t at = 0;
  for (uint64_t word; text.size() - at >= sizeof word; at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & 0x8080808080808080U) != 0) break;
  }
  while (at < text.size() && static_cast<uint8_t>(text[at]) < 0x80) ++at;
  return at;
}

uint32_t ConvertOther(CodeSet from, CodeSet to, std::string_view text, char* out, size_t room,
                      size_t* length) {
  if (from == kUtf8) {
    if (const uint32_t status = CheckUtf8(to, text); status != 0) return status;
  }
  if (from == kUtf8 && to == kUtf8) {
    std::memcpy(out, text.data(), text.size());
    *length += text.size();
    return 0;
  }
  return ConvertByIconv(from, to, text, out, room, length);
}

// Converts `text` into `out`, which has a byte for each of the ASCII bytes at the front, `growth`
// for each byte after them, and one for the NUL.
uint32_t Convert(CodeSet from, CodeSet to, std::string_view text, char* out, size_t growth,
                 size_t* length) {
  const size_t ascii = AsciiPrefix(text);
  std::memcpy(out, text.data(), ascii);
  *length = ascii;
  text.remove_prefix(ascii);
  uint32_t status = 0;
  if (!text.empty()) {
    status = ConvertOther(from, to, text, out + ascii, growth * text.size(), length);
  }
  out[status == 0 ? *length : 0] = '\0';
  return status;
}

uint32_t ConvertNamed(std::string_view from_name, std::string_view to_name, std::string_view text,
                      char* out) {
  CodeSet from;
  CodeSet to;
  if (!FindCodeSet(from_name, &from) || !FindCodeSet(to_name, &to)) return CVD_CODEC_ERR_CODE_SET;
  size_t length = 0;
  return Convert(from, to, text, out, from == kUtf8 || to != kUtf8 ? 2 : 6, &length);
}

// Converts the units after `out`'s first `*length` bytes, three bytes a unit at most.
uint32_t ConvertUnits(CodeSet to, std::span<const uint16_t> units, char* out, size_t* length) {
  for (size_t i = 0; i < units.size(); ++i) {
    // A pair DB40 DC00 to DC7F is one of the tags; a lone unit is refused by iconv.
    const bool tag = units[i] == 0xDB40 && i + 1 < units.size() && units[i + 1] >> 7 == 0xDC00 >> 7;
    if (IsLostIn(to, tag ? 0xE0000U : units[i])) return CVD_CODEC_ERR_UNMAPPABLE;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(units.data()), units.size_bytes());
  return ConvertByIconv(kUtf16, to, bytes, out + *length, 3 * units.size(), length);
}

uint32_t DecodeBmp(std::span<const uint16_t> units, char* out) {
  size_t length = 0;
  for (; length < units.size() && units[length] < 0x80 && units[length] != 0; ++length) {
    out[length] = static_cast<char>(units[length]);
  }
  units = units.subspan(length);
  units =
      units.first(static_cast<size_t>(std::find(units.begin(), units.end(), 0) - units.begin()));
  uint32_t status = 0;
  if (!units.empty()) {
    status = ConvertUnits(g_local.load(std::memory_order_relaxed), units, out, &length);
  }
  out[status == 0 ? length : 0] = '\0';
  return status;
}

uint32_t EncodeUtf8(std::string_view text, char** output, uint32_t* length) {
  constexpr size_t kGrowth = 3;  // a half-width katakana has one octet in Shift JIS
  if (text.size() > UINT32_MAX / kGrowth) return CVD_CODEC_ERR_NO_ROOM;
  const size_t room = AsciiPrefix(text) == text.size() ? text.size() : kGrowth * text.size();
  auto* out = static_cast<char*>(CVD_malloc(room + 1));
  if (out == nullptr) return CVD_CODEC_ERR_MALLOC;
  size_t size = 0;
  const CodeSet local = g_local.load(std::memory_order_relaxed);
  if (const uint32_t status = Convert(local, kUtf8, text, out, kGrowth, &size); status != 0) {
    CVD_free(out);
    return status;
  }
  *output = out;
  *length = static_cast<uint32_t>(size);
  return 0;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_ConvCodeSet(const char* from, const char* to, const char* input, char* output) {
  if (output == nullptr) return CVD_CODEC_ERR_INVALID_INPUT;
  uint32_t status = CVD_CODEC_ERR_INVALID_INPUT;
  if (from != nullptr && to != nullptr && input != nullptr) {
    status = corvid::ConvertNamed(from, to, input, output);
  }
  if (status != 0) output[0] = '\0';
  return status;
}

uint32_t CVD_Codec_SetLocalCodeSet(const char* locale) {
  if (locale == nullptr) return CVD_CODEC_ERR_INVALID_INPUT;
  corvid::CodeSet set;
  if (!corvid::FindCodeSet(locale, &set)) return CVD_CODEC_ERR_CODE_SET;
  corvid::g_local.store(set, std::memory_order_relaxed);
  return 0;
}

uint32_t CVD_DecodeBMPStr(uint32_t count, const uint16_t* units, char* output) {
  if (output == nullptr || (units == nullptr && count != 0)) return CVD_CODEC_ERR_INVALID_INPUT;
  return corvid::DecodeBmp({units, count}, output);
}

uint32_t CVD_EncodeUTF8(const char* input, char** output, uint32_t* length) {
  if (input == nullptr || output == nullptr || length == nullptr) {
    return CVD_CODEC_ERR_INVALID_INPUT;
  }
  return corvid::EncodeUtf8(input, output, length);
}
