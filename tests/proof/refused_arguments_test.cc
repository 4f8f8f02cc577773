// Every exported function with arguments that no caller may give: it refuses them at the door, with
// the code for it, writes nothing and leaves no trace.
#include <gtest/gtest.h>

#include <set>

#include "proof/operations.h"

namespace corvid::test {
namespace {

TEST(RefusedArguments, AreRefusedAtTheDoor) {
  const Options options("ko_KR-euc");
  const Sample sample(RichInputs());
  std::set<std::string> documented = {
      // Results that need not be asked for, and what may be left out.
      "CVD_CSP_GetPublicKey 2 null: 0, written",
      "CVD_PKC_GetPubKeyInfo 1 null: 0, written",
      "CVD_GetSubPubKeyInfo 1 null: 0, written",
      "CVD_GetSubPubKeyInfo 2 null: 0, written",
      "CVD_PKC_NSCertType_ToString 2 null: 0, written",
      "CVD_PKC_KeyUsage_ToString 2 null: 0, written",
      "CVD_PKC_ExtKeyUsage_ToString 2 null: 0, written",
      "CVD_PKC_AltName_ToString 2 null: 0, written",
      "CVD_PKC_AltName_ToString 4 null: 0, written",
      "CVD_PKC_AltName_ToString 6 null: 0, written",
      "CVD_PKC_CertPolicies_Encode 2 null: 0, written",
      "CVD_PKC_CertPolicies_Encode 4 null: 0, written",
      "CVD_ASN_DecodePDUInto 3 null: 0, written",
      "CVD_PKC_BIN_ToHex 2 negative: 0",
      // Parameters are not read before they are encoded.
      "CVD_PKC_AsnSubPubKeyInfo_Encode 2 nowhere: 0",
      "CVD_PKC_AsnSubPubKeyInfo_Encode 2 negative: 0",
      // Refused with another code.
      "CVD_CSP_GetKeyLength 3 null: 6020",
      "CVD_CSP_LoadPrivateKey 2 null: 6032",
      "CVD_GetAttrTypeAndValue 2 null: 36032",
      "CVD_GetAttrTypeAndValue 3 null: 36032",
      // Traced, too.
      "CVD_GetPolicy 1 null: 36001, traced",
      "CVD_PKC_CertPolicies_ToString 7 null: 36001, traced",
      "CVD_PKC_Cert_Encode 4 null: 36012, traced",
      "CVD_PKC_GenCertificate 9 null: 36001, traced",
      "CVD_PKC_GetHashAlg 1 null: 36001, traced",
      "CVD_PKC_GetSignAlg 1 null: 36001, traced",
      "CVD_PKC_GetVIDHashAlg 0 null: 36001, traced",
      "CVD_PKC_GetVIDHashAlg 1 null: 36001, traced",
      // Texts that are written one after another: what was written before a failure stays.
      "CVD_GetVID 3 no room: 36001, written",
      "CVD_GetVID 5 no room: 0, written",
      "CVD_PKC_AltName_ToString 3 no room: 36001, written",
      "CVD_PKC_AltName_ToString 5 no room: 36001, written",
      "CVD_PKC_AltName_ToString 7 no room: 36001, written",
  };
  for (const std::string& call : RefuseArguments(sample)) {
    EXPECT_EQ(documented.erase(call), 1u) << call;
  }
  EXPECT_EQ(documented, std::set<std::string>());
}

TEST(RefusedArguments, AreAnsweredWithoutAStatus) {
  const char* const null = nullptr;
  char text[] = "text";
  char* position = nullptr;
  struct tm fields;
  const int64_t time = 0;
  EXPECT_EQ(pkc_strncpy(nullptr, text, 4), nullptr);
  EXPECT_EQ(pkc_strncpy(text, null, 4), text);
  EXPECT_EQ(pkc_strncat(nullptr, 4, 0, text), 0u);
  EXPECT_EQ(pkc_strncat(text, sizeof text, 0, null), 4u);
  EXPECT_EQ(pkc_snprintf(nullptr, 4, "%s", text), 0);
  EXPECT_EQ(pkc_strtok(text, null, &position), nullptr);
  EXPECT_EQ(pkc_strtok(text, ",", nullptr), nullptr);
  EXPECT_EQ(pkc_strtok(nullptr, ",", &position), nullptr);
  EXPECT_LT(pkc_strncasecmp(null, "", 1), 0);
  EXPECT_GT(pkc_strncasecmp("", null, 1), 0);
  EXPECT_EQ(pkc_localtime(nullptr, &fields), nullptr);
  EXPECT_EQ(pkc_localtime(&time, nullptr), nullptr);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(CVD_PKC_StrBuf_GetString(nullptr), nullptr);
  EXPECT_EQ(CVD_PKC_StrBuf_GetLength(nullptr), 0u);
  EXPECT_EQ(CVD_PKC_GetOption(nullptr), nullptr);
  EXPECT_EQ(CVD_GetExtension(nullptr, nullptr), nullptr);
  for (const CVD_OID& oid : {CVD_OID{0, nullptr}, CVD_OID{3, nullptr}}) {
    EXPECT_LT(CVD_PKC_ObjID_To_SignID(&oid), 0);
    EXPECT_LT(CVD_PKC_ObjID_To_PkeyID(&oid), 0);
    EXPECT_LT(CVD_PKC_ObjID_To_HashID(&oid), 0);
    EXPECT_NE(CVD_ASN_CmpOID(&oid, CVD_ASN_GetOID(CVD_OID_VID)), 0);
  }
  EXPECT_LT(CVD_PKC_ObjID_To_SignID(nullptr) + CVD_PKC_ObjID_To_PkeyID(nullptr), -1);
  EXPECT_LT(CVD_PKC_ObjID_To_HashID(nullptr), 0);
  EXPECT_NE(CVD_ASN_CmpOID(nullptr, CVD_ASN_GetOID(CVD_OID_VID)), 0);
}

}  // namespace
}  // namespace corvid::test
