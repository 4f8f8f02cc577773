// Key identifiers: read, rendered, made from keys, encoded.
#include <gtest/gtest.h>

#include "pkc/extension_list.h"

namespace corvid::test {
namespace {

const struct Kind {
  int32_t oid;
  std::string name;
  uint32_t (*decode)(BIN*, const BIN*);
  uint32_t (*to_string)(char*, int32_t, const CVD_ExtensionNode*);
} kSubject{127, "CVD_PKC_SubKeyId", CVD_PKC_SubKeyId_Decode, CVD_PKC_SubKeyId_ToString},
    kAuthority{126, "CVD_PKC_AuthKeyId", CVD_PKC_AuthKeyId_Decode, CVD_PKC_AuthKeyId_ToString};

TEST(KeyIdentifiers, DecodedAndRendered) {
  const struct {
    const char* name;
    const Kind& kind;
    const char* der;
    std::string id;       // "" when there is none
    uint32_t status = 0;  // of the decoder
    uint32_t rendered = 0;
  } rows[] = {
      {"Subject", kSubject, "0403 0A0B0C", "0a0b0c"},
      {"LongFormAndOctetsAfterIt", kSubject, "04820001 0A 0B", "0a"},
      {"NoOctets", kSubject, "0400", "", 0, 36001},
      {"OtherTag", kSubject, "0301 0A", "", 36035, 36035},
      {"PastTheEnd", kSubject, "0402 0A", "", 36035, 36035},
      {"Authority", kAuthority, "308104 8002 0A0B", "0a0b"},
      {"SerialOnly", kAuthority, "3003 820101", ""},
      {"ElementPassesSequence", kAuthority, "3003 8002 0A0B", "0a0b"},
      {"HeaderPassesSequence", kAuthority, "3001 8002 0A0B", "", 36034, 36034},
      {"EmptySequence", kAuthority, "3000 8001 0A", "", 36034, 36034},
      {"ElementPastTheEnd", kAuthority, "3004 8003 0A0B", "", 36034, 36034},
      {"SequencePastTheEnd", kAuthority, "3005 8002 0A0B", "", 36034, 36034},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    CVD_Trace_Clear();
    Output id;
    EXPECT_EQ(row.kind.decode(&id, Input(row.der).bin()), row.status);
    EXPECT_EQ(ToHex(id.octets()), row.id);
    const auto line = [&](const char* function, uint32_t status) {
      return status == 0 ? "" : row.kind.name + function + std::to_string(status) + "\n";
    };
    EXPECT_EQ(TakeTrace(), line("_Decode ", row.status));
    ExtensionList list(row.kind.oid, Hex(row.der));
    char text[80] = "#";
    EXPECT_EQ(row.kind.to_string(text, sizeof text, list.get()), row.rendered);
    EXPECT_EQ(text, row.id.empty() ? "#" : row.id);
    EXPECT_EQ(TakeTrace(), line("_Decode ", row.status) + line("_ToString ", row.rendered));
  }
}

TEST(KeyIdentifiers, RenderersRefuse) {
  for (const Kind& kind : {kSubject, kAuthority}) {
    ExtensionList list(kind.oid, Hex(kind.oid == 127 ? "0402AABB" : "30048002AABB"));
    ExtensionList other(CVD_OID_KEY_USAGE, Hex("0402AABB"));
    char text[8] = "#";
    CVD_Trace_Clear();
    EXPECT_EQ(kind.to_string(text, 1, list.get()), 36001U);
    EXPECT_EQ(TakeTrace(), "");
    EXPECT_EQ(kind.to_string(text, 2, list.get()), 36001U);
    EXPECT_EQ(kind.to_string(text, 8, other.get()), 36061U);
    EXPECT_EQ(TakeTrace(), kind.name + "_ToString 36001\n" + kind.name + "_ToString 36061\n");
    EXPECT_EQ(kind.to_string(text, 4, list.get()), 0U);
    EXPECT_STREQ(text, "aa");
  }
  ExtensionList longer(kSubject.oid, Der(0x04, Octets(40, 0xAA)));
  std::string text(81, '#');
  EXPECT_EQ(CVD_GetSubjectKeyId(nullptr, longer.get(), text.data()), 0U);
  EXPECT_EQ(text.substr(78), std::string("\0##", 3)) << "whole octets in 80 bytes";
}

TEST(KeyIdentifiers, MadeFromTheKeyUnlessCarried) {
  const std::string sha1 = "a9993e364706816aba3e25717850c26c9cd0d89d";  // of "abc", FIPS 180-4
  const Input key(OctetsOf("abc"));
  Output subject;
  Output authority;
  EXPECT_EQ(CVD_PKC_SubKeyId_Encode(&subject, key.bin()), 0U);
  EXPECT_EQ(CVD_PKC_AuthKeyId_Encode(&authority, key.bin()), 0U);
  EXPECT_EQ(ToHex(subject.octets()), "0414" + sha1);
  EXPECT_EQ(ToHex(authority.octets()), "30168014" + sha1);

  const Octets spki = Spki("1.2.840.113549.1.1.1", {}, OctetsOf("abc"));
  const auto carrying = [](const char* id) {
    return MakeCertificate({.extensions = {Extension("2.5.29.14", Hex(id))}});
  };
  const Input computed(MakeCertificate({.spki = spki}));
  const Input carried(carrying("0402AABB"));
  const Input malformed(carrying("0409AABB"));
  for (const auto function : {CVD_GenSubjectKeyID, CVD_GetSubjectKeyID, CVD_GetSubjectKeyIDBin}) {
    Output of_key;
    Output of_extension;
    Output none;
    EXPECT_EQ(function(nullptr, computed.bin(), &of_key), 0U);
    EXPECT_EQ(function(nullptr, carried.bin(), &of_extension), 0U);
    EXPECT_EQ(ToHex(of_key.octets()) + ToHex(of_extension.octets()), sha1 + "aabb");
    CVD_Trace_Clear();
    EXPECT_EQ(function(nullptr, malformed.bin(), &none), 36035U);
    EXPECT_EQ(none.data, nullptr);
  }
  EXPECT_EQ(TakeTrace(),
            "CVD_PKC_SubKeyId_Decode 36035\nCVD_GetSubjectKeyIDv 36035\n"
            "CVD_GetSubjectKeyID 36035\nCVD_GetSubjectKeyIDBin 36035\n");
}

}  // namespace
}  // namespace corvid::test
