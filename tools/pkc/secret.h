// Secrets: octets that are cleared when they go, from a file, standard input or a question on the
// terminal that does not show the answer. Never from an argument, which others can see.
#ifndef CORVID_TOOLS_PKC_SECRET_H_
#define CORVID_TOOLS_PKC_SECRET_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "corvid/pkc.hpp"

namespace corvid::tool {

// Octets with a NUL behind them. Growing leaves no copy in memory.
class Secret {
 public:
  Secret() = default;
  Secret(Secret&& other) noexcept { Swap(&other); }
  Secret& operator=(Secret&& other) noexcept {
    Swap(&other);
    return *this;
  }
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;
  ~Secret();

  void Append(std::string_view octets);
  // Keeps the first `size` octets.
  void Cut(size_t size);
  // Drops one line feed at the end, and a carriage return before it.
  void DropLineEnd();

  pkc::Octets octets() const { return view(); }
  std::string_view view() const { return {data_ == nullptr ? "" : data_.get(), size_}; }
  const char* text() const { return view().data(); }

 private:
  void Swap(Secret* other);

  std::unique_ptr<char[]> data_;
  size_t size_ = 0;
  size_t capacity_ = 0;  // the NUL included
};

// Appends what is left to read, at most `most` octets. The errno of a failure (EFBIG when there is
// more), else 0.
int ReadAll(int descriptor, size_t most, Secret* secret);
// The same of a file, or of standard input for "-".
int ReadAll(const std::string& path, size_t most, Secret* secret);

// Asks on the terminal, whatever the standard streams are, and reads one line without showing it.
// A signal that ends the command meanwhile finds the terminal as it was. The errno of a failure
// (ENXIO without a terminal, EINTR after a signal that did not end the command), else 0.
int AskSecret(std::string_view question, Secret* secret);

// Makes octets of hexadecimal text. False for anything else, and for an odd number of digits.
bool DecodeHex(std::string_view digits, Secret* octets);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_SECRET_H_
