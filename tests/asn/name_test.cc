// Comparing names (RFC 5280 section 7.1).
#include <gtest/gtest.h>

#include "support/support.h"

namespace corvid::test {
namespace {

bool Same(const Octets& a, const Octets& b) {
  const Certificate names(MakeCertificate({.issuer = a, .subject = b}));
  const CVD_Name* left = &names->tbsCertificate.issuer;
  const CVD_Name* right = &names->tbsCertificate.subject;
  EXPECT_EQ(CVD_ASN_CmpName(left, right), CVD_ASN_CmpName(right, left));
  return CVD_ASN_CmpName(left, right) == 0;
}

TEST(NameComparison, OfOneValue) {
  const struct {
    const char* name;
    uint8_t left_tag;
    std::string left;
    uint8_t right_tag;
    std::string right;
    bool same;
  } rows[] = {
      {"Case", 0x13, "AZ Ltd", 0x0C, "az lTD", true},
      {"BlanksAround", 0x13, "  Org ", 0x13, "Org", true},
      {"BlanksWithin", 0x13, "My   Org", 0x0C, "My Org", true},
      {"NoBlankIsAnother", 0x13, "My Org", 0x13, "MyOrg", false},
      {"Shorter", 0x13, "Org", 0x13, "Organ", false},
      {"OnlyBlanks", 0x13, "   ", 0x13, "", true},
      {"BmpAgainstUtf8", 0x1E, std::string("\xAC\x00\0A", 4), 0x0C, "가a", true},
      {"UniversalAgainstUtf8", 0x1C, std::string("\0\0\xAC\x00", 4), 0x0C, "가", true},
      {"NoCharacterEndsNothing", 0x1C, std::string("\xFF\xFF\xFF\xFF\0\0\0a", 8), 0x1C,
       std::string("\xFF\xFF\xFF\xFF\0\0\0b", 8), false},
      {"OddBmp", 0x1E, "A", 0x13, "A", false},
      {"InvalidUtf8IsItselfOnly", 0x0C, "\xEA\xB0", 0x0C, "\xEA\xB0", true},
      {"InvalidUtf8", 0x0C, "\xEA\xB0", 0x13, "\xEA\xB0", false},
      {"NulIsACharacter", 0x0C, std::string("a\0b", 3), 0x0C, "a", false},
      {"NoStrings", 0x02, "\x01", 0x0C, "\x01", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Same(Name({{"2.5.4.10", Der(row.left_tag, row.left)}}),
                   Name({{"2.5.4.10", Der(row.right_tag, row.right)}})),
              row.same)
        << row.name;
  }
}

TEST(NameComparison, OfRdnsAndTheirAttributes) {
  const auto attribute = [](const char* type, const char* value) {
    return Sequence({Oid(type), Der(0x0C, value)});
  };
  const Octets a = attribute("2.5.4.3", "a");
  const Octets b = attribute("2.5.4.11", "b");
  const Octets upper = attribute("2.5.4.3", "A");
  const auto rdn = [](std::initializer_list<Octets> attributes) {
    return Sequence(attributes, 0x31);
  };
  EXPECT_TRUE(Same(Sequence({rdn({a, b})}), Sequence({rdn({b, upper})}))) << "a SET has no order";
  EXPECT_FALSE(Same(Sequence({rdn({a, a})}), Sequence({rdn({a, b})})));
  EXPECT_FALSE(Same(Sequence({rdn({a, b})}), Sequence({rdn({a, a})})));
  EXPECT_FALSE(Same(Sequence({rdn({a}), rdn({b})}), Sequence({rdn({b}), rdn({a})})));
  EXPECT_FALSE(Same(Sequence({rdn({a}), rdn({b})}), Sequence({rdn({a, b})})));
  EXPECT_FALSE(Same(Sequence({rdn({a})}), Sequence({rdn({a}), rdn({})})));
  EXPECT_TRUE(Same(Sequence({}), Sequence({})));
  EXPECT_FALSE(Same(Sequence({rdn({a})}), Sequence({rdn({attribute("2.5.4.11", "a")})})));
  for (const size_t count : {size_t{32}, size_t{33}}) {  // in any order, and too many for that
    Octets forwards;
    Octets backwards;
    for (size_t i = 0; i < count; ++i) {
      forwards = Join({forwards, attribute("2.5.4.3", std::to_string(i).c_str())});
      backwards = Join({attribute("2.5.4.3", std::to_string(i).c_str()), backwards});
    }
    EXPECT_EQ(Same(Der(0x30, Der(0x31, forwards)), Der(0x30, Der(0x31, backwards))), count == 32);
  }
  const CVD_Name released{0, 0, nullptr};
  EXPECT_NE(CVD_ASN_CmpName(&released, &released), 0);
  CVD_AttributeTypeAndValueNode node{nullptr, *CVD_ASN_GetOID(CVD_OID_VID), {3, nullptr}};
  CVD_RDNSequenceNode list{nullptr, &node};
  const CVD_Name hollow{CVD_NAME_RDN_SEQUENCE, 1, &list};
  EXPECT_NE(CVD_ASN_CmpName(&hollow, &hollow), 0) << "a length without octets";
}

}  // namespace
}  // namespace corvid::test
