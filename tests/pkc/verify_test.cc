// The checks of a certificate: time, signature, revocation, CA, usage.
#include <gtest/gtest.h>

#include <algorithm>

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
  CertificateParts parts;
  parts.not_before = Der(0x18, from);
  parts.not_after = Der(0x18, to);
  return MakeCertificate(parts);
}

Octets WithExtension(const std::string& oid, const char* value) {
  CertificateParts parts;
  if (!oid.empty()) parts.extensions = {Extension(oid, Hex(value))};
  return MakeCertificate(parts);
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
    Octets der = ReadCertificate(file);
    const Certificate root(der);
    const uint32_t status = CVD_PKC_VerifySignature(root.get(), root.get());
    if (CVD_PKC_ObjID_To_SignID(&root->signatureAlgorithm.algorithm) == -1) {
      EXPECT_EQ(status, uint32_t{PKC_ERR_UNKNOWN_SIGNID}) << file;
      continue;
    }
    EXPECT_EQ(status, 0u) << file;
    ++verified;
    der[40] ^= 1;  // in the signed part of every root: its serial number or algorithm
    const Certificate changed(der);
    if (changed.status == 0 && changed->tbsCertificate.serialNumber.length > 0) {
      EXPECT_NE(CVD_PKC_VerifySignature(changed.get(), root.get()), 0u) << file;
    }
  }
  EXPECT_GT(verified, 90u);
  CVD_Trace_Clear();
}

// The outer algorithm identifier is not signed; every other bit of certificate and key counts.
TEST(VerifySignature, NoFlippedBitVerifies) {
  const auto roots = DebianRoots();
  const auto is_rsa = [](const std::filesystem::path& file) {
    const Certificate root(ReadCertificate(file));
    return CVD_PKC_ObjID_To_SignID(&root->signatureAlgorithm.algorithm) == CVD_SIGN_SHA256_RSA;
  };
  const auto found = std::find_if(roots.begin(), roots.end(), is_rsa);
  ASSERT_NE(found, roots.end());
  const Octets der = ReadCertificate(*found);
  const Certificate root(der);
  Output signed_part;
  ASSERT_EQ(CVD_ASN_EncodePDU(&signed_part, root.get(), CVD_PDU_TBS_CERTIFICATE), 0u);
  const size_t signed_end = 4 + static_cast<size_t>(signed_part.length);
  const CVD_BitString& key = root->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey;
  const Octets key_octets(key.data, key.data + key.bits / 8);
  const auto key_at = std::search(der.begin(), der.end(), key_octets.begin(), key_octets.end());
  size_t decoded = 0;
  for (size_t i = 0; i < der.size(); ++i) {
    Octets flipped = der;
    flipped[i] ^= static_cast<uint8_t>(1U << i % 8);
    const Certificate changed(flipped);
    if (changed.status != 0) continue;
    ++decoded;
    if (i < signed_end || i >= signed_end + 15) {
      EXPECT_NE(CVD_PKC_VerifySignature(changed.get(), root.get()), 0u) << i;
    }
    const auto offset = static_cast<std::ptrdiff_t>(i) - (key_at - der.begin());
    if (offset >= 0 && offset < static_cast<std::ptrdiff_t>(key_octets.size())) {
      EXPECT_NE(CVD_PKC_VerifySignature(root.get(), changed.get()), 0u) << "key octet " << offset;
    }
  }
  EXPECT_GT(decoded, der.size() / 2);
  CVD_Trace_Clear();
}

TEST(VerifySignature, FailuresAndTheirTraces) {
  const Certificate issuer(MakeCertificate({}));
  CertificateParts parts;
  parts.signature = Der(0x03, Join({Hex("00"), Octets(64, 0x42)}));  // as wide as the key
  const Certificate wrong(MakeCertificate(parts));
  EXPECT_EQ(CVD_PKC_VerifySignature(wrong.get(), issuer.get()), 36050u);
  parts.signature_oid = "1.2.3";
  const Certificate unknown(MakeCertificate(parts));
  EXPECT_EQ(CVD_CheckSignature(nullptr, unknown.get(), issuer.get()), 36012u);
  // A key that is for another algorithm, whatever its octets.
  parts = {};
  parts.spki =
      Sequence({Sequence({Oid("1.2.410.200004.1.21")}),
                Der(0x03, Join({Hex("00 3048 0241 00"), Octets(64, 0xA5), Hex("0203010001")}))});
  const Certificate other_kind(MakeCertificate(parts));
  EXPECT_EQ(CVD_PKC_VerifySignature(wrong.get(), other_kind.get()), 6020u);
  parts = {};
  parts.spki = Sequence({Sequence({Oid("1.2.3")}), Hex("03020001")});
  const Certificate other_key(MakeCertificate(parts));
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
  struct Row {
    const Certificate* certificate;
    const Certificate* issuer;
    bool with_list;
    uint16_t flags;
    uint32_t answer;
    uint32_t status;
    const char* trace;
  };
  const Row rows[] = {
      {&expired, &expired, false, 0, 1, 0, ""},
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
  for (const Row& row : rows) {
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
  struct Row {
    const char* oid;
    const char* value;
    int32_t result;
  };
  for (const Row& row : {Row{"", "", 0}, Row{"2.5.29.19", "3000", 0},
                         Row{"2.5.29.19", "3003020100", 0}, Row{"2.5.29.19", "3006010100020100", 0},
                         Row{"2.5.29.19", "30030101FF", 1}, Row{"2.5.29.19", "0500", -1}}) {
    const Certificate certificate(WithExtension(row.oid, row.value));
    EXPECT_EQ(CVD_CheckCaOrNot(nullptr, certificate.get()), row.result) << row.value;
  }
  EXPECT_EQ(CVD_CheckCaOrNot(nullptr, nullptr), int32_t{PKC_ERR_INVALID_INPUT});
  EXPECT_EQ(CVD_Trace_Count(), 0u);
}

TEST(CheckCertUsage, AsksTheRightExtension) {
  struct Row {
    const char* oid;
    const char* value;
    const char* allowed;  // usage n is the n-th character
  };
  static constexpr Row kRows[] = {
      {"", "", "--------"},
      {"2.5.29.15", "03020780", "-2------"},
      {"2.5.29.15", "03020520", "1-------"},
      {"2.5.29.15", "0500", "--------"},
      {"2.5.29.37", "300A06082B06010505070308", "--3-----"},
      {"2.5.29.37", "300A06082B06010505070309", "---4----"},
      {"2.5.29.37", "300A06082B06010505070303", "----5---"},
      {"2.5.29.37", "300A06082B06010505070304", "-----6--"},
      {"2.5.29.37", "301406082B0601050507030106082B06010505070302", "------78"},
      {"2.5.29.37", "3000", "--------"},
  };
  for (const Row& row : kRows) {
    const Certificate certificate(WithExtension(row.oid, row.value));
    for (int32_t usage = 1; usage <= 8; ++usage) {
      EXPECT_EQ(CVD_CheckCertUsage(nullptr, certificate.get(), usage),
                row.allowed[usage - 1] == '-' ? kRefused : 0u)
          << row.value << ' ' << usage;
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
