// Reading elements and converting character strings of every type.
#include "der.h"

#include <vector>

#include "escape.h"

namespace corvid::tool {
namespace {

enum class Form { kOctets, kUnits, kCodes };
struct StringType {
  uint8_t tag;
  const char* name;
  Form form;
};
constexpr StringType kStringTypes[] = {
    {0x0C, "UTF8String", Form::kOctets},      {0x12, "NumericString", Form::kOctets},
    {0x13, "PrintableString", Form::kOctets}, {0x14, "TeletexString", Form::kOctets},
    {0x16, "IA5String", Form::kOctets},       {0x1A, "VisibleString", Form::kOctets},
    {0x1C, "UniversalString", Form::kCodes},  {0x1E, "BMPString", Form::kUnits},
};

const StringType* FindStringType(uint8_t tag) {
  for (const StringType& type : kStringTypes) {
    if (type.tag == tag) return &type;
  }
  return nullptr;
}

// A unit of 0 ends the text of one conversion, so what lies between them is converted apart.
pkc::Status ConvertUnits(pkc::Octets content, std::string* text) {
  if (content.size() % 2 != 0) return CVD_CODEC_ERR_TRUNCATED;
  std::vector<uint16_t> units;
  std::vector<char> part;
  for (size_t at = 0; at <= content.size(); at += 2) {
    const bool end = at == content.size();
    const auto unit = end ? uint16_t{0} : static_cast<uint16_t>(content[at] << 8 | content[at + 1]);
    if (unit != 0) {
      units.push_back(unit);
      continue;
    }
    part.resize(3 * units.size() + 1);
    if (!units.empty()) {
      const uint32_t status =
          CVD_DecodeBMPStr(static_cast<uint32_t>(units.size()), units.data(), part.data());
      if (status != 0) return status;
      *text += part.data();
      units.clear();
    }
    if (!end) text->push_back('\0');
  }
  return {};
}

pkc::Status ConvertCodes(pkc::Octets content, std::string* text) {
  if (content.size() % 4 != 0) return CVD_CODEC_ERR_TRUNCATED;
  for (size_t at = 0; at < content.size(); at += 4) {
    uint32_t code = 0;
    for (size_t i = 0; i < 4; ++i) code = code << 8 | content[at + i];
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return CVD_CODEC_ERR_UNMAPPABLE;
    AppendUtf8(code, text);
  }
  return {};
}

}  // namespace

bool DerReader::Next(Element* element) {
  if (rest_.size() < 2 || (rest_[0] & 0x1F) == 0x1F) return false;
  size_t header = 2;
  size_t length = rest_[1];
  if (length >= 0x80) {
    const size_t count = length & 0x7F;
    if (count == 0 || count > 4 || rest_.size() - header < count) return false;
    length = 0;
    for (size_t i = 0; i < count; ++i) length = length << 8 | rest_[header++];
    if (length < 0x80 || length >> (8 * (count - 1)) == 0) return false;
  }
  if (rest_.size() - header < length) return false;
  *element = {rest_[0], rest_.Slice(header, length), rest_.Slice(0, header + length)};
  rest_ = rest_.Slice(header + length);
  return true;
}

bool DerReader::Next(uint8_t tag, Element* element) { return this->tag() == tag && Next(element); }

StringValue DecodeString(pkc::Octets der) {
  StringValue value;
  DerReader reader(der);
  Element element;
  if (!reader.Next(&element) || !reader.empty()) return value;
  const StringType* type = FindStringType(element.tag);
  if (type == nullptr) return value;
  value.type = type->name;
  switch (type->form) {
    case Form::kOctets:
      value.text = element.content.text();
      break;
    case Form::kUnits:
      value.status = ConvertUnits(element.content, &value.text);
      break;
    case Form::kCodes:
      value.status = ConvertCodes(element.content, &value.text);
      break;
  }
  return value;
}

}  // namespace corvid::tool
