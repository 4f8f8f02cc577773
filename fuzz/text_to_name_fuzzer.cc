// A name from text. Input: options, then text. Contract: what parses renders, and the rendering
// parses to the same octets, but for values that the text form cannot carry (names.h); a refused
// text leaves no name. An attribute is added to both lists or to neither.
#include "fuzz/names.h"

namespace {

using corvid::fuzz::Require;

void CheckAttribute(std::string_view text) {
  CVD_BIN_LIST* types = nullptr;
  CVD_BIN_LIST* values = nullptr;
  const uint32_t status =
      CVD_GetAttrTypeAndValue(text.data(), static_cast<int32_t>(text.size()), &types, &values);
  Require((status == 0) == (types != nullptr) && (status == 0) == (values != nullptr),
          "an attribute goes to both lists or to neither");
  if (status == 0) {
    Require(types->data[types->length] == 0 && values->data[values->length] == 0,
            "the texts of the lists are terminated");
    Require(values->length <= text.size(), "a value is no longer than its text");
  }
  CVD_BIN_LIST_Free(types);
  CVD_BIN_LIST_Free(values);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  const std::string_view text = input.Rest().text();
  CheckAttribute(text);
  corvid::fuzz::CheckThereAndBack(std::string(text.substr(0, text.find('\0'))));
  return 0;
}
