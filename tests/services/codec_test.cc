// Base64, hexadecimal, and text between code sets: what is converted, and what is refused.
#include "corvid/codec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "support/support.h"

namespace corvid::test {
namespace {

constexpr uint32_t kTruncated = CVD_CODEC_ERR_TRUNCATED;
constexpr uint32_t kUnmappable = CVD_CODEC_ERR_UNMAPPABLE;

TEST(Base64, IsOneLineOutAndStrictIn) {  // RFC 4648 section 10
  using Row = std::pair<std::string, const char*>;
  for (const auto& [plain, coded] : {Row{"", ""}, Row{"f", "Zg=="}, Row{"fooba", "Zm9vYmE="},
                                     Row{"foobar", "Zm9vYmFy"}, Row{"\xFB\xFF\xBF", "+/+/"}}) {
    char* text = nullptr;
    ASSERT_EQ(CVD_BinToBase64(Input(OctetsOf(plain)).bin(), &text), 0u);
    EXPECT_STREQ(text, coded);
    CVD_free(text);
    for (const std::string spaced : {"", " ", "\r\n"}) {
      Output back;
      std::string input = coded;
      for (size_t at = input.size() + 1; at > 0; --at) input.insert(at - 1, spaced);
      EXPECT_EQ(CVD_Base64ToBin(input.c_str(), &back), 0u) << input;
      EXPECT_EQ(back.octets(), OctetsOf(plain));
      EXPECT_EQ(back.data == nullptr, plain.empty());
    }
  }
  for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "Zm9v=", "====", "Z===", "Zg==Zm9v", "Zg=a",
                           "Zh==", "Zm9=" /* unused bits */, "Zm9v!m9v", "Zm9v\x80m9v"}) {
    Output out;
    EXPECT_EQ(CVD_Base64ToBin(text, &out), uint32_t{CVD_CODEC_ERR_BASE64}) << text;
  }
}

// Converts into a heap block of exactly the size that a caller gives.
uint32_t Convert(const std::string& from, const char* to, const std::string& text,
                 std::string* out) {
  const size_t size = (from.ends_with("UTF-8") ? 2 : 6) * text.size() + 1;
  const auto block = std::make_unique<char[]>(size);
  std::memset(block.get(), 'x', size);
  const uint32_t status = CVD_ConvCodeSet(from.c_str(), to, text.c_str(), block.get());
  *out = std::string(block.get(), strnlen(block.get(), size));
  EXPECT_LT(out->size(), size) << "not terminated";
  return status;
}

TEST(CodeSet, ConvertsBothWays) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"ko_KR-euc", "8 octets김then", "8 octets\xB1\xE8then"},
      {"ko_KR-euc", "믜똠뷁", "\x92\xDE\x8C\x63\x94\xEE"},  // not in EUC-KR proper
      {"ja_JP-EUC", "①髙－", "\xAD\xA1\x8F\xF4\xFB\xA1\xDD"},
      {"ja_JP-EUC", "ｱ丂", "\x8E\xB1\x8F\xB0\xA1"},  // half-width; three octets
      {"ja_JP-SJIS", "①髙ｱｲ", "\x87\x40\xFB\xFC\xB1\xB2"},
      {"ja_JP-SJIS", "表\\~", "\x95\x5C\x5C\x7E"},  // 5C inside a character and as itself
      {"ja_JP-UTF-8", "¥é김😀", "¥é김😀"},
  };
  std::string out;
  for (const auto& [set, utf8, local] : rows) {
    EXPECT_EQ(Convert("ko_KR-UTF-8", set, utf8, &out), 0u) << utf8;
    EXPECT_EQ(out, local) << utf8;
    EXPECT_EQ(Convert(set, "ja_JP-UTF-8", local, &out), 0u) << utf8;
    EXPECT_EQ(out, utf8);
  }
}

