// Real certificates: what decodes encodes back to the same octets, the record is made of all but
// known exceptions, and nothing malformed does harm.
#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <ctime>

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

// A key that is no DER, one of a negative modulus, and an extension that occurs twice.
constexpr const char* kReadOtherwise[] = {"ct-go/xf-der-pubkey-rsa-nonminimal-int.der",
                                          "ct-go/xf-pubkey-rsa-modulus-negative.der",
                                          "zlint/multDupeExts.der"};

bool IsFile(const std::filesystem::path& file, const char* name) {
  return file.parent_path().filename() / file.filename() == name;
}

// What a whole record of the certificate must return.
uint32_t ExpectedStatus(const std::filesystem::path& file, const CVD_Certificate& certificate) {
  for (const Refusal& refusal : kRefusedRecords) {
    if (IsFile(file, refusal.name)) return refusal.code;
  }
  return certificate.tbsCertificate.subject.rdnSequence == nullptr ? PKC_ERR_INVALID_INPUT : 0;
}

std::string HexOf(const ASN1_STRING* string) {
  const uint8_t* data = ASN1_STRING_get0_data(string);
  return ToHex({data, data + ASN1_STRING_length(string)});
}

// As the record writes a time under TZ=UTC0.
std::string TimeOf(const ASN1_TIME* time) {
  tm fields{};
  EXPECT_EQ(ASN1_TIME_to_tm(time, &fields), 1);
  char text[80];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
  return std::string(19 - length, '0') + text;  // the year in four digits
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
  const ASN1_INTEGER* serial = X509_get0_serialNumber(theirs.get());
  if (ASN1_STRING_type(serial) == V_ASN1_INTEGER) {  // OpenSSL has negative ones by magnitude
    EXPECT_EQ(info.serialHex, HexOf(serial).substr(0, 40));
  }
  EXPECT_EQ(info.notBefore, TimeOf(X509_get0_notBefore(theirs.get())));
  EXPECT_EQ(info.notAfter, TimeOf(X509_get0_notAfter(theirs.get())));
  Octets digest(20);
  EXPECT_EQ(X509_digest(theirs.get(), EVP_sha1(), digest.data(), nullptr), 1);
  EXPECT_EQ(info.thumbprint, ToHex(digest));
  for (const char* name : kReadOtherwise) {
    if (IsFile(file, name)) return;
  }
  if (const ASN1_STRING* id = X509_get0_subject_key_id(theirs.get())) {
    EXPECT_EQ(info.subjectKeyId, HexOf(id).substr(0, 78));
  }
  if (const ASN1_STRING* id = X509_get0_authority_key_id(theirs.get())) {
    EXPECT_EQ(info.authorityKeyId, HexOf(id).substr(0, 78));
  }
  if (const EVP_PKEY* key = X509_get0_pubkey(theirs.get()); key && EVP_PKEY_is_a(key, "RSA")) {
    EXPECT_EQ(info.keyLength, static_cast<uint32_t>(EVP_PKEY_get_bits(key)));
  }
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
