// The calling thread's last decode failure.
#include "services/asn/failure.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "corvid/asn.h"

namespace corvid::asn {

static constinit thread_local CVD_ASNFailure last_failure{0, 0, {}};

void FailurePath::NoteOctet(const uint8_t* at) {
  if (at_ == nullptr) at_ = at;
}

void FailurePath::NoteName(const char* name) {
  if (name[0] != '\0') Note({name, 0});
}

void FailurePath::Note(Part part) {
  if (count_ < kDepth) parts_[count_++] = part;
}

void FailurePath::Publish(uint32_t code, const uint8_t* input) const {
  CVD_ASNFailure& failure = last_failure;
  failure = {code, at_ == nullptr ? 0 : static_cast<uint32_t>(at_ - input), {}};
  char* out = failure.path;
  char* const end = out + sizeof failure.path - 1;
  const auto put = [&](std::string_view text) {
    const size_t fit = std::min(text.size(), static_cast<size_t>(end - out));
    std::memcpy(out, text.data(), fit);
    out += fit;
  };
  for (size_t i = count_; i-- > 0;) {
    if (parts_[i].name != nullptr) {
      if (out != failure.path) put(".");
      // The member of a union is named with its union's name, which the ASN.1 does not have.
      std::string_view name = parts_[i].name;
      if (name.starts_with("name.")) name.remove_prefix(5);
      put(name);
    } else {
      char digits[12];
      const auto number = std::to_chars(digits, digits + sizeof digits, parts_[i].index);
      put("[");
      put({digits, static_cast<size_t>(number.ptr - digits)});
      put("]");
    }
  }
}

}  // namespace corvid::asn

uint32_t CVD_ASN_GetDecodeFailure(CVD_ASNFailure* failure) {
  if (failure == nullptr || corvid::asn::last_failure.code == 0) return CVD_ASN_ERR_INVALID_INPUT;
  *failure = corvid::asn::last_failure;
  return 0;
}
