// Escaping for terminals and JSON; one scan finds what needs it, and plain runs are copied whole.
#include "escape.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace corvid::tool {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

struct Range {
  uint32_t first;
  uint32_t last;
};
// Characters that act on a terminal or on the order of a line instead of being shown (Unicode
// Standard Annex 9; line and paragraph separator; C1 controls).
constexpr Range kUnsafe[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
    {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}, {0xE0000, 0xE007F},
};

bool IsUnsafe(uint32_t code) {
  return std::any_of(std::begin(kUnsafe), std::end(kUnsafe), [code](const Range& range) {
    return code >= range.first && code <= range.last;
  });
}

// What every writer may copy unseen.
constexpr std::array<bool, 256> kPlain = [] {
  std::array<bool, 256> plain{};
  for (size_t c = 0x20; c < 0x7F; ++c) plain[c] = c != '"' && c != '\\';
  return plain;
}();

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

void AppendOctetEscape(char octet, std::string* out) {
  const auto value = static_cast<uint8_t>(octet);
  const char escape[] = {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
  out->append(escape, sizeof escape);
}

// True when all of eight octets are plain. A subtraction borrows into an octet's highest bit when
// the octet is below what is subtracted.
bool ArePlain(const char* octets) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  constexpr uint64_t kHighBits = 0x80 * kOnes;
  const auto holds_below = [](uint64_t word, uint64_t limit) {
    return (word - limit * kOnes) & ~word & kHighBits;
  };
  uint64_t word;
  std::memcpy(&word, octets, sizeof word);
  const uint64_t special = holds_below(word, 0x20) | holds_below(word ^ '"' * kOnes, 1) |
                           holds_below(word ^ '\\' * kOnes, 1) |
                           holds_below(word ^ 0x7F * kOnes, 1) | (word & kHighBits);
  return special == 0;
}

// Where the plain octets from `at` on end.
size_t FindSpecial(std::string_view text, size_t at) {
  while (text.size() - at >= 8 && ArePlain(text.data() + at)) at += 8;
  // The last octets, some of them once more.
  if (text.size() - at < 8 && text.size() >= 8 && ArePlain(text.data() + text.size() - 8)) {
    return text.size();
  }
  while (at < text.size() && kPlain[static_cast<uint8_t>(text[at])]) ++at;
  return at;
}

// Copies plain octets from `at` on; returns where they end.
size_t CopyPlain(std::string_view text, size_t at, std::string* out) {
  const size_t end = FindSpecial(text, at);
  out->append(text, at, end - at);
  return end;
}

// True when `text` shows an octet escape, its own or one that will stand for an octet.
bool HoldsOctetEscape(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const Character character = ReadCharacter(text, at);
    if (character.size == 0) return true;
    if (character.code == '\\' && text.size() - at >= 4 && text[at + 1] == 'x' &&
        IsHexDigit(text[at + 2]) && IsHexDigit(text[at + 3])) {
      return true;
    }
    at += character.size;
  }
  return false;
}

void AppendUtf16Escape(uint32_t unit, std::string* out) {
  const char escape[] = {'\\',
                         'u',
                         kDigits[unit >> 12 & 15],
                         kDigits[unit >> 8 & 15],
                         kDigits[unit >> 4 & 15],
                         kDigits[unit & 15]};
  out->append(escape, sizeof escape);
}

void AppendJsonEscape(uint32_t code, std::string* out) {
  if (code > 0xFFFF) {
    AppendUtf16Escape(0xD800 + ((code - 0x10000) >> 10), out);
    code = 0xDC00 + ((code - 0x10000) & 0x3FF);
  }
  AppendUtf16Escape(code, out);
}

// Those that every reader of tab-separated cells knows.
const char* ShortEscape(uint32_t code) {
  return code == '\t' ? "\\t" : code == '\n' ? "\\n" : code == '\r' ? "\\r" : nullptr;
}

void AppendJsonText(std::string_view octets, Backslash backslash, std::string* out) {
  const bool doubled = backslash == Backslash::kDouble && HoldsOctetEscape(octets);
  size_t at = CopyPlain(octets, 0, out);
  for (; at < octets.size(); at = CopyPlain(octets, at, out)) {
    const Character character = ReadCharacter(octets, at);
    if (character.size == 0) {
      out->push_back('\\');  // the escape's own backslash is text, and escaped in turn
      AppendOctetEscape(octets[at++], out);
      continue;
    }
    if (character.code == '\\') {
      *out += doubled ? "\\\\\\\\" : "\\\\";
    } else if (character.code == '"') {
      *out += "\\\"";
    } else if (IsUnsafe(character.code)) {
      AppendJsonEscape(character.code, out);
    } else {
      out->append(octets, at, character.size);
    }
    at += character.size;
  }
}

}  // namespace

