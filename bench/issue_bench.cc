// Issuing: a certificate from a request in texts, against the bare private-key operation with a
// prepared key, and against OpenSSL signing a template that is ready and building one from texts.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/bench.h"
#include "corvid/asn.h"
#include "corvid/pkc.h"

namespace corvid::bench {
namespace {

constexpr int64_t kNotBefore = 1767225600;  // 2026-01-01 00:00:00 UTC
constexpr int64_t kNotAfter = 1798761600;   // 2027-01-01 00:00:00 UTC

// What the texts of both sides say.
void FillFromTexts(X509* certificate, EVP_PKEY* key) {
  Check(X509_set_version(certificate, 2) == 1 &&
        ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), 0x12345678) == 1 &&
        ASN1_TIME_set(X509_getm_notBefore(certificate), kNotBefore) != nullptr &&
        ASN1_TIME_set(X509_getm_notAfter(certificate), kNotAfter) != nullptr &&
        X509_set_pubkey(certificate, key) == 1);
  AddIssuer(certificate);
  X509_NAME* const subject = X509_get_subject_name(certificate);
  AddAttribute(subject, "C", "KR");
  AddAttribute(subject, "O", "Example Corporation");
  AddAttribute(subject, "OU", "Web Services");
  AddAttribute(subject, "CN", "User");
  AddExtension(certificate, "subjectKeyIdentifier", "hash");
  AddExtension(certificate, "authorityKeyIdentifier", "keyid");
  AddExtension(certificate, "keyUsage", "critical,digitalSignature,nonRepudiation");
  AddExtension(certificate, "certificatePolicies", "1.2.410.200004.5.2.1.2");
  AddExtension(certificate, "crlDistributionPoints", "URI:http://crl.example.com/ca.crl");
  AddExtension(certificate, "authorityInfoAccess", "OCSP;URI:http://ocsp.example.com");
}

// One key in every form that the rows need.
struct Issuer {
  explicit Issuer(int bits) : key(EVP_RSA_gen(static_cast<unsigned>(bits))) {
    uint8_t* der = nullptr;
    const BIN encoding{i2d_PrivateKey(key, &der), der};
    Check(CVD_CSP_LoadPrivateKey(&loaded, &encoding, nullptr) == 0);
    OPENSSL_free(der);
    int32_t algorithm = 0;
    Check(CVD_CSP_GetPublicKey(loaded, &algorithm, nullptr, &public_key) == 0);
    const Octets self = SelfSigned(bits);
    const BIN in = View(self);
    Check(CVD_ASN_DecodePDU(&certificate, &in, CVD_PDU_CERTIFICATE) == 0);
    ready = X509_new();
    FillFromTexts(ready, key);
    context = EVP_PKEY_CTX_new(key, nullptr);
    Check(EVP_PKEY_sign_init(context) == 1 &&
          EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1 &&
          EVP_PKEY_CTX_set_signature_md(context, EVP_sha256()) == 1);
  }
  EVP_PKEY* key;
  CVD_PrivateKey* loaded = nullptr;
  BIN public_key{0, nullptr};
  void* certificate = nullptr;
  X509* ready;
  EVP_PKEY_CTX* context;
};

template <int kBits>
const Issuer& TheIssuer() {
  static const Issuer issuer(kBits);
  return issuer;
}

void Issue(const Issuer& issuer) {
  PKCGenExtOptions options{};
  options.policy = "1.2.410.200004.5.2.1.2";
  options.crl = "http://crl.example.com/ca.crl";
  options.ocsp = "http://ocsp.example.com";
  PKCGenContext context{};
  context.signerAlgorithm = CVD_PKEY_RSA;
  context.signingKey = issuer.loaded;
  BIN der{0, nullptr};
  Check(CVD_PKC_GenCertificate(&der, 0x12345678, CVD_SIGN_SHA256_RSA, kNotBefore, kNotAfter,
                               "cn=User,ou=Web Services,o=Example Corporation,c=KR", CVD_PKEY_RSA,
                               nullptr, &issuer.public_key,
                               static_cast<const CVD_Certificate*>(issuer.certificate), &options,
                               &context) == 0);
  CVD_BIN_Reset(&der);
}

void SignBare(const Issuer& issuer) {
  static const uint8_t kDigest[32] = {1};
  uint8_t signature[512];
  size_t length = sizeof signature;
  Check(EVP_PKEY_sign(issuer.context, signature, &length, kDigest, sizeof kDigest) == 1);
}

void Encode(X509* certificate) {
  uint8_t* der = nullptr;
  Check(i2d_X509(certificate, &der) > 0);
  OPENSSL_free(der);
}

void SignReady(const Issuer& issuer) {
  Check(X509_sign(issuer.ready, issuer.key, EVP_sha256()) != 0);
  Encode(issuer.ready);
}

void SignFromTexts(const Issuer& issuer) {
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
  FillFromTexts(certificate.get(), issuer.key);
  Check(X509_sign(certificate.get(), issuer.key, EVP_sha256()) != 0);
  Encode(certificate.get());
}

template <int kBits, void (*kWork)(const Issuer& issuer)>
void Measure(benchmark::State& state) {
  const Issuer& issuer = TheIssuer<kBits>();
  kWork(issuer);  // what is prepared once
  const size_t before = Allocations();
  kWork(issuer);
  state.counters["allocations"] = static_cast<double>(Allocations() - before);
  for (auto _ : state) kWork(issuer);
}

BENCHMARK(Measure<2048, Issue>)->Name("issue2048/corvid");
BENCHMARK(Measure<2048, SignBare>)->Name("issue2048/bare");
BENCHMARK(Measure<2048, SignReady>)->Name("issue2048/openssl_ready");
BENCHMARK(Measure<2048, SignFromTexts>)->Name("issue2048/openssl_texts");
BENCHMARK(Measure<4096, Issue>)->Name("issue4096/corvid");
BENCHMARK(Measure<4096, SignBare>)->Name("issue4096/bare");
BENCHMARK(Measure<4096, SignReady>)->Name("issue4096/openssl_ready");
BENCHMARK(Measure<4096, SignFromTexts>)->Name("issue4096/openssl_texts");

}  // namespace
}  // namespace corvid::bench
