// The growable buffer's capacities, and the bounds of the string wrappers.
#include <gtest/gtest.h>

#include "support/support.h"

namespace corvid::test {
namespace {

TEST(StrBuf, GrowsByWholeIncrements) {
  const struct {
    uint32_t capacity, increment;
    std::vector<uint32_t> appended;
    uint32_t grown;
  } rows[] = {{0, 0, {511}, 512},  // the text and its terminator just fit
              {0, 0, {512}, 640},
              {0, 0, {600}, 640},
              {1024, 1024, {1000, 30}, 2048},
              {1024, 1024, {1022, 1}, 1024},
              {1024, 1024, {1023, 1}, 2048},
              {1, 1, {2}, 3}};
  for (const auto& row : rows) {
    StrBuf* buffer = CVD_PKC_StrBuf_New(row.capacity, row.increment);
    std::string expected;
    for (const uint32_t length : row.appended) {
      const std::string piece(length, expected.empty() ? '\0' : 'b');
      ASSERT_EQ(CVD_PKC_StrBuf_AddString(buffer, piece.data(), length), 0u);
      expected += piece;
    }
    EXPECT_EQ(CVD_PKC_StrBuf_AddString(buffer, "x", 0), 36001u);
    EXPECT_EQ(buffer->capacity, row.grown) << testing::PrintToString(row.appended);
    EXPECT_EQ(CVD_PKC_StrBuf_GetLength(buffer), expected.size());
    EXPECT_EQ(std::string(CVD_PKC_StrBuf_GetString(buffer), buffer->length + 1), expected + '\0');
    CVD_PKC_StrBuf_Free(buffer);
  }
}

TEST(StrBuf, AppendsItsOwnBytes) {
  StrBuf buffer;
  ASSERT_EQ(CVD_PKC_StrBuf_Init(&buffer, 8, 8), 0u);
  EXPECT_STREQ(buffer.text, "");
  ASSERT_EQ(CVD_PKC_StrBuf_AddString(&buffer, "abcdef", 6), 0u);
  ASSERT_EQ(CVD_PKC_StrBuf_AddString(&buffer, buffer.text + 1, 5), 0u);
  EXPECT_STREQ(buffer.text, "abcdefbcdef");
  CVD_PKC_StrBuf_Free(&buffer);
}

TEST(StrBuf, RefusesALengthThatItsCountersCannotHold) {
  char text[] = "text";
  StrBuf buffer{0xFFFFFFFF, 0xFFFFFFF0, 128, 0, text};
  EXPECT_EQ(CVD_PKC_StrBuf_AddString(&buffer, text, 0x20), 36003u);
  EXPECT_EQ(buffer.length, 0xFFFFFFF0u);
}

TEST(BoundedText, CopiesAndAppendsWithinTheSize) {
  const struct {
    uint32_t size;
    std::string copied;    // "abc" into "########"
    std::string appended;  // "cd" to "ab", then the rest of the array
    uint32_t length;
  } rows[] = {{0, "########", std::string("ab\0#####", 8), 0},
              {1, std::string("\0#######", 8), std::string("\0b\0#####", 8), 0},
              {3, std::string("ab\0#####", 8), std::string("ab\0#####", 8), 2},
              {4, std::string("abc\0####", 8), std::string("abc\0####", 8), 3},
              {7, std::string("abc\0\0\0\0#", 8), std::string("abcd\0###", 8), 4}};
  for (const auto& row : rows) {
    std::string bytes(8, '#');
    EXPECT_EQ(pkc_strncpy(bytes.data(), "abc", row.size), bytes.data());
    EXPECT_EQ(bytes, row.copied) << row.size;
    for (const uint32_t length : {0u, 2u, 99u}) {  // measured, given, past the array
      bytes = std::string("ab\0#####", 8);
      EXPECT_EQ(pkc_strncat(bytes.data(), row.size, length, "cd"), row.length) << row.size;
      EXPECT_EQ(bytes, row.appended) << row.size << ' ' << length;
    }
  }
  char text[] = "####";
  EXPECT_EQ(pkc_snprintf(text, 3, "%d", 12345), 5);
  EXPECT_STREQ(text, "12");
  EXPECT_EQ(pkc_strncasecmp("dnQualifier=a", "DNQUALIFIER=b", 12), 0);
  EXPECT_LT(pkc_strncasecmp("ou", "OUX", 9), 0);
  EXPECT_NE(pkc_strncasecmp("[\xC0", "{\xE0", 2), 0) << "only ASCII letters have a case";
}

}  // namespace
}  // namespace corvid::test
