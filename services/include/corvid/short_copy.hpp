// Copies of few octets: a call to memcpy takes several times as long as the copy, and a record has
// a hundred of them. For our own libraries; not installed.
#ifndef CORVID_SHORT_COPY_HPP_
#define CORVID_SHORT_COPY_HPP_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace corvid {

// Copies one word to two words of octets, as two words that may overlap.
template <typename Word>
inline void CopyAsWords(uint8_t* out, const uint8_t* in, size_t size) {
  const size_t last = size - sizeof(Word);
  Word head;
  Word tail;
  std::memcpy(&head, in, sizeof head);
  std::memcpy(&tail, in + last, sizeof tail);
  std::memcpy(out, &head, sizeof head);
  std::memcpy(out + last, &tail, sizeof tail);
}

// memcpy for octets that are mostly few.
inline void CopyShort(void* to, const void* from, size_t size) {
  using Lanes = uint8_t __attribute__((vector_size(16)));
  auto* out = static_cast<uint8_t*>(to);
  const auto* in = static_cast<const uint8_t*>(from);
  if (size > 2 * sizeof(Lanes)) {
    std::memcpy(out, in, size);
  } else if (size >= 16) {
    CopyAsWords<Lanes>(out, in, size);
  } else if (size >= 8) {
    CopyAsWords<uint64_t>(out, in, size);
  } else if (size >= 4) {
    CopyAsWords<uint32_t>(out, in, size);
  } else if (size >= 2) {
    CopyAsWords<uint16_t>(out, in, size);
  } else if (size == 1) {
    *out = *in;
  }
}

}  // namespace corvid

#endif  // CORVID_SHORT_COPY_HPP_
