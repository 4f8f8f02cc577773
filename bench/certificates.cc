// The certificates that are measured, made or found when the program begins.
#include <openssl/conf.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <set>

#include "bench/bench.h"

namespace corvid::bench {
void Check(bool done) {
  if (!done) std::abort();
}

void AddAttribute(X509_NAME* name, const char* type, const std::string& value) {
  Check(X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8,
                                   reinterpret_cast<const uint8_t*>(value.data()),
                                   static_cast<int>(value.size()), -1, 0) == 1);
}

void AddExtension(X509* certificate, const char* name, const char* value) {
  // Some extensions ask for a configuration, if only an empty one.
  static CONF* const configuration = NCONF_new(nullptr);
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  X509V3_set_nconf(&context, configuration);
  X509_EXTENSION* extension = X509V3_EXT_nconf(configuration, &context, name, value);
  Check(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1);
  X509_EXTENSION_free(extension);
}

void AddIssuer(X509_NAME* name) {
  AddAttribute(name, "C", "US");
  AddAttribute(name, "O", "Example Trust Services");
  AddAttribute(name, "CN", "Example TLS Issuing CA 2026");
}

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

EVP_PKEY* SigningKey() {
  static const Key key(EVP_RSA_gen(2048), EVP_PKEY_free);
  Check(key != nullptr);
  return key.get();
}

Octets Encoded(X509* certificate) {
  uint8_t* der = nullptr;
  const int length = i2d_X509(certificate, &der);
  Check(length > 0);
  Octets octets(der, der + length);
  OPENSSL_free(der);
  return octets;
}

Octets Make(const std::function<void(X509*)>& fill, EVP_PKEY* key = SigningKey()) {
  const Certificate certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), 2);
  BIGNUM* serial = nullptr;
  Check(BN_hex2bn(&serial, "0D2A9F6B1C8E4D7A9B3C5F60718293A4") != 0);
  BN_to_ASN1_INTEGER(serial, X509_get_serialNumber(certificate.get()));
  BN_free(serial);
  Check(ASN1_TIME_set_string(X509_getm_notBefore(certificate.get()), "260101000000Z") == 1);
  Check(ASN1_TIME_set_string(X509_getm_notAfter(certificate.get()), "270101000000Z") == 1);
  AddIssuer(X509_get_issuer_name(certificate.get()));
  Check(X509_set_pubkey(certificate.get(), key) == 1);
  fill(certificate.get());
  Check(X509_sign(certificate.get(), key, EVP_sha256()) != 0);
  return Encoded(certificate.get());
}

void FillServer(X509* certificate) {
  X509_NAME* subject = X509_get_subject_name(certificate);
  AddAttribute(subject, "C", "KR");
  AddAttribute(subject, "ST", "Seoul");
  AddAttribute(subject, "L", "Jongno-gu");
  AddAttribute(subject, "O", "Example Corporation");
  AddAttribute(subject, "OU", "Web Services");
  AddAttribute(subject, "CN", "www.example.com");
  static constexpr const char* kExtensions[][2] = {
      {"subjectKeyIdentifier", "hash"},
      {"authorityKeyIdentifier", "DER:301680140102030405060708090A0B0C0D0E0F1011121314"},
      {"subjectAltName", "DNS:www.example.com,DNS:example.com,DNS:static.example.com"},
      {"certificatePolicies", "2.23.140.1.2.2,1.3.6.1.4.1.99999.1.1"},
      {"keyUsage", "critical,digitalSignature,keyEncipherment"},
      {"extendedKeyUsage", "serverAuth,clientAuth"},
      {"crlDistributionPoints", "URI:http://crl.example.com/issuing-ca-2026.crl"},
      {"authorityInfoAccess",
       "OCSP;URI:http://ocsp.example.com,caIssuers;URI:http://ca.example.com/issuing.crt"},
      {"basicConstraints", "critical,CA:FALSE"},
  };
  for (const auto& [name, value] : kExtensions) AddExtension(certificate, name, value);
  // Two signed certificate timestamps, as the logs make them: 242 octets that nobody here reads.
  std::string timestamps = "DER:0481F2";
  for (int i = 0; i < 242; ++i) timestamps += "5A";
  AddExtension(certificate, "1.3.6.1.4.1.11129.2.4.2", timestamps.c_str());
}

}  // namespace

const Octets& ServerCertificate() {
  static const Octets der = Make(FillServer);
  return der;
}

SelfSigned::SelfSigned(int bits) {
  const Key pair(EVP_RSA_gen(static_cast<unsigned>(bits)), EVP_PKEY_free);
  certificate = Make(FillServer, pair.get());
  const std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> info(
      EVP_PKEY2PKCS8(pair.get()), PKCS8_PRIV_KEY_INFO_free);
  uint8_t* der = nullptr;
  const int length = i2d_PKCS8_PRIV_KEY_INFO(info.get(), &der);
  Check(length > 0);
  key.assign(der, der + length);
  OPENSSL_free(der);
}

std::vector<Octets> IssuerCandidates(size_t count) {
  Octets der = Make([](X509* certificate) { AddIssuer(X509_get_subject_name(certificate)); });
  const Octets serial = {0x02, 0x10, 0x0D, 0x2A, 0x9F, 0x6B};
  const auto place = std::search(der.begin(), der.end(), serial.begin(), serial.end());
  Check(place != der.end());
  std::vector<Octets> all;
  for (size_t i = 0; i < count; ++i) {
    place[3] = static_cast<uint8_t>(i >> 8);
    place[4] = static_cast<uint8_t>(i);
    all.push_back(der);
  }
  return all;
}