TEST(CodeSet, RefusesAndLeavesTheEmptyTextAndNoState) {
  const std::tuple<const char*, const char*, const char*, uint32_t> rows[] = {
      {"ko_KR-UTF-8", "ko_KR-euc", "a\xEA\xB9", kTruncated},
      {"ko_KR-UTF-8", "ko_KR-euc", "😀", kUnmappable},
      {"ko_KR-UTF-8", "ko_KR-euc", "\xEF\xBB\xBF.", kUnmappable},      // byte order mark
      {"ko_KR-UTF-8", "ko_KR-euc", "a\xF3\xA0\x80\x81", kUnmappable},  // tags are not dropped
      {"ko_KR-UTF-8", "ko_KR-euc", "a\xF3\xA0\x81\xBF", kUnmappable},
      {"ko_KR-UTF-8", "ko_KR-euc", "a\xF3\xA0\x81", kTruncated},
      {"ja_JP-UTF-8", "ja_JP-SJIS", "¥", kUnmappable},  // is not 5C
      {"ja_JP-UTF-8", "ja_JP-EUC", "a‾", kUnmappable},  // is not 7E
      {"ko_KR-euc", "ko_KR-UTF-8", "A\xB1", kTruncated},
      {"ko_KR-euc", "ko_KR-UTF-8", "\xB1 ", kUnmappable},
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xF0\x9F\x98", kTruncated},
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "1234567\x80", kUnmappable},
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xC1\xBF", kUnmappable},  // overlong
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xE0\x9F\xBF", kUnmappable},
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xED\xA0\x80", kUnmappable},      // surrogate
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xF4\x90\x80\x80", kUnmappable},  // above U+10FFFF
      {"ko_KR-UTF-8", "ja_JP-UTF-8", "\xF4\x7F\x80\x80", kUnmappable},
      {"ko_KR-EUC", "ko_KR-UTF-8", "A", CVD_CODEC_ERR_CODE_SET},
  };
  for (const auto& [from, to, input, status] : rows) {
    std::string out;
    EXPECT_EQ(Convert(from, to, input, &out), status) << to << input;
    EXPECT_EQ(out, "") << input;
    EXPECT_EQ(Convert("ko_KR-euc", "ko_KR-UTF-8", "\xB0\xA1", &out), 0u) << input;
    EXPECT_EQ(out, "가") << input;
  }
}

TEST(LocalSet, ExchangesUtf16AndUtf8) {
  const std::u16string high(1, char16_t{0xD83D});
  const struct {
    const char* set;
    std::u16string units;
    uint32_t status;
    std::string local;
    const char* utf8;
  } rows[] = {
      {"ko_KR-euc", u"ASCII", 0, "ASCII", "ASCII"},
      {"ko_KR-euc", std::u16string(u"a김\0김", 4), 0, "a\xB1\xE8", "a김"},
      {"ko_KR-euc", std::u16string(u"a\0é", 3), 0, "a", "a"},
      {"ko_KR-euc", u"a😀", kUnmappable, "", ""},
      {"ja_JP-EUC", u"丂丂", 0, "\x8F\xB0\xA1\x8F\xB0\xA1", "丂丂"},  // 3 octets a unit
      {"ja_JP-SJIS", u"ｱｲｳ", 0, "\xB1\xB2\xB3", "ｱｲｳ"},  // UTF-8 has three times as many
      {"ja_JP-SJIS", u"¥", kUnmappable, "", ""},
      {"ko_KR-UTF-8", high + u"a", kUnmappable, "", ""},
      {"ko_KR-UTF-8", u"a" + high, kTruncated, "", ""},  // forgotten by the next
      {"ja_JP-UTF-8", u"\u0080김\uFFFD¥😀", 0, "\u0080김\uFFFD¥😀", "\u0080김\uFFFD¥😀"},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(CVD_Codec_SetLocalCodeSet(row.set), 0u);
    EXPECT_EQ(CVD_Codec_SetLocalCodeSet("SJIS"), uint32_t{CVD_CODEC_ERR_CODE_SET});
    const std::vector<uint16_t> units(row.units.begin(), row.units.end());
    const auto local = std::make_unique<char[]>(3 * units.size() + 1);
    EXPECT_EQ(CVD_DecodeBMPStr(static_cast<uint32_t>(units.size()), units.data(), local.get()),
              row.status);
    EXPECT_EQ(local.get(), row.local) << row.set;
    char* utf8 = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(CVD_EncodeUTF8(local.get(), &utf8, &length), 0u);
    EXPECT_EQ(std::string(utf8, length), row.utf8);
    CVD_free(utf8);
    EXPECT_NE(CVD_EncodeUTF8("\xFF", &utf8, &length), 0u);
  }
  EXPECT_EQ(CVD_Codec_SetLocalCodeSet("ko_KR-euc"), 0u);
}

}  // namespace
}  // namespace corvid::test
