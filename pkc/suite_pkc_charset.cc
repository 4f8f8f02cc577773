// Directory strings, and the conversion between UTF-8 and the caller's character set.
#include "corvid/codec.h"
#include "pkc/internal.h"

namespace corvid {
namespace {

// ---- the caller's character set ------------------------------------------------------------

struct LocaleRow {
  std::string_view locale;  // a value of the "locale" option, also the codec's name for the set
  const char* utf8;         // the codec's name for its UTF-8 side; null: the texts are UTF-8
};

constexpr LocaleRow kLocaleRows[] = {
    {"ko_KR-euc", "ko_KR-UTF-8"},  {"ko_KR-UTF-8", nullptr}, {"ja_JP-EUC", "ja_JP-UTF-8"},
    {"ja_JP-SJIS", "ja_JP-UTF-8"}, {"ja_JP-UTF-8", nullptr},
};

// The row of the current "locale", or null for a value outside the table.
const LocaleRow* CurrentLocale() {
  const char* option = CVD_PKC_GetOption("locale");
  if (option == nullptr) return nullptr;
  const std::string_view locale(option);
  for (const LocaleRow& row : kLocaleRows) {
    if (row.locale == locale) return &row;
  }
  return nullptr;
}

bool IsAscii(std::string_view text) {
  uint64_t seen = 0;
  for (; text.size() >= sizeof seen; text.remove_prefix(sizeof seen)) {
    uint64_t word = 0;
    std::memcpy(&word, text.data(), sizeof word);
    seen |= word;
  }
  for (const char c : text) seen |= static_cast<uint8_t>(c);
  return (seen & 0x8080808080808080) == 0;
}

// Writes `text`, cut to `size` - 1 bytes, and its terminator. Returns the length.
int32_t CopyText(char* destination, int32_t size, std::string_view text) {
  const size_t length = std::min(text.size(), static_cast<size_t>(size) - 1);
  std::memmove(destination, text.data(), length);  // a caller may convert a text in place
  destination[length] = '\0';
  return static_cast<int32_t>(length);
}

// A work area that lives on the stack when it is small. It is not cleared: what is written into it
// is terminated. Null when memory was short.
template <size_t kNear>
class WorkArea {
 public:
  explicit WorkArea(size_t size)
      : far_(size > kNear ? CVD_malloc(size) : nullptr), get_(size > kNear ? far_ : near_) {}
  WorkArea(const WorkArea&) = delete;
  WorkArea& operator=(const WorkArea&) = delete;
  ~WorkArea() {
    if (far_ != nullptr) CVD_free(far_);
  }
  void* get() { return get_; }

