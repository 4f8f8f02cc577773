// The codec library: its version, its reasons, and hexadecimal.
#include "corvid/codec.h"

#include "corvid/common.h"
#include "corvid/hex_digits.hpp"
#include "corvid/reason_table.hpp"

namespace corvid {

static constexpr ReasonRow kReasons[] = {
    {CVD_CODEC_ERR_INVALID_INPUT, "invalid input"},
    {CVD_CODEC_ERR_MALLOC, "malloc failed"},
    {CVD_CODEC_ERR_CODE_SET, "unknown code set"},
    {CVD_CODEC_ERR_UNMAPPABLE, "text not valid in its code set or not in the other"},
    {CVD_CODEC_ERR_TRUNCATED, "text ends inside a character"},
    {CVD_CODEC_ERR_NO_ROOM, "converted text too long"},
    {CVD_CODEC_ERR_BASE64, "bad base64"},
};

}  // namespace corvid

const char* CVD_Codec_GetVersion(void) { return corvid::kVersionText; }

const char* CVD_Codec_GetErrorReason(uint32_t code, int32_t /*selector*/) {
  return corvid::ReasonOf(corvid::kReasons, code);
}

uint32_t CVD_BinToHex(const uint8_t* octets, uint32_t length, char** text) {
  if (text == nullptr || (octets == nullptr && length != 0)) return CVD_CODEC_ERR_INVALID_INPUT;
  const size_t digits = size_t{2} * length;
  auto* out = static_cast<char*>(CVD_malloc(digits + 1));
  if (out == nullptr) return CVD_CODEC_ERR_MALLOC;
  corvid::PutHex(octets, length, out);
  out[digits] = '\0';
  *text = out;
  return 0;
}
