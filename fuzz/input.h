// What the fuzz targets share: the octets of an input taken off one after the other, arrays that
// notice a write past their end, the options as an input chooses them, and the check of a contract.
#ifndef CORVID_FUZZ_INPUT_H_
#define CORVID_FUZZ_INPUT_H_

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"

// The one function of a target.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace corvid::fuzz {

// Aborts with a message, also where asserts are compiled out; the fuzzer keeps the input.
inline void Require(bool holds, const char* contract) {
  if (holds) return;
  std::fprintf(stderr, "broken contract: %s\n", contract);
  std::abort();
}

inline bool Same(pkc::Octets a, pkc::Octets b) { return a.text() == b.text(); }

// How many octets of a UTF-8 character follow its first one.
inline size_t FollowingOctets(uint32_t first) {
  if (first < 0x80) return 0;
  if (first < 0xE0) return 1;
  return first < 0xF0 ? 2 : 3;
}

// RFC 3629 section 4.
inline bool IsUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    const auto octet = [&](size_t at) {
      return static_cast<uint8_t>(at < text.size() ? text[at] : 0);
    };
    const uint32_t first = octet(i);
    const size_t more = FollowingOctets(first);
    uint32_t code = more == 0 ? first : first & (0x3FU >> more);
    for (size_t k = 1; k <= more; ++k) {
      if ((octet(i + k) & 0xC0) != 0x80) return false;
      code = code << 6 | (octet(i + k) & 0x3FU);
    }
    constexpr uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (code < kSmallest[more] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000))
      return false;
    if (first >= 0x80 && first < 0xC0) return false;
    i += more + 1;
  }
  return true;
}

// What is left of an input. Targets take their choices off the front, so that a seed is a few
// octets and then the thing itself.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : rest_(data, size) {}

  // The next octet; 0 at the end.
  uint8_t Octet() { return rest_.empty() ? uint8_t{0} : Take(1)[0]; }
  // A number below `limit`, which is at most 65536.
  uint32_t Below(uint32_t limit) {
    const uint32_t high = limit > 256 ? static_cast<uint32_t>(Octet()) << 8 : 0;
    return (high | Octet()) % limit;
  }
  // At most `count` octets.
  pkc::Octets Take(size_t count) {
    const pkc::Octets taken = rest_.Slice(0, count);
    rest_ = rest_.Slice(taken.size());
    return taken;
  }
  pkc::Octets Rest() { return Take(rest_.size()); }
  // The octets up to the next `end`, which is dropped, as text that ends at a NUL.
  std::string Line(char end = '\n') {
    const std::string_view text = rest_.text();
    const std::string_view line = text.substr(0, text.find(end));
    Take(line.size() + 1);
    return std::string(line.substr(0, line.find('\0')));
  }

 private:
  pkc::Octets rest_;
};

inline constexpr const char* kLocales[] = {"ko_KR-UTF-8", "ko_KR-euc", "ja_JP-EUC", "ja_JP-SJIS",
                                           "ja_JP-UTF-8"};

// Sets both options to values that the input chooses; true when names and texts are UTF-8.
inline bool SetOptions(Input* input) {
  const uint32_t choice = input->Below(2 * std::size(kLocales));
  CVD_PKC_SetOption("locale", kLocales[choice / 2]);
  CVD_PKC_SetOption("dncase", choice % 2 == 0 ? "lower" : "upper");
  return std::string_view(kLocales[choice / 2]).ends_with("UTF-8");
}

// An array of `capacity` bytes for a text, with guards behind it; filled with no NULs.
class Array {
 public:
  explicit Array(size_t capacity) : bytes_(capacity + kGuards, kFill), capacity_(capacity) {}

  char* data() { return bytes_.data(); }
  size_t capacity() const { return capacity_; }
  // The text that a function has left, which must have stayed in the array.
  std::string_view Text() const {
    Check();
    const void* end = std::memchr(bytes_.data(), 0, capacity_);
    Require(end != nullptr, "a text is terminated within its array");
    return bytes_.data();
  }
  void Check() const {
    Require(std::all_of(bytes_.end() - kGuards, bytes_.end(), [](char c) { return c == kFill; }),
            "nothing is written past an array");
  }
  bool Untouched() const {
    return std::all_of(bytes_.begin(), bytes_.end(), [](char c) { return c == kFill; });
  }

 private:
  static constexpr char kFill = '\x5A';
  static constexpr std::ptrdiff_t kGuards = 16;
  std::vector<char> bytes_;
  size_t capacity_;
};

}  // namespace corvid::fuzz

#endif  // CORVID_FUZZ_INPUT_H_
