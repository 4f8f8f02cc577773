#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/peer.h"

namespace corvid::bench {
namespace {

using Certificate = std::shared_ptr<X509>;
using Key = std::shared_ptr<EVP_PKEY>;
using KeyContext = std::shared_ptr<EVP_PKEY_CTX>;
using Text = std::unique_ptr<BIO, decltype(&BIO_free)>;

Certificate Parse(const Octets& der) {
  const uint8_t* at = der.data();
  return {d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free};
}

Key LoadKey(const Octets& pkcs8) {
  const uint8_t* at = pkcs8.data();
  Key key(d2i_AutoPrivateKey(nullptr, &at, static_cast<long>(pkcs8.size())), EVP_PKEY_free);
  Check(key != nullptr);
  return key;
}

// ---- reading -------------------------------------------------------------------------------

bool DecodeAndRelease(const Octets& der) {
  const uint8_t* at = der.data();
  X509* const certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
  X509_free(certificate);
  return certificate != nullptr;
}

bool Print(const Octets& der) {
  const Certificate certificate = Parse(der);
  if (certificate == nullptr) return false;
  const Text out(BIO_new(BIO_s_mem()), BIO_free);
  return X509_print_ex(out.get(), certificate.get(), XN_FLAG_COMPAT, X509_FLAG_COMPAT) == 1;
}

// One line that neither escapes nor converts.
Work Subject(const Octets& der) {
  return [certificate = Parse(der)] {
    char* text = X509_NAME_oneline(X509_get_subject_name(certificate.get()), nullptr, 0);
    benchmark::DoNotOptimize(text);
    OPENSSL_free(text);
    return text != nullptr;
  };
}

Work SubjectRfc2253(const Octets& der) {
  return [certificate = Parse(der)] {
    const Text out(BIO_new(BIO_s_mem()), BIO_free);
    return X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate.get()), 0,
                              XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB) > 0;
  };
}

// ---- checking ------------------------------------------------------------------------------

Work Verify(const Octets& der) {
  return [certificate = Parse(der)] {
    return X509_verify(certificate.get(), X509_get0_pubkey(certificate.get())) == 1;
  };
}

KeyContext Prepared(EVP_PKEY* key, int (*begin)(EVP_PKEY_CTX* context)) {
  KeyContext context(EVP_PKEY_CTX_new(key, nullptr), EVP_PKEY_CTX_free);
  Check(begin(context.get()) == 1 &&
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) == 1 &&
        EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1);
  return context;
}

Octets DigestOfTbs(X509* certificate) {
  uint8_t* tbs = nullptr;
  const int length = i2d_re_X509_tbs(certificate, &tbs);
  Octets digest(32);
  Check(length > 0 && EVP_Digest(tbs, static_cast<size_t>(length), digest.data(), nullptr,
                                 EVP_sha256(), nullptr) == 1);
  OPENSSL_free(tbs);
  return digest;
}

Work VerifyBare(const Octets& der) {
  const Certificate certificate = Parse(der);
  const KeyContext context = Prepared(X509_get0_pubkey(certificate.get()), EVP_PKEY_verify_init);
  return [certificate, context, digest = DigestOfTbs(certificate.get())] {
    const ASN1_BIT_STRING* signature = nullptr;
    X509_get0_signature(&signature, nullptr, certificate.get());
    return EVP_PKEY_verify(context.get(), signature->data, static_cast<size_t>(signature->length),
                           digest.data(), digest.size()) == 1;
  };
}

// ---- issuing -------------------------------------------------------------------------------

void FillFromTexts(X509* certificate, EVP_PKEY* key) {
  Check(X509_set_version(certificate, 2) == 1 &&
        ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), kSerial) == 1 &&
        ASN1_TIME_set(X509_getm_notBefore(certificate), kNotBefore) != nullptr &&
        ASN1_TIME_set(X509_getm_notAfter(certificate), kNotAfter) != nullptr &&
        X509_set_pubkey(certificate, key) == 1);
  AddIssuer(X509_get_issuer_name(certificate));
  X509_NAME* const subject = X509_get_subject_name(certificate);
  AddAttribute(subject, "C", "KR");
  AddAttribute(subject, "O", "Example Corporation");
  AddAttribute(subject, "OU", "Web Services");
  AddAttribute(subject, "CN", "User");
  AddExtension(certificate, "subjectKeyIdentifier", "hash");
  AddExtension(certificate, "authorityKeyIdentifier", "keyid");
  AddExtension(certificate, "keyUsage", "critical,digitalSignature,nonRepudiation");
  AddExtension(certificate, "certificatePolicies", kPolicy);
  AddExtension(certificate, "crlDistributionPoints", (std::string("URI:") + kListUrl).c_str());
  AddExtension(certificate, "authorityInfoAccess", (std::string("OCSP;URI:") + kOcspUrl).c_str());
}

bool SignAndEncode(X509* certificate, EVP_PKEY* key) {
  uint8_t* der = nullptr;
  if (X509_sign(certificate, key, EVP_sha256()) == 0 || i2d_X509(certificate, &der) <= 0) {
    return false;
  }
  OPENSSL_free(der);
  return true;
}

Work Issue(const SelfSigned& issuer) {
  return [key = LoadKey(issuer.key)] {
    const Certificate certificate(X509_new(), X509_free);
    FillFromTexts(certificate.get(), key.get());
    return SignAndEncode(certificate.get(), key.get());
  };
}

Work IssueTemplate(const SelfSigned& issuer) {
  const Key key = LoadKey(issuer.key);
  const Certificate ready(X509_new(), X509_free);
  FillFromTexts(ready.get(), key.get());
  return [key, ready] { return SignAndEncode(ready.get(), key.get()); };
}

Work SignBare(const SelfSigned& issuer) {
  const Key key = LoadKey(issuer.key);
  return [key, context = Prepared(key.get(), EVP_PKEY_sign_init)] {
    static const uint8_t kDigest[32] = {1};
    uint8_t signature[512];
    size_t length = sizeof signature;
    return EVP_PKEY_sign(context.get(), signature, &length, kDigest, sizeof kDigest) == 1;
  };
}

}  // namespace

const Peer kOpenssl = {"openssl", DecodeAndRelease, Print, Subject, Verify, Issue};
const Peer kOpensslRfc2253 = {.name = "openssl_rfc2253", .subject = SubjectRfc2253};
const Peer kOpensslTemplate = {.name = "openssl_template", .issue = IssueTemplate};
const Peer kBare = {.name = "bare", .verify = VerifyBare, .issue = SignBare};

}  // namespace corvid::bench
