// Text from one character set into another. Input: two sets, then text, which is also read as
// UTF-16 units. Contract: a result lies in the documented room and is UTF-8 where it should be;
// once converted, a text goes to the other set and back without change; after a failure there is
// the empty text.
#include "corvid/codec.h"
#include "fuzz/input.h"

namespace {

using corvid::fuzz::IsUtf8;
using corvid::fuzz::kLocales;
using corvid::fuzz::Require;

bool IsUtf8Set(std::string_view locale) { return locale.ends_with("UTF-8"); }

bool Convert(const char* from, const char* to, const std::string& text, std::string* result) {
  const bool shrinks = IsUtf8Set(from) || !IsUtf8Set(to);
  corvid::fuzz::Array output((shrinks ? 2 : 6) * text.size() + 1);
  const uint32_t status = CVD_ConvCodeSet(from, to, text.c_str(), output.data());
  *result = output.Text();
  Require(status == 0 || result->empty(), "a failed conversion leaves the empty text");
  Require(!IsUtf8Set(to) || IsUtf8(*result), "what is converted into UTF-8 is UTF-8");
  return status == 0;
}

void CheckSets(const char* from, const char* to, const std::string& text) {
  std::string there;
  std::string back;
  std::string again;
  if (!Convert(from, to, text, &there)) return;
  Require(!IsUtf8Set(from) || IsUtf8(text), "only UTF-8 is converted from UTF-8");
  Require(Convert(to, from, there, &back), "what was converted goes back");
  Require(Convert(from, to, back, &again) && again == there, "and there again, to the same text");
}

void CheckUnits(const char* local, const std::string& octets) {
  Require(CVD_Codec_SetLocalCodeSet(local) == 0, "every set can be the local one");
  std::vector<uint16_t> units(octets.size() / 2);
  if (units.empty()) return;
  std::memcpy(units.data(), octets.data(), 2 * units.size());
  corvid::fuzz::Array output(3 * units.size() + 1);
  const uint32_t status =
      CVD_DecodeBMPStr(static_cast<uint32_t>(units.size()), units.data(), output.data());
  const std::string text(output.Text());
  Require(status == 0 || text.empty(), "a failed decoding leaves the empty text");
  corvid::pkc::Text utf8;
  uint32_t length = 0;
  if (status != 0) return;
  Require(CVD_EncodeUTF8(text.c_str(), utf8.out(), &length) == 0, "a decoded BMPString encodes");
  Require(utf8.view().size() == length && IsUtf8(utf8.view()), "as UTF-8 of the length told");
  std::string again;
  Require(Convert("ko_KR-UTF-8", local, std::string(utf8.view()), &again) && again == text,
          "and goes back to the same text");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  const char* from = kLocales[input.Below(std::size(kLocales))];
  const char* to = kLocales[input.Below(std::size(kLocales))];
  const std::string_view rest = input.Rest().text();
  CheckSets(from, to, std::string(rest.substr(0, rest.find('\0'))));
  CheckUnits(to, std::string(rest));
  return 0;
}
