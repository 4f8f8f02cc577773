// Real certificates: what decodes encodes back to the same octets, the record says what OpenSSL
// says, and nothing malformed does harm. Exceptions are data, each with its reason.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <set>

#include "corpus/exceptions.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

namespace fs = std::filesystem;

struct Sample {
  std::string name;  // the file's path below its folder
  Octets der;
};

std::vector<Sample> Samples(const std::vector<fs::path>& files) {
  std::vector<Sample> samples;
  for (const fs::path& file : files) {
    samples.push_back({file.parent_path().filename() / file.filename(), ReadCertificate(file)});
  }
  return samples;
}

// ---- exceptions ----------------------------------------------------------------------------

// What a whole record of the certificate must return.
uint32_t ExpectedStatus(const Sample& sample, const CVD_Certificate& certificate) {
  for (const Refusal& refusal : kRefusedRecords) {
    if (sample.name == refusal.name) return refusal.code;
  }
  return certificate.tbsCertificate.subject.rdnSequence == nullptr ? PKC_ERR_INVALID_INPUT : 0;
}

bool MustDisagree(const Sample& sample, const std::string& field) {
  return std::any_of(
      std::begin(kDisagreements), std::end(kDisagreements),
      [&](const Disagreement& row) { return sample.name == row.name && field == row.field; });
}

// ---- what OpenSSL says ---------------------------------------------------------------------

using Fields = std::map<std::string, std::string>;

std::string HexOf(const ASN1_STRING* string) {
  const uint8_t* data = ASN1_STRING_get0_data(string);
  return ToHex({data, data + ASN1_STRING_length(string)});
}

