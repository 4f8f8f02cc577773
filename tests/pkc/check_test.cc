// Signature algorithms told from certificates, PEM input, and the hash of a VID.
#include <gtest/gtest.h>

#include "support/support.h"

namespace corvid::test {
namespace {

TEST(Numbering, OlderIdentifiersAreReadAndNewerWritten) {
  for (const int32_t id : {1, 2, 3, 4, 5, 6, 15, 21, 22, 27}) {
    EXPECT_EQ(CVD_PKC_ObjID_To_SignID(CVD_PKC_SignID_To_ObjID(static_cast<uint32_t>(id))), id);
  }
  for (const int32_t id : {1, 2, 3, 4, 6, 7, 8}) {
    EXPECT_EQ(CVD_PKC_ObjID_To_HashID(CVD_PKC_HashID_To_ObjID(static_cast<uint32_t>(id))), id);
  }
  for (const int32_t unknown : {-1, 0, 9, 12, 14, 16, 28, 255}) {
    EXPECT_EQ(CVD_PKC_SignID_To_HashID(unknown), -1);
    const auto number = static_cast<uint32_t>(unknown);
    EXPECT_EQ(CVD_PKC_SignID_To_PkeyID(number), -1);
    EXPECT_EQ(CVD_PKC_SignID_To_ObjID(number), nullptr);
    EXPECT_EQ(CVD_PKC_PkeyID_To_ObjID(number), nullptr);
    EXPECT_EQ(CVD_PKC_HashID_To_ObjID(number), nullptr);
  }
  EXPECT_EQ(CVD_PKC_HashID_To_ObjID(5), nullptr);
  EXPECT_EQ(CVD_PKC_ObjID_To_HashID(CVD_ASN_GetOID(CVD_OID_KEY_USAGE)), -1);
  EXPECT_EQ(CVD_PKC_ObjID_To_SignID(CVD_ASN_GetOID(CVD_OID_KCDSA_WITH_SHA1_OLD)), 21);
  EXPECT_EQ(CVD_PKC_SignID_To_ObjID(21), CVD_ASN_GetOID(CVD_OID_KCDSA_WITH_SHA1));
  EXPECT_EQ(CVD_PKC_ObjID_To_PkeyID(CVD_ASN_GetOID(CVD_OID_KCDSA_OLD)), CVD_PKEY_KCDSA);
  EXPECT_EQ(CVD_PKC_PkeyID_To_ObjID(CVD_PKEY_KCDSA), CVD_ASN_GetOID(CVD_OID_KCDSA));
  const CVD_OID empty{0, CVD_ASN_GetOID(CVD_OID_DSA)->data};
  EXPECT_EQ(CVD_PKC_ObjID_To_SignID(&empty), -1) << "no row's missing older identifier";
  EXPECT_EQ(CVD_PKC_ObjID_To_PkeyID(&empty), -1);
}

TEST(AlgorithmQuery, LooksAtTheSignatureThenAtTheKey) {
  const std::string rsa = "1.2.840.113549.1.1.";
  const std::string kcdsa = "1.2.410.200004.1.";
  const struct {
    std::string signature, key;
    uint32_t hashID, signID;
  } rows[] = {
      {rsa + "5", rsa + "1", 3, 3},        {rsa + "11", rsa + "1", 6, 4},
      {rsa + "13", rsa + "1", 3, 6},  // the hash query knows SHA-1 and SHA-256 with RSA
      {rsa + "4", rsa + "1", 3, 3},        {"1.2.840.10040.4.3", "1.2.840.10040.4.1", 3, 3},
      {kcdsa + "9", kcdsa + "1", 3, 21},   {kcdsa + "8", kcdsa + "1", 4, 22},
      {kcdsa + "38", kcdsa + "21", 6, 27}, {rsa + "4", kcdsa + "22", 4, 22},  // only the key tells
      {kcdsa + "22", kcdsa + "23", 4, 22},  // the signature goes first
      {rsa + "11", kcdsa + "23", 3, 4},
  };
  for (const auto& row : rows) {
    const Octets spki = Spki(row.key, Hex("0500"), Hex("020105"));
    const Input der(MakeCertificate({.signature_oid = row.signature, .spki = spki}));
    uint32_t hashID = 99;
    uint32_t signID = 99;
    EXPECT_EQ(CVD_PKC_GetHashAlg(&hashID, der.bin()), 0u);
    EXPECT_EQ(CVD_PKC_GetSignAlg(&signID, der.bin()), 0u);
    EXPECT_EQ(hashID, row.hashID) << row.signature << ' ' << row.key;
    EXPECT_EQ(signID, row.signID) << row.signature << ' ' << row.key;
  }
}

TEST(AlgorithmQuery, ReadsPemOrTracesWhyNot) {
  const std::string body = Base64(MakeCertificate({}));
  const std::string head = body.substr(0, 64);
  const std::string rest = body.substr(64);
  const struct {
    std::string input;
    int32_t status;
    const char* trace = "";
  } rows[] = {
      {"-----BEGIN X-----\n" + head + "\n" + rest + "\n-----END X-----\n", 0},
      {"-----BEGIN X-----\r\n" + head + "\r\n" + rest + "\r\n-----END X-----", 0},
      {"-----BEGIN\n" + head + " \t" + rest + "-!", 0},
      {"-----BEGIN\n" + body, 0},
      {"-----BEGIN", -1, "CVD_PKC_GetSignAlg -1\n"},
      {"-----BEGIN\nA: b\n" + body, 3007, "CVD_PKC_DecodePEM 3007\nCVD_PKC_GetSignAlg 3007\n"},
      {"-----BEGI", CVD_ASN_ERR_TAG, "CVD_PKC_GetSignAlg 1012\n"},
  };
  for (const auto& row : rows) {
    uint32_t signID = 99;
    CVD_Trace_Clear();
    EXPECT_EQ(CVD_PKC_GetSignAlg(&signID, Input(OctetsOf(row.input)).bin()),
              static_cast<uint32_t>(row.status));
    EXPECT_EQ(signID, row.status == 0 ? 4u : 99u) << row.input;
    EXPECT_EQ(TakeTrace(), row.trace);
  }
}

TEST(VidHash, IsThatOfTheCertificate) {
  Output value;
  const Input vid(Octets(32, 0x5A));
  ASSERT_EQ(CVD_PKC_SubAltName_Encode(&value, "Name", 4, CVD_HASH_SHA256, vid.bin()), 0u);
  const Input der(MakeCertificate({.extensions = {Extension("2.5.29.17", value.octets())}}));
  int32_t hashID = 99;
  CVD_Trace_Clear();
  EXPECT_EQ(CVD_PKC_GetVIDHashAlg(&hashID, der.bin()), 0u);
  EXPECT_EQ(hashID, CVD_HASH_SHA256);
  EXPECT_EQ(CVD_PKC_GetVIDHashAlg(&hashID, Input(MakeCertificate({})).bin()), 36061u);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_GetVIDInfo 36061\nCVD_PKC_GetVIDHashAlg 36061\n");
}

}  // namespace
}  // namespace corvid::test
