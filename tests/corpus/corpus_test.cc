// Real certificates: what decodes encodes back to the same octets, the record says what the openssl
// command says, and nothing malformed does harm. Exceptions are data, each with its reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include <unistd.h>

#include "corpus/exceptions.h"
#include "corvid/asn.h"
#include "corvid/pkc.h"
#include "support/support.h"

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

// ---- what the openssl command says ---------------------------------------------------------

std::string Run(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr) << command;
  if (pipe == nullptr) return output;
  std::array<char, 65536> buffer;
  for (size_t n = 0; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    output.append(buffer.data(), n);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

using Fields = std::map<std::string, std::string>;

// "AA:BB" in lower-case hexadecimal without colons, or "" when the line is anything else.
std::string ColonHex(const std::string& line) {
  std::string hex;
  for (const char c : line) {
    if (c == ':' || c == ' ') continue;
    if (isxdigit(c) == 0) return "";
    hex += static_cast<char>(tolower(c));
  }
  return hex;
}

// "May  9 00:00:00 2023 GMT" as the record writes a time under TZ=UTC0.
std::string IsoTime(const std::string& text) {
  static const std::string kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  std::istringstream in(text);
  std::string month;
  std::string day;
  std::string clock;
  std::string year;
  in >> month >> day >> clock >> year;
  const size_t at = kMonths.find(month);
  if (at == std::string::npos || year.empty()) return "";
  char out[80];
  snprintf(out, sizeof out, "%04d-%02d-%02d %s", std::atoi(year.c_str()),
           static_cast<int>(at / 3 + 1), std::atoi(day.c_str()), clock.c_str());
  return out;
}

std::string After(const std::string& line, const char* label) {
  const size_t at = line.find(label);
  return at == std::string::npos ? "" : line.substr(at + std::strlen(label));
}

// Reads one certificate of `openssl storeutl -text`.
Fields ReadText(std::istringstream& in) {
  static const char* kCurves[] = {"secp224r1", "prime256v1", "secp384r1", "secp521r1"};
  Fields fields;
  std::string algorithm;
  std::string bits;
  std::string line;
  const auto next_hex = [&] { return std::getline(in, line) ? line : std::string(); };
  while (std::getline(in, line) && line.rfind("Certificate:", 0) != 0) {
    if (line.find(" Serial Number:") != std::string::npos) {
      const std::string number = After(line, "(0x");
      fields["serial"] =
          number.empty() ? ColonHex(next_hex()) : number.substr(0, number.size() - 1);
      if (fields["serial"].size() % 2 != 0) fields["serial"].insert(0, "0");
    } else if (line.find(" Not Before: ") != std::string::npos) {
      fields["notBefore"] = IsoTime(After(line, " Not Before: "));
    } else if (line.find(" Not After : ") != std::string::npos) {
      fields["notAfter"] = IsoTime(After(line, " Not After : "));
    } else if (line.find(" Public Key Algorithm: ") != std::string::npos) {
      algorithm = After(line, " Public Key Algorithm: ");
    } else if (line.find("Public-Key: (") != std::string::npos) {
      bits = std::to_string(std::atoi(After(line, "Public-Key: (").c_str()));
      if (algorithm == "rsaEncryption" || algorithm == "dsaEncryption") fields["keyLength"] = bits;
    } else if (line.find("ASN1 OID: ") != std::string::npos) {
      for (const char* curve : kCurves) {
        if (After(line, "ASN1 OID: ") == curve) fields["keyLength"] = bits;
      }
    } else if (line.find("X509v3 Subject Key Identifier:") != std::string::npos) {
      fields["subjectKeyId"] = ColonHex(next_hex());
    } else if (line.find("X509v3 Authority Key Identifier:") != std::string::npos) {
      const std::string value = next_hex();
      const std::string keyid = After(value, "keyid:");
      fields["authorityKeyId"] = ColonHex(keyid.empty() ? value : keyid);
    }
  }
  return fields;
}

// One run over a bundle, one over the files of the DER for their SHA-1.
std::vector<Fields> AskOpenssl(const std::vector<Sample>& samples) {
  const fs::path folder = fs::path(testing::TempDir()) / ("corvid_" + std::to_string(getpid()));
  fs::create_directories(folder / "der");
  std::ofstream bundle(folder / "bundle.pem");
  for (size_t i = 0; i < samples.size(); ++i) {
    bundle << Pem(samples[i].der);
    std::ofstream(folder / "der" / std::to_string(100000 + i), std::ios::binary)
        .write(reinterpret_cast<const char*>(samples[i].der.data()),
               static_cast<std::streamsize>(samples[i].der.size()));
  }
  bundle.close();
  std::istringstream text(
      Run("openssl storeutl -certs -text -noout " + (folder / "bundle.pem").string()));
  std::istringstream digests(
      Run("cd " + (folder / "der").string() + " && openssl dgst -sha1 -r *"));
  std::vector<Fields> all;
  std::string line;
  while (std::getline(text, line) && line.rfind("Certificate:", 0) != 0) {
  }
  while (text) all.push_back(ReadText(text));
  for (size_t i = 0; i < all.size() && std::getline(digests, line); ++i) {
    all[i]["thumbprint"] = line.substr(0, 40);
  }
  fs::remove_all(folder);
  return all;
}

// ---- the two laws --------------------------------------------------------------------------

// The octets of the first element inside the outer SEQUENCE: the signed part.
Octets SignedPart(const Octets& der) {
  const auto header = [&](size_t at, size_t* length) {
    *length = der[at + 1];
    if (*length < 0x80) return size_t{2};
    const size_t octets = *length & 0x7F;
    *length = 0;
    for (size_t i = 0; i < octets; ++i) *length = *length << 8 | der[at + 2 + i];
    return 2 + octets;
  };
  size_t length = 0;
  const size_t begin = header(0, &length);
  const size_t inner = header(begin, &length);
  const auto first = der.begin() + static_cast<std::ptrdiff_t>(begin);
  return {first, first + static_cast<std::ptrdiff_t>(inner + length)};
}

void EncodesBack(const Sample& sample) {
  const Certificate certificate(sample.der);
  ASSERT_EQ(certificate.status, 0u) << sample.name;
  Output whole;
  Output signed_part;
  ASSERT_EQ(CVD_ASN_EncodePDU(&whole, certificate.get(), CVD_PDU_CERTIFICATE), 0u) << sample.name;
  ASSERT_EQ(CVD_ASN_EncodePDU(&signed_part, certificate.get(), CVD_PDU_TBS_CERTIFICATE), 0u);
  EXPECT_EQ(whole.octets(), sample.der) << sample.name;
  EXPECT_EQ(signed_part.octets(), SignedPart(sample.der)) << sample.name;
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

void CheckSamples(const std::vector<Sample>& samples) {
  setenv("TZ", "UTC0", 1);
  const Options options("ko_KR-UTF-8");
  const std::vector<Fields> said = AskOpenssl(samples);
  ASSERT_EQ(said.size(), samples.size());
  size_t compared = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    EncodesBack(samples[i]);
    AgreesWithOpenssl(samples[i], said[i], &compared);
  }
  EXPECT_GT(compared, samples.size() * 5) << "too few fields were compared";
}

TEST(DebianRoots, EncodeBackAndAgreeWithOpenssl) {
  const std::vector<Sample> samples = Samples(DebianRoots());
  ASSERT_GT(samples.size(), 100u) << "ca-certificates is not installed";
  CheckSamples(samples);
}

TEST(Corpus, EncodesBackAndAgreesWithOpenssl) {
  const std::vector<Sample> samples = Samples(CorpusFiles("certs"));
  ASSERT_GT(samples.size(), 2000u);
  CheckSamples(samples);
}

TEST(Corpus, MalformedInputDoesNoHarm) {
  const std::vector<Sample> samples = Samples(CorpusFiles("malformed"));
  ASSERT_GT(samples.size(), 500u);
  for (const Sample& sample : samples) {
    const Input input(sample.der);
    auto extended = std::make_unique<PKCCertInfoEx>();
    static_cast<void>(CVD_ExtractCertInfoEx(nullptr, nullptr, input.bin()->data,
                                            static_cast<uint32_t>(input.bin()->length), 1,
                                            extended.get()));
    uint32_t number = 0;
    int32_t hash = 0;
    static_cast<void>(CVD_PKC_GetSignAlg(&number, input.bin()));
    static_cast<void>(CVD_PKC_GetHashAlg(&number, input.bin()));
    static_cast<void>(CVD_PKC_GetVIDHashAlg(&hash, input.bin()));
    Output key_id;
    static_cast<void>(CVD_GetSubjectKeyID(nullptr, input.bin(), &key_id));
    const Certificate certificate(sample.der);
    if (certificate.status == 0) EncodesBack(sample);
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
