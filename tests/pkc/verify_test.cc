// The checks of a certificate: time, signature, revocation, CA, usage.
#include <gtest/gtest.h>

#include <tuple>

#include "corvid/crl.h"
#include "support/support.h"

// The answer of the revocation library, and what it was asked with.
static uint32_t g_revocation_answer;
static void* g_revocation_context;
extern "C" uint32_t CVD_IsCertRevoked(void* context, const CVD_CRL*, const CVD_Certificate*) {
  g_revocation_context = context;
  return g_revocation_answer;
}

namespace corvid::test {
namespace {

constexpr uint32_t kRefused = 0xFFFFFFFF;

Octets Valid(const char* from, const char* to) {
  return MakeCertificate({.not_before = Der(0x18, from), .not_after = Der(0x18, to)});
}

Octets WithExtension(const std::string& oid, const char* value) {
  if (oid.empty()) return MakeCertificate({});
  return MakeCertificate({.extensions = {Extension(oid, Hex(value))}});
}

TEST(VerifyTime, EndsAreIncludedAndNothingWraps) {
  const Certificate certificate(Valid("20200101000000Z", "20201231235959Z"));
  constexpr int32_t kFrom = 1577836800;
  constexpr int32_t kTo = 1609459199;
  EXPECT_EQ(CVD_PKC_VerifyTime(certificate.get(), kFrom), 0u);
  EXPECT_EQ(CVD_PKC_VerifyTime(certificate.get(), kTo), 0u);
  EXPECT_EQ(CVD_PKC_VerifyTime(certificate.get(), kFrom - 1), uint32_t{PKC_ERR_INVALID_TIME});
  EXPECT_EQ(CVD_PKC_VerifyTime(certificate.get(), kTo + 1), uint32_t{PKC_ERR_INVALID_TIME});
  EXPECT_EQ(CVD_IsCertTimeValid(certificate.get()), 0);

  const Certificate distant(Valid("20200101000000Z", "22000101000000Z"));
  EXPECT_EQ(CVD_PKC_VerifyTime(distant.get(), INT32_MAX), 0u);
  EXPECT_EQ(CVD_PKC_VerifyTime(distant.get(), INT32_MIN), uint32_t{PKC_ERR_INVALID_TIME});
  EXPECT_EQ(CVD_IsCertTimeValid(distant.get()), 1) << "it expires after 2038";
  EXPECT_EQ(CVD_IsCertTimeValid(nullptr), 0);
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

TEST(VerifySignature, OfRealRoots) {
  size_t verified = 0;
  for (const std::filesystem::path& file : DebianRoots()) {
    const Octets der = ReadCertificate(file);
    const Certificate root(der);
    const uint32_t status = CVD_PKC_VerifySignature(root.get(), root.get());
    if (CVD_PKC_ObjID_To_SignID(&root->signatureAlgorithm.algorithm) == -1) {
      EXPECT_EQ(status, uint32_t{PKC_ERR_UNKNOWN_SIGNID}) << file;
      continue;
    }
    EXPECT_EQ(status, 0u) << file;
    ++verified;
    for (const size_t at : {size_t{15}, der.size() - 1}) {  // serial number, signature
      Octets changed = der;
      changed[at] ^= 1;
      const Certificate other(changed);
      EXPECT_NE(CVD_PKC_VerifySignature(other.get(), root.get()), 0u) << file;
    }
  }
  EXPECT_GT(verified, 90u);
  CVD_Trace_Clear();
}

TEST(VerifySignature, FailuresAndTheirTraces) {
  const Certificate issuer(MakeCertificate({}));
  const Octets signature = Der(0x03, Join({Hex("00"), Octets(64, 0x42)}));  // as wide as the key
  const Certificate wrong(MakeCertificate({.signature = signature}));
  EXPECT_EQ(CVD_PKC_VerifySignature(wrong.get(), issuer.get()), 36050u);
  const Certificate unknown(MakeCertificate({.signature_oid = "1.2.3"}));
  EXPECT_EQ(CVD_CheckSignature(nullptr, unknown.get(), issuer.get()), 36012u);
  // A key that is for another algorithm, whatever its octets.
  const auto with_key = [](const char* algorithm) {
    const Octets key = Join({Hex("3048 0241 00"), Octets(64, 0xA5), Hex("0203010001")});
    return MakeCertificate({.spki = Spki(algorithm, {}, key)});
  };
  const Certificate other_kind(with_key("1.2.410.200004.1.21"));
  EXPECT_EQ(CVD_PKC_VerifySignature(wrong.get(), other_kind.get()), 6020u);
  const Certificate other_key(with_key("1.2.3"));
  EXPECT_EQ(CVD_PKC_VerifySignature(wrong.get(), other_key.get()), 36011u);
  EXPECT_EQ(TakeTrace(),
            "CVD_PKC_VerifySignature 36050\nCVD_PKC_VerifySignature 36012\n"
            "CVD_PKC_VerifySignature 6020\n"
            "CVD_PKC_GetPubKeyInfo 36011\nCVD_PKC_VerifySignature 36011\n");
}

TEST(CertCheck, RunsItsFlagsInOrder) {
  const Certificate good(Valid("19700101000000Z", "99991231235959Z"));
  const Certificate expired(Valid("19700101000000Z", "19710101000000Z"));
  const auto* list = reinterpret_cast<const CVD_CRL*>(&good);  // only handed on
  int context = 0;
  const struct {
    const Certificate* certificate;
    const Certificate* issuer;
    bool with_list;
    uint16_t flags;
    uint32_t answer, status;
    const char* trace;
  } rows[] = {
      {&expired, &expired, false, 0x0EEE, 1, 0, ""},
      {&good, &good, false, PKC_CHECK_REVOKED, 1, PKC_ERR_INVALID_INPUT, ""},
      {&good, &good, true, PKC_CHECK_REVOKED, 0, 0, ""},
      {&good, &good, true, PKC_CHECK_REVOKED, 1, PKC_ERR_CERT_REVOKED, "CVD_CertCheck 36082\n"},
      {&good, &good, true, PKC_CHECK_REVOKED, 33020, 0, ""},
      {&expired, &good, true, 0x1110, 1, PKC_ERR_CERT_REVOKED, "CVD_CertCheck 36082\n"},
      {&expired, &expired, true, 0x1110, 0, PKC_ERR_USER_CERT_TIME, "CVD_CertCheck 36083\n"},
      {&good, &expired, true, 0x1110, 0, PKC_ERR_ISSUER_CERT_TIME, "CVD_CertCheck 36084\n"},
      {&good, &good, true, 0x1110, 0, 0, ""},
      {&expired, &good, true, 0x1111, 1, PKC_ERR_INVALID_SIGNATURE,
       "CVD_PKC_VerifySignature 6022\nCVD_CertCheck 36050\n"},
  };
  for (const auto& row : rows) {
    g_revocation_answer = row.answer;
    EXPECT_EQ(CVD_CertCheck(&context, nullptr, row.with_list ? list : nullptr,
                            row.certificate->get(), row.issuer->get(), row.flags),
              row.status)
        << row.flags;
    EXPECT_EQ(TakeTrace(), row.trace);
  }
  EXPECT_EQ(g_revocation_context, &context);
}

TEST(CheckCaOrNot, ReadsBasicConstraints) {
  const std::pair<const char*, int32_t> rows[] = {
      {"", 0}, {"3000", 0}, {"3006010100020100", 0}, {"30030101FF", 1}, {"0500", -1}};
  for (const auto& [value, result] : rows) {
    const Certificate certificate(WithExtension(*value == 0 ? "" : "2.5.29.19", value));
    EXPECT_EQ(CVD_CheckCaOrNot(nullptr, certificate.get()), result) << value;
  }
  EXPECT_EQ(CVD_CheckCaOrNot(nullptr, nullptr), int32_t{PKC_ERR_INVALID_INPUT});
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

TEST(CheckCertUsage, AsksTheRightExtension) {
  // The n-th character of what is allowed stands for usage n.
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"", "", "--------"},
      {"2.5.29.15", "03020780", "-2------"},
      {"2.5.29.15", "03020520", "1-------"},
      {"2.5.29.15", "0303007FFF", "1-------"},
      {"2.5.29.15", "0500", "--------"},
      {"2.5.29.37", "300A06082B06010505070308", "--3-----"},
      {"2.5.29.37", "300A06082B06010505070309", "---4----"},
      {"2.5.29.37", "300A06082B06010505070303", "----5---"},
      {"2.5.29.37", "300A06082B06010505070304", "-----6--"},
      {"2.5.29.37", "301406082B0601050507030106082B06010505070302", "------78"},
  };
  for (const auto& [oid, value, allowed] : rows) {
    const Certificate certificate(WithExtension(oid, value));
    for (int32_t usage = 1; usage <= 8; ++usage) {
      EXPECT_EQ(CVD_CheckCertUsage(nullptr, certificate.get(), usage),
                allowed[usage - 1] == '-' ? kRefused : 0u)
          << value << ' ' << usage;
    }
  }
  CVD_Trace_Clear();
  const Certificate usage(WithExtension("2.5.29.15", "03020780"));
  const CVD_Extension* extension = &usage.extensions()->extension;
  for (const int32_t number : {INT32_MIN, -1, 0, 9, INT32_MAX}) {
    EXPECT_EQ(CVD_CheckCertUsage(nullptr, usage.get(), number), kRefused);
  }
  CVD_Trace_Clear();
  EXPECT_EQ(CVD_CheckCertUsage(nullptr, usage.get(), 1), kRefused);
  EXPECT_EQ(CVD_CheckKeyUsage(nullptr, extension, 0x8080), 0u) << "one bit of the mask suffices";
  EXPECT_EQ(CVD_CheckExtKeyUsage(nullptr, extension, CVD_ASN_GetOID(CVD_OID_KP_SERVER_AUTH)),
            uint32_t{CVD_ASN_ERR_TAG});
  EXPECT_EQ(TakeTrace(),
            "CVD_CheckKeyUsage -1\nCVD_CheckCertUsage -1\nCVD_CheckExtKeyUsage 1012\n");
}

}  // namespace
}  // namespace corvid::test
