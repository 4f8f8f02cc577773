// Object identifiers as text and back; times as seconds and back.
#include <gtest/gtest.h>

#include <cstring>

#include "support/support.h"

namespace corvid::test {
namespace {

std::string Dotted(const Octets& octets) {
  const CVD_OID oid{static_cast<uint16_t>(octets.size()), octets.data()};
  char* text = nullptr;
  const uint32_t status = CVD_ASN_OID2DotVal(&text, &oid);
  std::string dotted = status == 0 ? text : std::to_string(status);
  CVD_free(text);

  // The same in the caller's memory, as little as will do.
  std::vector<char> area(4 * octets.size() + 4);
  auto count = static_cast<uint32_t>(area.size());
  EXPECT_EQ(CVD_ASN_OID2DotValInto(area.data(), &count, &oid), status);
  EXPECT_TRUE(status != 0 || dotted == area.data());
  EXPECT_TRUE(status != 0 || count == dotted.size());
  count = static_cast<uint32_t>(area.size()) - 1;
  EXPECT_EQ(CVD_ASN_OID2DotValInto(area.data(), &count, &oid), uint32_t{CVD_ASN_ERR_INVALID_INPUT});
  return dotted;
}

std::string Parsed(const char* text) {
  CVD_OID oid{0, nullptr};
  const uint32_t status = CVD_ASN_DotVal2OID(&oid, text);
  std::string hex =
      status == 0 ? ToHex(Octets(oid.data, oid.data + oid.length)) : std::to_string(status);
  CVD_ASN_ResetOID(&oid);
  EXPECT_EQ(oid.data, nullptr);
  return hex;
}

TEST(ObjectIdentifier, TextAndOctetsAgree) {
  const std::pair<const char*, const char*> rows[] = {
      {"0.0", "00"},
      {"1.0", "28"},
      {"1.39", "4f"},
      {"2.0", "50"},
      {"2.48", "8100"},
      {"1.2.840.113549.1.1.11", "2a864886f70d01010b"},
      {"1.2.18446744073709551615", "2a81ffffffffffffffff7f"},
      {"2.18446744073709551615", "8280808080808080804f"},
  };
  for (const auto& [dotted, octets] : rows) {
    EXPECT_EQ(Parsed(dotted), octets) << dotted;
    EXPECT_EQ(Dotted(Hex(octets)), dotted);
  }
}

TEST(ObjectIdentifier, WidestSubidentifierThatHasAText) {
  // 2^128 - 1 (a UUID of X.667), and one bit more.
  const Octets widest = Join({Hex("69 83"), Octets(17, 0xFF), Hex("7F")});
  EXPECT_EQ(Dotted(widest), "2.25.340282366920938463463374607431768211455");
  EXPECT_EQ(Dotted(Join({Hex("69 87"), Octets(17, 0xFF), Hex("7F")})), "1017");
  EXPECT_EQ(Dotted({}), "1001");
  EXPECT_EQ(Dotted(Hex("2A 80 01")), "1017");
  EXPECT_EQ(Dotted(Hex("2A 81")), "1017");
  for (size_t length = 3; length < 40; ++length) {
    for (size_t at = 1; at + 1 < length; ++at) {
      Octets padded(length, 0x01);
      padded[at] = 0x80;
      EXPECT_EQ(Dotted(padded), "1017") << length << ' ' << at;
    }
  }
}

TEST(ObjectIdentifier, RefusesWhatIsNoDottedText) {
  for (const char* text : {"", "1", "1.", ".1", "1..2", "1.2.", "3.1", "0.40", "1.40", "1.2.a",
                           "-1.2", " 1.2", "1.2 ", "1.2.18446744073709551616", "1,2"}) {
    EXPECT_EQ(Parsed(text), "1017") << text;
  }
  const std::string longest = "1.2" + Repeat(65534, ".1");  // that a record can hold
  EXPECT_EQ(Parsed(longest.c_str()), "2a" + Repeat(65534, "01"));
  EXPECT_EQ(Parsed((longest + ".1").c_str()), "1017");
}

TEST(ObjectIdentifier, CatalogueIsFoundByNumber) {
  for (const int32_t number : {INT32_MIN, -1, 0, 10, 14, 361, INT32_MAX}) {
    EXPECT_EQ(CVD_ASN_GetOID(number), nullptr) << number;
  }
  const CVD_OID* older = CVD_ASN_GetOID(91);
  EXPECT_EQ(Dotted(Octets(older->data, older->data + older->length)), "1.2.840.113549.1.9.1");
  EXPECT_EQ(CVD_ASN_CmpOID(older, CVD_ASN_GetOID(92)), 0) << "read and written address are one";
  EXPECT_NE(CVD_ASN_CmpOID(older, CVD_ASN_GetOID(93)), 0);
}

TEST(Time, FieldsAndSecondsAgree) {
  const struct {
    CVD_TimeFields fields;  // the full year
    int64_t seconds;        // date -u -d ... +%s
  } rows[] = {
      {{1969, 12, 31, 23, 59, 59, {}}, -1},
      {{2000, 2, 29, 12, 0, 0, {}}, 951825600},
      {{2038, 1, 19, 3, 14, 8, {}}, 2147483648},
      {{2049, 12, 31, 23, 59, 59, {}}, 2524607999},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(CVD_ASN_General2Time(&row.fields), row.seconds);
    CVD_TimeFields utc = row.fields;
    utc.year = static_cast<int16_t>(utc.year % 100);
    EXPECT_EQ(CVD_ASN_UTC2Time(&utc), row.seconds);
    CVD_TimeFields back;
    CVD_ASN_Time2UTC(&back, row.seconds);
    EXPECT_EQ(std::memcmp(&back, &utc, sizeof utc), 0) << row.seconds;
  }
  for (int64_t noon = -631108800; noon < 2524608000; noon += 86400) {  // 1950 to 2049
    CVD_TimeFields fields;
    CVD_ASN_Time2UTC(&fields, noon);
    ASSERT_EQ(CVD_ASN_UTC2Time(&fields), noon);
  }
  const CVD_TimeFields last{9999, 12, 31, 23, 59, 59, {}};
  const CVD_TimeFields first{0, 1, 1, 0, 0, 0, {}};
  EXPECT_EQ(CVD_ASN_General2Time(&last), 253402300799);
  EXPECT_EQ(CVD_ASN_General2Time(&first), -62167219200);
  EXPECT_EQ(CVD_ASN_General2Time(nullptr), 0);
  EXPECT_EQ(CVD_ASN_UTC2Time(nullptr), 0);
  CVD_ASN_Time2UTC(nullptr, 0);
}

}  // namespace
}  // namespace corvid::test