Character ReadCharacter(std::string_view text, size_t at) {
  const auto octet = [&](size_t i) { return static_cast<uint8_t>(text[at + i]); };
  const uint8_t lead = octet(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC2 || lead > 0xF4) return {0, 0};
  const size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() - at < size) return {0, 0};
  uint32_t code = lead & (0x7FU >> size);
  for (size_t i = 1; i < size; ++i) {
    if ((octet(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (octet(i) & 0x3FU);
  }
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool valid =
      code >= kSmallest[size] && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
  return valid ? Character{code, size} : Character{0, 0};
}

void AppendUtf8(uint32_t code, std::string* out) {
  const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) {
    out->push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out->append({static_cast<char>(0xC0 | code >> 6), tail(0)});
  } else if (code < 0x10000) {
    out->append({static_cast<char>(0xE0 | code >> 12), tail(6), tail(0)});
  } else {
    out->append({static_cast<char>(0xF0 | code >> 18), tail(12), tail(6), tail(0)});
  }
}

void AppendHex(pkc::Octets octets, std::string* out) {
  const size_t begin = out->size();
  out->resize(begin + 2 * octets.size());
  PutHex(octets, out->data() + begin);
}

// Without a table, so that the compiler does many octets at once.
char* PutHex(pkc::Octets octets, char* out) {
  const uint8_t* in = octets.data();
  const size_t size = octets.size();
  const auto digit = [](uint8_t value) {
    return static_cast<char>(value + (value > 9 ? 'a' - 10 : '0'));
  };
  for (size_t i = 0; i < size; ++i) {
    out[2 * i] = digit(in[i] >> 4);
    out[2 * i + 1] = digit(in[i] & 15);
  }
  return out + 2 * size;
}

void AppendCodeEscape(uint32_t code, std::string* out) {
  char digits[8];
  const auto end = std::to_chars(digits, digits + sizeof digits, code, 16).ptr;
  *out += "\\u{";
  for (auto missing = 4 - (end - digits); missing > 0; --missing) out->push_back('0');
  out->append(digits, end);
  out->push_back('}');
}

void AppendSafeText(std::string_view octets, Backslash backslash, std::string* out) {
  for (size_t at = CopyPlain(octets, 0, out); at < octets.size(); at = CopyPlain(octets, at, out)) {
    const Character character = ReadCharacter(octets, at);
    if (character.size == 0 || (character.code < 0x80 && IsUnsafe(character.code))) {
      AppendOctetEscape(octets[at++], out);
      continue;
    }
    if (IsUnsafe(character.code)) {
      AppendCodeEscape(character.code, out);
    } else {
      out->append(octets, at, character.size);
    }
    if (character.code == '\\' && backslash == Backslash::kDouble) out->push_back('\\');
    at += character.size;
  }
}

char* PutJsonString(std::string_view octets, Backslash backslash, char* out) {
  *out++ = '"';
  if (FindSpecial(octets, 0) == octets.size()) {
    std::memcpy(out, octets.data(), octets.size());
    out += octets.size();
  } else {
    std::string escaped;
    AppendJsonText(octets, backslash, &escaped);
    out += escaped.copy(out, escaped.size());
  }
  *out++ = '"';
  return out;
}

void AppendCell(std::string_view octets, Backslash backslash, std::string* out) {
  size_t at = CopyPlain(octets, 0, out);
  const bool doubled =
      at < octets.size() && backslash == Backslash::kDouble && HoldsOctetEscape(octets.substr(at));
  for (; at < octets.size(); at = CopyPlain(octets, at, out)) {
    const Character character = ReadCharacter(octets, at);
    const size_t size = std::max<size_t>(character.size, 1);
    if (character.size == 0) {
      out->push_back('\\');  // the escape's own backslash is text, and escaped in turn
      AppendOctetEscape(octets[at], out);
    } else if (character.code == '\\') {
      *out += doubled ? "\\\\\\\\" : "\\\\";
    } else if (const char* escape = ShortEscape(character.code); escape != nullptr) {
      *out += escape;
    } else if (IsUnsafe(character.code)) {
      for (size_t i = 0; i < size; ++i) AppendOctetEscape(octets[at + i], out);
    } else {
      out->append(octets, at, size);
    }
    at += size;
  }
}

}  // namespace corvid::tool
