// Certificate policies: what is shown of them, the repair of a refused encoding, and the encoder.
#include <gtest/gtest.h>

#include <tuple>

#include "pkc/extension_list.h"

namespace corvid::test {
namespace {

// A PolicyInformation; without qualifiers the field is left out.
Octets Policy(const std::string& oid, const Octets& qualifiers = {}) {
  return Sequence({Oid(oid), qualifiers.empty() ? Octets{} : Der(0x30, qualifiers)});
}
Octets Cps(const std::string& uri, uint8_t tag = 0x16) {
  return Sequence({Oid("1.3.6.1.5.5.7.2.1"), Der(tag, uri)});
}
Octets Notice(const Octets& content) {
  return Sequence({Oid("1.3.6.1.5.5.7.2.2"), Der(0x30, content)});
}
Octets Notice(const char* hex) { return Notice(Hex(hex)); }

const std::string kLongUri(250, 'u');
const std::string kLongOid = "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18.19";

TEST(Policies, Rendered) {
  const Octets empty = Sequence({Oid("1.2.48"), Hex("3000")});  // policyQualifiers of no element
  const Octets long_text = Notice(Der(0x1A, kLongUri));
  const auto one = [](const Octets& qualifiers) { return Policy("1.2", qualifiers); };
  const struct {
    const char* name;
    Octets policies;
    int32_t count;     // -1: refused
    std::string text;  // identifiers, CPS, notices
  } rows[] = {
      {"Two", Join({one(Join({Cps("c"), Notice("0C0174")})), one(Cps("d"))}), 2, "1.2,1.2|c\nd|t"},
      {"EmptyPointerAsksForNoLineFeed", Join({one(Cps("")), one(Cps("d"))}), 2, "1.2,1.2|d|"},
      {"LastQualifierOfAKind", one(Join({Cps("c"), Cps("d")})), 1, "1.2|d|"},
      {"LongPointer", one(Cps(kLongUri)), 1, "1.2|" + kLongUri.substr(0, 199) + "|"},
      {"PointerWithNul", one(Cps({"a\0b", 3})), 1, "1.2|a|"},
      {"LongIdentifier", Policy(kLongOid), 1, kLongOid.substr(0, 39) + "||"},
      {"ReferenceOnly", one(Notice("3003 0C0141")), 1, "1.2||"},
      {"ReferenceAndText", one(Notice("308103 0C0141 1E020042")), 1, "1.2||B"},
      {"Ia5TextIsNone", one(Notice("160174")), 1, "1.2||"},
      {"LongText", one(long_text), 1, "1.2||" + kLongUri.substr(0, 199)},
      {"Eleven", Repeat(Policy("1.2"), 11), 11, "1.2,1.2,1.2,1.2,1.2,1.2,1.2,1.2,1.2,1.2||"},
      {"EmptyQualifiers", empty, 1, "1.2.48||"},
      {"EmptyAfterOthers", Join({one(Cps("c")), Policy("1.2.3.48.5"), empty}), 3,
       "1.2,1.2.3.48.5,1.2.48||"},
      {"Utf8Pointer", Join({one(Cps("c")), one(Cps("c", 0x0C))}), -1, "||"},
      {"EmptyText", one(Notice("0C00")), -1, "||"},
      {"TextNotOfTheSet", one(Notice("0C04F09F9880")), -1, "||"},
      {"EmptyAfterLongForm", Join({one(Cps(kLongUri)), empty}), -1, "||"},
      {"EmptyAfterLengthPastTheEnd", Hex("3020 06022A03 3000"), -1, "||"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ExtensionList list(CVD_OID_CERTIFICATE_POLICIES, Der(0x30, row.policies));
    int32_t count = -1;
    char policies[1024] = "";
    char cps[201] = "";
    char notice[201] = "";
    CVD_Trace_Clear();
    EXPECT_EQ(
        CVD_PKC_CertPolicies_ToString(&count, policies, 1024, cps, 201, notice, 201, list.get()),
        row.count < 0 ? 36037U : 0U);
    EXPECT_EQ(count, row.count);
    EXPECT_EQ(std::string(policies) + "|" + cps + "|" + notice, row.text);
    EXPECT_EQ(TakeTrace(), row.count >= 0 ? ""
                                          : "CVD_PKC_CertPolicies_Decode 36037\n"
                                            "CVD_PKC_CertPolicies_ToString 36037\n");
  }
}

TEST(Policies, TextsAreAppendedToWithinTheirArrays) {
  ExtensionList list(
      CVD_OID_CERTIFICATE_POLICIES,
      Sequence({Policy("1.2.3", Join({Cps("c1"), Notice("0C0174")})), Policy("1.2.4", Cps("c2"))}));
  int32_t count = 0;
  char policies[1024] = "0.1";
  char qualifiers[201] = "";
  EXPECT_EQ(CVD_GetPolicy(nullptr, list.get(), &count, policies, qualifiers), 0U);
  EXPECT_STREQ(policies, "0.1,1.2.3,1.2.4");
  EXPECT_STREQ(qualifiers, "c1t\nc2") << "pointers and notices share the array";

  char small[] = "ab\0#####";
  char cps[] = "x\0######";
  char notice[] = "yyy#####";  // not terminated within its capacity
  EXPECT_EQ(CVD_PKC_CertPolicies_ToString(&count, small, 6, cps, 4, notice, 3, list.get()), 0U);
  EXPECT_EQ(std::string(small, 8), std::string("ab,1.\0##", 8));
  EXPECT_EQ(std::string(cps, 8), std::string("xc1\0####", 8));
  EXPECT_EQ(std::string(notice, 8), std::string("yy\0#####", 8));
}

TEST(Policies, Encoded) {
  const std::string syllables = Repeat(500, "\xB0\xA1");
  // 3 octets of UTF-8 each, of which the record holds 1199.
  const Octets stored = Notice(Der(0x0C, Repeat(399, "\xEA\xB0\x80")));
  const std::tuple<const char*, const char*, uint32_t, Octets> rows[] = {
      {nullptr, nullptr, 0, {}},
      {"u", nullptr, 0, Cps("u")},
      {nullptr, syllables.c_str(), 1000, stored},
      {"u", "text", 3, Join({Cps("u"), Notice("0C03746578")})},
      {"", "", 0, Join({Cps(""), Notice("0C00")})},
  };
  for (const auto& [cps, notice, length, qualifiers] : rows) {
    Output der;
    EXPECT_EQ(CVD_PKC_CertPolicies_Encode(&der, "1.2", cps, 9, notice, length), 0U);
    EXPECT_EQ(der.octets(), Sequence({Policy("1.2", qualifiers)}));
  }
  CVD_Trace_Clear();
  Output none;
  EXPECT_EQ(CVD_PKC_CertPolicies_Encode(&none, "1.x", nullptr, 0, nullptr, 0), 1017U);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_CertPolicies_Encode 1017\n");
}

}  // namespace
}  // namespace corvid::test