// As the record writes a time under TZ=UTC0.
std::string TimeOf(const ASN1_TIME* time) {
  tm fields{};
  if (ASN1_TIME_to_tm(time, &fields) != 1) return "";
  char text[80];
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", fields.tm_year + 1900,
           fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

// Of the kinds and curves whose length the record tells.
std::string KeyLengthOf(const EVP_PKEY* key) {
  if (key == nullptr) return "";
  const int kind = EVP_PKEY_get_base_id(key);
  char curve[40] = "";
  EVP_PKEY_get_group_name(key, curve, sizeof curve, nullptr);
  const std::set<std::string> curves = {"secp224r1", "prime256v1", "secp384r1", "secp521r1"};
  const bool told = kind == EVP_PKEY_RSA || kind == EVP_PKEY_DSA || curves.contains(curve);
  return told ? std::to_string(EVP_PKEY_get_bits(key)) : "";
}

Fields SaidByOpenssl(const Octets& der) {
  const uint8_t* at = der.data();
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(
      d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free);
  X509* x = certificate.get();
  EXPECT_NE(x, nullptr);
  if (x == nullptr) return {};
  Octets digest(20);
  X509_digest(x, EVP_sha1(), digest.data(), nullptr);
  Fields fields = {{"serial", HexOf(X509_get0_serialNumber(x))},
                   {"notBefore", TimeOf(X509_get0_notBefore(x))},
                   {"notAfter", TimeOf(X509_get0_notAfter(x))},
                   {"keyLength", KeyLengthOf(X509_get0_pubkey(x))},
                   {"thumbprint", ToHex(digest)}};
  if (fields["keyLength"].empty()) fields.erase("keyLength");
  if (const auto* id = X509_get0_subject_key_id(x)) fields["subjectKeyId"] = HexOf(id);
  if (const auto* id = X509_get0_authority_key_id(x)) fields["authorityKeyId"] = HexOf(id);
  return fields;
}

// ---- the two laws --------------------------------------------------------------------------

void EncodesBack(const Sample& sample) {
  const Certificate certificate(sample.der);
  ASSERT_EQ(certificate.status, 0u) << sample.name;
  Output whole;
  Output signed_part;
  ASSERT_EQ(CVD_ASN_EncodePDU(&whole, certificate.get(), CVD_PDU_CERTIFICATE), 0u) << sample.name;
  ASSERT_EQ(CVD_ASN_EncodePDU(&signed_part, certificate.get(), CVD_PDU_TBS_CERTIFICATE), 0u);
  EXPECT_EQ(whole.octets(), sample.der) << sample.name;
  EXPECT_EQ(signed_part.octets(), Encode(Parse(sample.der).parts[0])) << sample.name;
}

Fields RecordFields(const PKCCertInfo& info) {
  return {{"serial", info.serialHex},          {"notBefore", info.notBefore},
          {"notAfter", info.notAfter},         {"keyLength", std::to_string(info.keyLength)},
          {"subjectKeyId", info.subjectKeyId}, {"authorityKeyId", info.authorityKeyId},
          {"thumbprint", info.thumbprint}};
}

// Fields of the record are cut; what is left must be how the full value begins.
bool Agrees(const std::string& field, const std::string& ours, const std::string& theirs) {
  if (field == "serial") return ours == theirs.substr(0, 40);
  if (field == "subjectKeyId" || field == "authorityKeyId") return ours == theirs.substr(0, 78);
  return ours == theirs;
}

void AgreesWithOpenssl(const Sample& sample, const Fields& said, size_t* compared) {
  const Certificate certificate(sample.der);
  PKCCertInfo info;
  const uint32_t status = CVD_ExtractCertInfo(nullptr, nullptr, sample.der.data(),
                                              static_cast<uint32_t>(sample.der.size()), 1, &info);
  ASSERT_EQ(status, ExpectedStatus(sample, *certificate.get())) << sample.name;
  if (status != 0) return;
  const bool negative = (*certificate->tbsCertificate.serialNumber.data & 0x80) != 0;
  Fields ours = RecordFields(info);
  for (const auto& [field, theirs] : said) {
    if (negative && field == "serial") continue;
    EXPECT_NE(Agrees(field, ours[field], theirs), MustDisagree(sample, field))
        << sample.name << ' ' << field << "\n ours   " << ours[field] << "\n theirs " << theirs;
    ++*compared;
  }
}

void CheckSamples(const std::vector<Sample>& samples, size_t least) {
  ASSERT_GT(samples.size(), least) << "they are not installed";
  setenv("TZ", "UTC0", 1);
  const Options options("ko_KR-UTF-8");
  size_t compared = 0;
  for (const Sample& sample : samples) {
    EncodesBack(sample);
    AgreesWithOpenssl(sample, SaidByOpenssl(sample.der), &compared);
  }
  EXPECT_GT(compared, samples.size() * 5) << "too few fields were compared";
}

TEST(DebianRoots, EncodeBackAndAgreeWithOpenssl) { CheckSamples(Samples(DebianRoots()), 100); }

TEST(Corpus, EncodesBackAndAgreesWithOpenssl) { CheckSamples(Samples(CorpusFiles("certs")), 2000); }

TEST(Corpus, MalformedInputDoesNoHarm) {
  const std::vector<Sample> samples = Samples(CorpusFiles("malformed"));
  ASSERT_GT(samples.size(), 500u);
  for (const Sample& sample : samples) {
    const Input input(sample.der);
    PKCCertInfoEx extended;
    static_cast<void>(CVD_ExtractCertInfoEx(nullptr, nullptr, input.bin()->data,
                                            static_cast<uint32_t>(input.bin()->length), 1,
                                            &extended));
    for (int32_t type = 133; type <= 254; ++type) {  // every reader meets every shape
      const DecodedRecord<void> record(sample.der, type);
      if (record.status != 0) continue;
      Output again;
      EXPECT_EQ(CVD_ASN_EncodePDU(&again, record.get(), type), 0u) << sample.name << ' ' << type;
      EXPECT_EQ(again.octets(), sample.der) << sample.name << ' ' << type;
    }
  }
  CVD_Trace_Clear();
}

}  // namespace
}  // namespace corvid::test
