// Identity values and identity data, against vectors/vid.json (made by a program of its own).
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

#include "pkc/extension_list.h"

namespace corvid::test {
namespace {

const nlohmann::json& Vectors(const char* group) {
  static const auto vectors =
      nlohmann::json::parse(ReadFile(std::string(CORVID_VECTORS_DIR) + "/vid.json"));
  return vectors.at(group);
}

std::string Text(const nlohmann::json& row, const char* field) { return row.at(field); }
Octets Field(const nlohmann::json& row, const char* field) { return Hex(Text(row, field)); }

int32_t HashId(const nlohmann::json& row) {
  static const std::map<std::string, int32_t> ids = {
      {"sha1", 3}, {"has160", 4}, {"sha256", 6}, {"sha384", 7}, {"sha512", 8}};
  return ids.at(row.at("hash"));
}

struct Identity {
  char name[256] = "#";
  uint32_t size = sizeof name;
  int32_t hash = -7;
  Output vid;
  uint32_t Decode(const Octets& der) {
    return CVD_PKC_IdentityData_Decode(name, &size, &hash, &vid, Input(der).bin());
  }
};

TEST(Vid, ComputedVerifiedEncodedAndReadBack) {
  const Options options("ko_KR-euc");
  for (const auto& row : Vectors("compute")) {
    SCOPED_TRACE(Text(row, "name"));
    const Input random(Field(row, "random"));
    const Input vid(Field(row, "vid"));
    const int32_t hash = HashId(row);
    const bool made = hash != CVD_HASH_HAS160;  // read and written, but not made
    const std::string idn = row.at("idn");
    Output computed;
    EXPECT_EQ(CVD_PKC_ComputeVID(&computed, hash, idn.c_str(), random.bin()), made ? 0U : 36013U);
    EXPECT_EQ(computed.octets(), made ? Field(row, "vid") : Octets{});
    const BIN cut{vid.bin()->length - 1, vid.bin()->data};
    const auto verify = [&](const BIN* given, const std::string& number) {
      return CVD_PKC_VerifyVID(given, hash, number.c_str(), random.bin());
    };
    EXPECT_EQ(verify(vid.bin(), idn), made ? 0U : 36013U);
    EXPECT_EQ(verify(&cut, idn), made ? 36052U : 36013U);
    EXPECT_EQ(verify(vid.bin(), idn + "0"), made ? 36052U : 36013U);
    const Octets euc = Field(row, "real_name_euc_kr");
    const std::string name(euc.begin(), euc.end());
    const auto length = static_cast<uint32_t>(name.size());
    Output der;
    EXPECT_EQ(CVD_PKC_SubAltName_Encode(&der, name.c_str(), length, hash, vid.bin()), 0U);
    EXPECT_EQ(der.octets(), Field(row, "general_names_der"));
    Identity identity;
    EXPECT_EQ(identity.Decode(Field(row, "identity_data_der")), 0U);
    EXPECT_EQ(std::string(identity.name, identity.size), name);
    EXPECT_EQ(identity.hash, hash);
    EXPECT_EQ(identity.vid.octets(), Field(row, "vid"));
  }
}

TEST(Vid, Refused) {
  CVD_Trace_Clear();
  Output none;
  for (const auto& row : Vectors("refuse")) {
    const Input random(Field(row, "random"));
    EXPECT_EQ(CVD_PKC_ComputeVID(&none, HashId(row), Text(row, "idn").c_str(), random.bin()),
              row.at("name") == "random-19" ? 36001U : 1020U);
  }
  EXPECT_EQ(TakeTrace(), "CVD_PKC_ComputeVID 36001\nCVD_PKC_ComputeVID 1020\n");
  const Input random(Octets(20, 1));
  EXPECT_EQ(CVD_PKC_VerifyVID(random.bin(), CVD_HASH_MD5, "1", random.bin()), 36013U);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_ComputeVID 36013\nCVD_PKC_VerifyVID 36013\n");
  EXPECT_EQ(CVD_PKC_SubAltName_Encode(&none, "a", 1, 5, random.bin()), 36013U);
  EXPECT_EQ(TakeTrace(),
            "CVD_PKC_VID_Encode 36013\nCVD_PKC_IdentityData_Encode 36013\n"
            "CVD_PKC_SubAltName_Encode 36013\n");
}

TEST(Vid, NamesAreStoredAsWholeCharacters) {
  const Options options("ja_JP-SJIS");
  const Input vid("0102");
  const std::tuple<const char*, uint32_t, const char*> rows[] = {
      {"unread", 0, ""},
      {"ab", 99, "ab"},
      {"\xB1", 1, ""},  // three octets of UTF-8, of which the size rule leaves one
      {"a\xB1\xB2", 3, "a\xEF\xBD\xB1"},
      {"a\xB1\xB2", 99, "a\xEF\xBD\xB1\xEF\xBD\xB2"},
  };
  for (const auto& [name, length, text] : rows) {
    Output der;
    EXPECT_EQ(CVD_PKC_SubAltName_Encode(&der, name, length, 3, vid.bin()), 0U);
    const std::string stored = ToHex(Der(0x0C, text)) + "30";
    EXPECT_NE(ToHex(der.octets()).find(stored), std::string::npos) << stored;
  }
  const Options utf8("ko_KR-UTF-8");
  Output none;
  EXPECT_EQ(CVD_PKC_SubAltName_Encode(&none, "\xEA", 1, 3, vid.bin()), 1020U);
  TakeTrace();
}

std::string DecodingTrace(uint32_t status) {
  const std::string code = " " + std::to_string(status) + "\n";
  return status == 0 ? "" : "CVD_PKC_VID_Decode" + code + "CVD_PKC_IdentityData_Decode" + code;
}

TEST(Vid, IdentityDataVectors) {
  const Options options("ko_KR-UTF-8");
  const std::map<std::string, uint32_t> statuses = {
      {"ok", 0}, {"ok, no VID", 0}, {"bad extension", 36033}, {"unknown hash", 36013}};
  for (const auto& row : Vectors("decode")) {
    SCOPED_TRACE(Text(row, "name"));
    const uint32_t status = statuses.at(row.at("expect"));
    const bool found = row.at("expect") == "ok";
    Identity identity;
    CVD_Trace_Clear();
    EXPECT_EQ(identity.Decode(Field(row, "identity_data_der")), status);
    EXPECT_STREQ(identity.name, "홍길동");
    EXPECT_EQ(identity.vid.octets(), found ? Field(Vectors("compute").at(1), "vid") : Octets{});
    EXPECT_TRUE(status != 0 || identity.hash == (found ? 6 : -7)) << identity.hash;
    EXPECT_EQ(TakeTrace(), DecodingTrace(status));
    identity.size = 0;
    EXPECT_EQ(identity.Decode(Field(row, "identity_data_der")), 36001u);
    EXPECT_EQ(TakeTrace(), "CVD_PKC_IdentityData_Decode 36001\n");
  }
  std::string no_oid = ToHex(Field(Vectors("decode").at(0), "identity_data_der"));
  no_oid.replace(no_oid.find("0609"), 2, "0D");
  Identity identity;
  EXPECT_EQ(identity.Decode(Hex(no_oid)), 36033u);
}

TEST(Vid, LookUpInACertificate) {
  const Options options("ko_KR-UTF-8");
  const Octets names = Field(Vectors("compute").at(1), "general_names_der");
  const Octets found = Sequence({Hex("820178"), Octets(names.begin() + 2, names.end())});
  const Octets name_alone =
      Sequence({Sequence({Oid("1.2.410.200004.10.1.1"), Hex("A00530030C0141")}, 0xA0)});
  const struct {
    const char* name;
    Octets extension;
    std::string texts;  // name, hash, VID
    uint32_t status = 0;
  } rows[] = {
      {"Found", Extension("2.5.29.17", found), "홍길동|SHA2|e0f5"},
      {"NameAlone", Extension("2.5.29.17", name_alone), "A||"},
      {"NoIdentityData", Extension("2.5.29.17", Hex("3003820178")), "#         |#    |#    ",
       36062},
      {"NoExtension", Extension("2.5.29.18", found), "#         |#    |#    ", 36061},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Certificate certificate(MakeCertificate({.extensions = {row.extension}}));
    char name[] = "#         ";
    char vid[] = "#    ";
    char hash[] = "#    ";
    EXPECT_EQ(CVD_GetVID(name, 10, vid, 5, hash, 5, certificate.extensions()), row.status);
    EXPECT_EQ(std::string(name) + "|" + hash + "|" + vid, row.texts);
    Identity info;
    CVD_Trace_Clear();
    EXPECT_EQ(CVD_PKC_GetVIDInfo(info.name, &info.size, &info.hash, &info.vid, certificate.get()),
              row.status);
    EXPECT_EQ(TakeTrace().ends_with("CVD_PKC_GetVIDInfo " + std::to_string(row.status) + "\n"),
              row.status != 0);
  }
  const Certificate alone(MakeCertificate({.extensions = {Extension("2.5.29.17", name_alone)}}));
  char name[] = "##";
  char vid[] = "##";
  char hash[] = "##";
  EXPECT_EQ(CVD_GetVID(name, 2, vid, 1, hash, 1, alone.extensions()), 0U);
  EXPECT_EQ(std::string(name) + vid + hash, "A");
}

}  // namespace
}  // namespace corvid::test
