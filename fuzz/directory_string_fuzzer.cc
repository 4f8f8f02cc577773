// A directory string as text. Input: options, capacity, DER. Contract: a text is terminated where
// its length says, and is the content octets, converted for a UTF8String, as far as they fit; after
// a failure text and length are as they were.
#include "fuzz/input.h"

using corvid::fuzz::Require;

namespace {

constexpr size_t kLongestUtf8 = 201;  // octets of text that a UTF8String yields

// The element's content octets; the decoder has found the header well-formed.
std::string_view ContentOf(corvid::pkc::Octets der) {
  const size_t octets = der[1] < 0x80 ? 0 : der[1] & 0x7FU;
  size_t length = octets == 0 ? der[1] & 0x7FU : 0;
  for (size_t i = 0; i < octets; ++i) length = length << 8 | der[2 + i];
  return der.Slice(2 + octets, length).text();
}

std::string Expected(corvid::pkc::Octets der, size_t capacity) {
  std::string_view content = ContentOf(der);
  if (der[0] != 0x0C) return std::string(content.substr(0, capacity - 1));
  char converted[kLongestUtf8 + 1];
  Require(CVD_PKC_UTF8_Decode(converted, sizeof converted, content.data(),
                              static_cast<int32_t>(content.size())) == 0,
          "a UTF8String that has a text converts");
  return std::string(converted).substr(0, capacity - 1);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  corvid::fuzz::Array text(1 + input.Below(1024));
  const corvid::pkc::Octets der = input.Rest();
  if (der.empty()) return 0;
  auto count = static_cast<int32_t>(text.capacity());
  const uint32_t status =
      CVD_PKC_ASNString_Decode(text.data(), &count, der.data(), static_cast<uint32_t>(der.size()));
  if (status != 0) {
    Require(text.Untouched() && count == static_cast<int32_t>(text.capacity()),
            "a failure leaves text and length alone");
    return 0;
  }
  text.Check();
  Require(count >= 0 && static_cast<size_t>(count) < text.capacity(), "a length lies in its array");
  const std::string_view written(text.data(), static_cast<size_t>(count));
  Require(text.data()[count] == '\0', "a text is terminated where its length says");
  if (der[0] != 0x1E) Require(written == Expected(der, text.capacity()), "a text is its content");
  return 0;
}
