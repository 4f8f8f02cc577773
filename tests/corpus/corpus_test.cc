// Real certificates: what decodes encodes back to the same octets, the record is made of all but
// known exceptions, and nothing malformed does harm.
#include <gtest/gtest.h>

#include "support/signing.h"

namespace corvid::test {
namespace {

struct Refusal {
  const char* name;
  uint32_t code;
  const char* reason;
};

// The reviewed exceptions, each with its reason; one that no longer happens fails the test.
// Certificates that a whole record refuses, beside those whose subject is empty
// (PKC_ERR_INVALID_INPUT; RFC 5280 section 4.1.2.6 allows it, the record has no text for it).
constexpr Refusal kRefusedRecords[] = {
    {"boringssl-pki/bad_key_usage.der", PKC_ERR_BAD_KEYUSAGE, "keyUsage without a bit"},
    {"boringssl-pki/bad_policy_qualifiers.der", PKC_ERR_BAD_POLICIES, "qualifier without value"},
    {"boringssl-pki/subjectaltname_trailing_data.der", PKC_ERR_BAD_EXTENSION,
     "octets after the GeneralNames"},
    {"botan/dn-empty-attribute-value-invalid-0.der", PKC_ERR_BAD_RDN, "empty attribute value"},
    {"ct-go/xf-ext-extended-key-usage-empty-oid.der", PKC_ERR_BAD_EXTENSION,
     "object identifier without octets"},
    {"ct-go/xf-ext-extended-key-usage-empty.der", PKC_ERR_BAD_EXTENSION, "extension without value"},
    {"zlint/CNPresentButEmpty.der", PKC_ERR_BAD_RDN, "empty attribute value"},
    {"zlint/IANDNSNull.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/SANDNSNameNotFQDN.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/SANDNSNull.der", PKC_ERR_BAD_EXTENSION, "NUL in a DNS name"},
    {"zlint/caBlankCountry.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/caSubjectEmpty.der", PKC_ERR_BAD_RDN, "empty attribute values"},
    {"zlint/only_meta_data_in_country_name.der", PKC_ERR_BAD_RDN,
     "country of another length than 2 or 3"},
    {"zlint/policyQualifiersOtherThanCpsNotPermittedValid.der", PKC_ERR_BAD_POLICIES,
     "CPS pointer that is no IA5String"},
    {"zlint/subjectCCorrectEncoding.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/subjectCNWrongEncoding.der", PKC_ERR_BAD_RDN, "UniversalString"},
    {"zlint/subjectInvalidCountry.der", PKC_ERR_BAD_RDN, "country of another length than 2 or 3"},
    {"zlint/subjectUID.der", PKC_ERR_BAD_RDN, "country in a TeletexString"},
};

// What a whole record of the certificate must return.
uint32_t ExpectedStatus(const std::filesystem::path& file, const CVD_Certificate& certificate) {
  for (const Refusal& refusal : kRefusedRecords) {
    if (file.parent_path().filename() / file.filename() == refusal.name) return refusal.code;
  }
  return certificate.tbsCertificate.subject.rdnSequence == nullptr ? PKC_ERR_INVALID_INPUT : 0;
}

void CheckFile(const std::filesystem::path& file) {
  SCOPED_TRACE(file);
  const Octets der = ReadCertificate(file);
  const Certificate certificate(der);
  ASSERT_EQ(certificate.status, 0u);
  EXPECT_EQ(certificate.Encode(), der);
  EXPECT_EQ(certificate.Encode(CVD_PDU_TBS_CERTIFICATE), Encode(Parse(der).parts[0]));
  PKCCertInfo info;
  const uint32_t status = CVD_ExtractCertInfo(nullptr, nullptr, der.data(),
                                              static_cast<uint32_t>(der.size()), 1, &info);
  ASSERT_EQ(status, ExpectedStatus(file, *certificate.get()));
  if (status != 0) return;
  const auto theirs = ReadByOpenssl(der);
  ASSERT_NE(theirs, nullptr);
  const ASN1_INTEGER* number = X509_get0_serialNumber(theirs.get());
  const uint8_t* serial = ASN1_STRING_get0_data(number);
  if (ASN1_STRING_type(number) == V_ASN1_INTEGER) {  // OpenSSL has negative ones by magnitude
    EXPECT_EQ(info.serialHex, ToHex({serial, serial + ASN1_STRING_length(number)}).substr(0, 40));
  }
  Octets digest(20);
  EXPECT_EQ(X509_digest(theirs.get(), EVP_sha1(), digest.data(), nullptr), 1);
  EXPECT_EQ(info.thumbprint, ToHex(digest));
}

void CheckFiles(const std::vector<std::filesystem::path>& files, size_t least) {
  ASSERT_GT(files.size(), least) << "they are not installed";
  const Options options("ko_KR-UTF-8");
  for (const auto& file : files) CheckFile(file);
}

TEST(DebianRoots, EncodeBackAndMakeRecords) { CheckFiles(DebianRoots(), 100); }

TEST(Corpus, EncodesBackAndMakesRecords) { CheckFiles(CorpusFiles("certs"), 2000); }

TEST(Corpus, MalformedInputDoesNoHarm) {
  const std::vector<std::filesystem::path> files = CorpusFiles("malformed");
  ASSERT_GT(files.size(), 500u);
  for (const auto& file : files) {
    const Octets der = ReadCertificate(file);
    const Input input(der);
    PKCCertInfoEx extended;
    static_cast<void>(CVD_ExtractCertInfoEx(nullptr, nullptr, input.bin()->data,
                                            static_cast<uint32_t>(input.bin()->length), 1,
                                            &extended));
    for (int32_t type = 133; type <= 254; ++type) {  // every reader meets every shape
      const DecodedRecord<void> record(der, type);
      if (record.status != 0) continue;
      EXPECT_EQ(record.Encode(), der) << file << ' ' << type;
    }
  }
  CVD_Trace_Clear();
}

}  // namespace
}  // namespace corvid::test
