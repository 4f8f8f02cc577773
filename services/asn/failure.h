// Where a decode failed: collected part by part on the way out, told by CVD_ASN_GetDecodeFailure.
#ifndef CORVID_ASN_FAILURE_H_
#define CORVID_ASN_FAILURE_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace corvid::asn {

// The innermost reader begins the path; each row and list adds itself as the failure passes it. All
// of it is off the path that succeeds.
class FailurePath {
 public:
  // Each returns the code that it is given, so that a return can note; inline, so that the compiler
  // sees that the way does not lead back.
  uint32_t Begin(uint32_t code, const uint8_t* at) {
    NoteOctet(at);
    if (code == 0) __builtin_unreachable();
    return code;
  }
  uint32_t AddName(uint32_t code, const char* name) {
    NoteName(name);
    return code;
  }
  uint32_t AddIndex(uint32_t code, uint32_t index) {
    Note({nullptr, index});
    return code;
  }

  // Makes this the calling thread's last failure.
  void Publish(uint32_t code, const uint8_t* input) const;

 private:
  static constexpr size_t kDepth = 24;  // no schema nests deeper
  struct Part {
    const char* name;  // null: an index
    uint32_t index;
  };
  [[gnu::cold, gnu::noinline]] void NoteOctet(const uint8_t* at);
  [[gnu::cold, gnu::noinline]] void NoteName(const char* name);
  [[gnu::cold, gnu::noinline]] void Note(Part part);

  const uint8_t* at_ = nullptr;
  size_t count_ = 0;
  std::array<Part, kDepth> parts_;  // innermost first
};

}  // namespace corvid::asn

#endif  // CORVID_ASN_FAILURE_H_
