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
  // Notes the octet. Returns the code, as the others do, so that a return can note.
  [[gnu::cold, gnu::noinline]] uint32_t Begin(uint32_t code, const uint8_t* at);
  [[gnu::cold, gnu::noinline]] uint32_t AddName(uint32_t code, const char* name);
  [[gnu::cold, gnu::noinline]] uint32_t AddIndex(uint32_t code, uint32_t index);

  // Makes this the calling thread's last failure.
  void Publish(uint32_t code, const uint8_t* input) const;

 private:
  static constexpr size_t kDepth = 24;  // no schema nests deeper
  struct Part {
    const char* name;  // null: an index
    uint32_t index;
  };
  void Add(Part part);

  const uint8_t* at_ = nullptr;
  size_t count_ = 0;
  std::array<Part, kDepth> parts_;  // innermost first
};

}  // namespace corvid::asn

#endif  // CORVID_ASN_FAILURE_H_