 private:
  void* far_;
  void* get_;
  alignas(uint64_t) char near_[kNear];
};

struct Conversion {
  const char* from;
  const char* to;
  size_t growth;  // octets of output that one octet of input can need
};

uint32_t ConvertText(char* destination, int32_t size, std::string_view source,
                     const Conversion& conversion) {
  // The codec reads terminated text; the copy of the source stands before its output.
  WorkArea<2048> area(source.size() + 1 + conversion.growth * source.size() + 1);
  auto* input = static_cast<char*>(area.get());
  if (input == nullptr) return PKC_ERR_MALLOC;
  std::memcpy(input, source.data(), source.size());
  input[source.size()] = '\0';
  char* output = input + source.size() + 1;
  const uint32_t status = CVD_ConvCodeSet(conversion.from, conversion.to, input, output);
  if (status == 0) CopyText(destination, size, output);
  return status;
}

enum class Direction { kFromUtf8, kToUtf8 };

uint32_t Convert(char* destination, int32_t size, const char* source, int32_t length,
                 Direction direction) {
  if (destination == nullptr || source == nullptr || size < 1 || length < 0) {
    return PKC_ERR_INVALID_INPUT;
  }
  const LocaleRow* row = CurrentLocale();
  if (row == nullptr) return kRefused;
  const std::string_view text(
      source, length == 0 ? std::strlen(source) : strnlen(source, static_cast<size_t>(length)));
  if (row->utf8 == nullptr || IsAscii(text)) {  // every set holds ASCII unchanged
    CopyText(destination, size, text);
    return 0;
  }
  const char* local = row->locale.data();
  return ConvertText(destination, size, text,
                     direction == Direction::kFromUtf8 ? Conversion{row->utf8, local, 2}
                                                       : Conversion{local, row->utf8, 6});
}

// ---- directory strings ---------------------------------------------------------------------

uint32_t DecodeUtf8String(char* text, int32_t* count, Bytes content) {
  if (content.size() > INT32_MAX) return kRefused;
  char area[kValueSize];
  const uint32_t status =
      CVD_PKC_UTF8_Decode(area, kValueSize, reinterpret_cast<const char*>(content.data()),
                          static_cast<int32_t>(content.size()));
  if (status == 0) *count = CopyText(text, *count, area);
  return status;
}

// Text of the codec's local set, as UTF-8 when the locale asks for that.
uint32_t CopyLocalText(char* text, int32_t* count, const char* local) {
  const LocaleRow* row = CurrentLocale();
  if (row == nullptr || row->utf8 != nullptr || IsAscii(local)) {
    *count = CopyText(text, *count, local);
    return 0;
  }
  ScopedText utf8;
  uint32_t length = 0;
  if (uint32_t status = CVD_EncodeUTF8(local, utf8.out(), &length); status != 0) return status;
  *count = CopyText(text, *count, {utf8.get(), length});
  return 0;
}

// BMPString: units of two octets, the high one first. An odd octet at the end is a unit by itself.
uint32_t DecodeBmpString(char* text, int32_t* count, Bytes content) {
  const size_t unit_count = (content.size() + 1) / 2;
  // The units, then the text of up to three octets a unit.
  WorkArea<1024> area(unit_count * (sizeof(uint16_t) + 3) + 1);
  auto* units = static_cast<uint16_t*>(area.get());
  if (units == nullptr) return PKC_ERR_MALLOC;
  for (size_t i = 0; i < content.size() / 2; ++i) {
    units[i] = static_cast<uint16_t>(content[2 * i] << 8 | content[2 * i + 1]);
  }
  if (content.size() % 2 != 0) units[unit_count - 1] = content.back();
  auto* local = reinterpret_cast<char*>(units + unit_count);
  const uint32_t status = CVD_DecodeBMPStr(static_cast<uint32_t>(unit_count), units, local);
  return status == 0 ? CopyLocalText(text, count, local) : status;
}

}  // namespace
}  // namespace corvid

uint32_t CVD_PKC_UTF8_Decode(char* destination, int32_t size, const char* source, int32_t length) {
  return corvid::Convert(destination, size, source, length, corvid::Direction::kFromUtf8);
}

uint32_t CVD_PKC_UTF8_Encode(char* destination, int32_t size, const char* source, int32_t length) {
  return corvid::Convert(destination, size, source, length, corvid::Direction::kToUtf8);
}

uint32_t CVD_PKC_ASNString_Decode(char* text, int32_t* count, const uint8_t* der,
                                  uint32_t available) {
  if (text == nullptr || count == nullptr || der == nullptr || *count < 1) {
    return PKC_ERR_INVALID_INPUT;
  }
  const corvid::Bytes encoding(der, available);
  corvid::Element element;
  if (!corvid::ReadElement(encoding, 0, &element) || element.length == 0) return corvid::kRefused;
  const corvid::Bytes content = encoding.subspan(element.content, element.length);
  if (element.tag == corvid::kTagUtf8String) {
    return corvid::DecodeUtf8String(text, count, content);
  }
  if (element.tag == corvid::kTagBmpString) return corvid::DecodeBmpString(text, count, content);
  if (!corvid::IsCopiedType(element.tag)) return corvid::kRefused;
  *count = corvid::CopyText(text, *count,
                            {reinterpret_cast<const char*>(content.data()), content.size()});
  return 0;
}