Octets RevocationList(size_t count) {
  const auto element = [](uint8_t tag, const Octets& content) {
    Octets der{tag, 0x84};
    for (int shift = 24; shift >= 0; shift -= 8) {
      der.push_back(static_cast<uint8_t>(content.size() >> shift));
    }
    while (der.size() > 3 && der[2] == 0) der.erase(der.begin() + 2);  // the shortest length
    der[1] = static_cast<uint8_t>(0x80 | (der.size() - 2));
    if (content.size() < 0x80) der = {tag, static_cast<uint8_t>(content.size())};
    der.insert(der.end(), content.begin(), content.end());
    return der;
  };
  const uint8_t* at = ServerCertificate().data();
  const Certificate certificate(
      d2i_X509(nullptr, &at, static_cast<long>(ServerCertificate().size())), X509_free);
  uint8_t* issuer = nullptr;
  const int issuer_length = i2d_X509_NAME(X509_get_issuer_name(certificate.get()), &issuer);
  Check(issuer_length > 0);
  static constexpr uint8_t kAlgorithm[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                           0xF7, 0x0D, 0x01, 0x01, 0x0B, 0x05, 0x00};
  static constexpr uint8_t kTime[] = {0x17, 0x0D, '2', '6', '0', '1', '0', '1',
                                      '0',  '0',  '0', '0', '0', '0', 'Z'};
  Octets entries;
  for (uint64_t i = 0; i < count; ++i) {
    entries.insert(entries.end(), {0x30, 33, 0x02, 16, 0x40});
    for (int octet = 14; octet >= 0; --octet) {
      const uint64_t number = i * 0x9E3779B97F4A7C15;  // in no order
      entries.push_back(octet < 8 ? static_cast<uint8_t>(number >> (8 * octet)) : 0x55);
    }
    entries.insert(entries.end(), std::begin(kTime), std::end(kTime));
  }
  Octets tbs{0x02, 0x01, 0x01};
  tbs.insert(tbs.end(), std::begin(kAlgorithm), std::end(kAlgorithm));
  tbs.insert(tbs.end(), issuer, issuer + issuer_length);
  OPENSSL_free(issuer);
  tbs.insert(tbs.end(), std::begin(kTime), std::end(kTime));
  const Octets list = element(0x30, entries);
  tbs.insert(tbs.end(), list.begin(), list.end());
  Octets all = element(0x30, tbs);
  all.insert(all.end(), std::begin(kAlgorithm), std::end(kAlgorithm));
  all.insert(all.end(), {0x03, 0x02, 0x00, 0xAA});
  return element(0x30, all);
}

const std::vector<Octets>& Roots() {
  static const std::vector<Octets> roots = [] {
    std::vector<Octets> all;
    for (const auto& entry :
         std::filesystem::directory_iterator("/usr/share/ca-certificates/mozilla")) {
      BIO* file = BIO_new_file(entry.path().c_str(), "r");
      const Certificate root(PEM_read_bio_X509(file, nullptr, nullptr, nullptr), X509_free);
      BIO_free(file);
      if (root != nullptr) all.push_back(Encoded(root.get()));
    }
    Check(!all.empty());
    return all;
  }();
  return roots;
}

const std::vector<Octets>& Corpus() {
  static const std::vector<Octets> all = [] {
    const std::filesystem::path corpus = CORVID_CORPUS_DIR;
    std::set<std::string> found;
    for (const std::filesystem::path& folder : {corpus / "certs", corpus / "pkits/certs"}) {
      if (!std::filesystem::is_directory(folder)) continue;
      for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        found.emplace(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
      }
    }
    std::vector<Octets> certificates;
    for (const std::string& der : found) certificates.emplace_back(der.begin(), der.end());
    return certificates;
  }();
  return all;
}

Octets CertificateWithRdns(size_t count) {
  return Make([count](X509* certificate) {
    for (size_t i = 0; i < count; ++i) {
      AddAttribute(X509_get_subject_name(certificate), "OU", "unit " + std::to_string(i));
    }
  });
}

Octets CertificateWithNames(size_t count) {
  return Make([count](X509* certificate) {
    AddAttribute(X509_get_subject_name(certificate), "CN", "names");
    std::string names;
    for (size_t i = 0; i < count; ++i) {
      names += (i == 0 ? "DNS:host" : ",DNS:host") + std::to_string(i) + ".example.com";
    }
    AddExtension(certificate, "subjectAltName", names.c_str());
  });
}

Octets CertificateWithPolicies(size_t count) {
  return Make([count](X509* certificate) {
    AddAttribute(X509_get_subject_name(certificate), "CN", "policies");
    std::string policies;
    for (size_t i = 0; i < count; ++i) {
      policies += (i == 0 ? "1.2.3." : ",1.2.3.") + std::to_string(i);
    }
    AddExtension(certificate, "certificatePolicies", policies.c_str());
  });
}

Octets CertificateWithExtensions(size_t count) {
  return Make([count](X509* certificate) {
    AddAttribute(X509_get_subject_name(certificate), "CN", "extensions");
    for (size_t i = 0; i < count; ++i) {
      AddExtension(certificate, ("1.2.3." + std::to_string(i)).c_str(), "DER:0500");
    }
  });
}

}  // namespace corvid::bench
