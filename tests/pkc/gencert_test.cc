// Issuing: what a request and a template make, read back by the library and checked by OpenSSL, and
// what each mistake in them answers.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <gtest/gtest.h>
#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <sstream>

#include "support/signing.h"

namespace corvid::test {
namespace {

constexpr int64_t kNotBefore = 1767225600;  // 2026-01-01 00:00:00 UTC
constexpr int64_t kNotAfter = 2524607999;   // 2049-12-31 23:59:59 UTC

// A key pair made by OpenSSL, loaded by us.
class Key {
 public:
  explicit Key(EVP_PKEY* made) : made_(made) {
    const Input encoding(EncodedBy(i2d_PrivateKey, made_));
    EXPECT_EQ(CVD_CSP_LoadPrivateKey(&key, encoding.bin(), nullptr), 0u);
    EXPECT_EQ(CVD_CSP_GetPublicKey(key, &algorithm, &parameters, &octets), 0u);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    CVD_CSP_FreePrivateKey(key);
    EVP_PKEY_free(made_);
  }
  EVP_PKEY* made() const { return made_; }

  CVD_PrivateKey* key = nullptr;
  int32_t algorithm = 0;
  Output parameters;
  Output octets;

 private:
  EVP_PKEY* made_;
};

const Key& RsaKey() {
  static const Key key(EVP_RSA_gen(1024));
  return key;
}

const Key& DsaKey() {
  static const Key key([] {
    DSA* dsa = DSA_new();
    DSA_generate_parameters_ex(dsa, 1024, nullptr, 0, nullptr, nullptr, nullptr);
    DSA_generate_key(dsa);
    EVP_PKEY* made = EVP_PKEY_new();
    EVP_PKEY_assign_DSA(made, dsa);
    return made;
  }());
  return key;
}

// The arguments of CVD_PKC_GenCertificate; by default a self-signed certificate of the RSA key.
struct Request {
  uint32_t serial = 1;
  int32_t sign = CVD_SIGN_SHA256_RSA;
  const char* subject = "cn=User,o=Org,c=KR";
  int32_t algorithm = CVD_PKEY_RSA;
  const BIN* parameters = nullptr;
  const BIN* octets = &RsaKey().octets;
  const CVD_Certificate* issuer = nullptr;
  PKCGenExtOptions options{};
  PKCGenContext context{CVD_PKEY_RSA, 0, RsaKey().key, 0, 1, 0};

  uint32_t Issue(BIN* der) const {
    return CVD_PKC_GenCertificate(der, serial, sign, kNotBefore, kNotAfter, subject, algorithm,
                                  parameters, octets, issuer, &options, &context);
  }
};

// "2.5.29.15!" for each extension, "!" when critical.
std::string ExtensionsOf(const CVD_Certificate& certificate) {
  std::string list;
  for (const auto* node = certificate.tbsCertificate.extensions; node != nullptr;
       node = node->next) {
    char* dotted = nullptr;
    EXPECT_EQ(CVD_ASN_OID2DotVal(&dotted, &node->extension.extnID), 0u);
    list += std::string(dotted) + (node->extension.critical != 0 ? "! " : " ");
    CVD_free(dotted);
  }
  return list;
}

bool OpensslVerifies(const Octets& der, EVP_PKEY* issuer) {
  const auto certificate = ReadByOpenssl(der);
  return certificate != nullptr && X509_verify(certificate.get(), issuer) == 1;
}

TEST(Issuing, EveryAlgorithmVerifiesHereAndInOpenssl) {
  for (const int32_t sign : {1, 2, 3, 4, 5, 6, 15}) {
    const Key& key = sign == CVD_SIGN_SHA1_DSA ? DsaKey() : RsaKey();
    Request request;
    request.sign = sign;
    request.algorithm = request.context.signerAlgorithm = key.algorithm;
    request.context.signingKey = key.key;
    request.parameters = &key.parameters;
    request.octets = &key.octets;
    request.context.ca = 1;
    Output ca_der;
    ASSERT_EQ(request.Issue(&ca_der), 0u) << sign;
    const Certificate ca(ca_der.octets());
    ASSERT_EQ(ca.status, 0u);
    EXPECT_EQ(ca->tbsCertificate.signature.present, sign == CVD_SIGN_SHA1_DSA ? 0 : 0x80);
    EXPECT_EQ(ExtensionsOf(*ca.get()), "2.5.29.14 2.5.29.15! 2.5.29.19! ");
    EXPECT_EQ(CVD_PKC_VerifySignature(ca.get(), ca.get()), 0u) << sign;

    request.issuer = ca.get();
    request.context.selfSigned = request.context.ca = 0;
    request.subject = "cn=Other,c=KR";
    Output der;
    ASSERT_EQ(request.Issue(&der), 0u) << sign;
    const Certificate user(der.octets());
    EXPECT_EQ(ExtensionsOf(*user.get()), "2.5.29.35 2.5.29.14 2.5.29.15! ");
    EXPECT_EQ(CVD_PKC_VerifySignature(user.get(), ca.get()), 0u) << sign;
    if (sign == CVD_SIGN_MD2_RSA) continue;  // OpenSSL has no MD2
    EXPECT_TRUE(OpensslVerifies(ca_der.octets(), key.made())) << sign;
    EXPECT_TRUE(OpensslVerifies(der.octets(), key.made())) << sign;
  }
}

TEST(Issuing, ARequestReadsBackFieldByField) {
  const Options utf8("ko_KR-UTF-8");
  const Input vid("00112233445566778899AABBCCDDEEFF00112233");
  Request request;
  request.serial = 0xFFFFFFFF;
  request.subject = "cn=홍길동,ou=a+o=b,c=KR";
  request.options = {
      "1.2.410.200004.5.2.1.2",   "http://cps.example", "안내문", "홍길동", vid.bin(),
      "http://crl.example/a.crl", "http://ocsp.example"};
  request.context.ca = 1;
  Output der;
  ASSERT_EQ(request.Issue(&der), 0u);
  EXPECT_EQ(ExtensionsOf(*Certificate(der.octets()).get()),
            "2.5.29.14 2.5.29.15! 2.5.29.32 2.5.29.17 2.5.29.19! 2.5.29.31 1.3.6.1.5.5.7.1.1 ");
  PKCCertInfo info;
  ASSERT_EQ(
      CVD_ExtractCertInfo(nullptr, nullptr, der.data, static_cast<uint32_t>(der.length), 1, &info),
      0u);
  Output digest;
  ASSERT_EQ(CVD_CSP_Hash(&digest, &RsaKey().octets, CVD_HASH_SHA1), 0u);
  const std::string fields[][2] = {
      {info.serialHex, "ffffffff"},
      {info.subjectDN, "cn=홍길동,ou=a+o=b,c=KR"},
      {info.subjectKeyId, ToHex(digest.octets())},
      {info.keyUsage, "digitalSignature,nonRepudiation,keyEncipherment,keyCertSign,cRLSign"},
      {info.policies, "1.2.410.200004.5.2.1.2"},
      {info.policyCps, "http://cps.example"},
      {info.policyNotice, "안내문"},
      {info.vid, "00112233445566778899aabbccddeeff00112233"},
      {info.vidHashAlgorithm, "SHA1"},
      {info.basicConstraints, "Subject Type=CA, Path Length Constraint=None"},
      {info.crlDistPoints, "URL=http://crl.example/a.crl"},
      {info.authInfoAccess, "OCSP:URL=http://ocsp.example"},
      {info.authorityKeyId, ""},
  };
  for (const auto& [field, expected] : fields) EXPECT_EQ(field, expected);
  EXPECT_EQ(info.version, 3u);
  EXPECT_TRUE(OpensslVerifies(der.octets(), RsaKey().made()));
}

TEST(Issuing, KeysGetTheirUsageAndTheIssuersIdentifier) {
  const Input parameters("3009020107020103020102");
  const Input key("020104");
  Output ca_der;
  ASSERT_EQ(Request().Issue(&ca_der), 0u);
  const Certificate issuer(ca_der.octets());
  Output digest;
  ASSERT_EQ(CVD_CSP_Hash(&digest, &RsaKey().octets, CVD_HASH_SHA1), 0u);
  const struct {
    int32_t algorithm, ca;
    const char* usage;  // the last octets of the extension
  } rows[] = {{CVD_PKEY_RSA, 0, "030204F0"},   {CVD_PKEY_RSA, 1, "030201E6"},
              {CVD_PKEY_DSA, 0, "030206C0"},   {CVD_PKEY_DSA, 1, "030201C6"},
              {CVD_PKEY_KCDSA, 0, "030206C0"}, {CVD_PKEY_KCDSA, 1, "030201C6"}};
  for (const auto& row : rows) {
    Request request;
    request.algorithm = row.algorithm;
    request.parameters = parameters.bin();
    request.octets = key.bin();
    request.issuer = issuer.get();
    request.context.selfSigned = 0;
    request.context.ca = row.ca;
    Output der;
    ASSERT_EQ(request.Issue(&der), 0u);
    const Certificate certificate(der.octets());
    const auto& tbs = certificate->tbsCertificate;
    const CVD_Extension& authority = tbs.extensions->extension;
    Output issuer_id;
    ASSERT_EQ(CVD_PKC_AuthKeyId_Decode(&issuer_id, &authority.extnValue), 0u);
    EXPECT_EQ(issuer_id.octets(), digest.octets());
    const CVD_Extension& usage = tbs.extensions->next->next->extension;
    EXPECT_EQ(OctetsOf(usage.extnValue), Hex(row.usage)) << row.algorithm << row.ca;
    EXPECT_EQ(OctetsOf(tbs.subjectPublicKeyInfo.algorithm.parameters),
              row.algorithm == CVD_PKEY_RSA ? Hex("0500") : OctetsOf(*parameters));
  }
}

TEST(Issuing, EachMistakeHasItsCodeAndTrace) {
  static const BIN kEmpty{0, nullptr};
  static const std::string kLongName = "cn=" + std::string(65, 'x');
  const char* const untraced = nullptr;
  const char* const encoder = "CVD_PKC_Cert_Encode";
  const struct {
    void (*spoil)(Request*);
    uint32_t status;
    const char* trace = "";  // before the function's own
  } rows[] = {
      {[](Request* r) { r->octets = &kEmpty; }, 36001, untraced},
      {[](Request* r) { r->context.selfSigned = 0; }, 36001},
      {[](Request* r) { r->subject = kLongName.c_str(); }, 1021,
       "CVD_PKC_AsnRDN_Encode CVD_ImplementRDN"},
      {[](Request* r) { r->algorithm = CVD_PKEY_DH; }, 36011, "CVD_PKC_KeyUsage_Encode"},
      {[](Request* r) { r->options.policy = "1"; }, 1017, "CVD_PKC_CertPolicies_Encode"},
      {[](Request* r) { r->options.holderName = "a"; }, 36001},
      {[](Request* r) { r->sign = 7; }, 36012, encoder},
      {[](Request* r) { r->algorithm = CVD_PKEY_DSA; }, 36001, encoder},
      {[](Request* r) { r->context.signerAlgorithm = 11; }, 36011, encoder},
      {[](Request* r) { r->context.signingKey = nullptr; }, 36001, encoder},
      {[](Request* r) { r->sign = CVD_SIGN_SHA1_DSA; }, 6020, encoder},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    Request request;
    row.spoil(&request);
    CVD_Trace_Clear();
    Output der;
    EXPECT_EQ(request.Issue(&der), row.status);
    EXPECT_EQ(der.data, nullptr);
    std::istringstream functions(
        row.trace == untraced ? "" : row.trace + std::string(" CVD_PKC_GenCertificate"));
    std::string trace;
    for (std::string function; functions >> function;) {
      trace += function + ' ' + std::to_string(row.status) + '\n';
    }
    EXPECT_EQ(TakeTrace(), trace);
  }
}

// ---- templates -----------------------------------------------------------------------------

TEST(Template, SlotsKeepTheirOrderAndCriticality) {
  const Input value("0500");
  const Input serial("00");
  const Certificate names(MakeCertificate({}));
  PKCCertTemplate given{};
  given.serialNumber = {1, serial.bin()->data};
  given.signatureAlgorithm = CVD_SIGN_SHA1_RSA;
  given.issuer = &names->tbsCertificate.issuer;
  given.subject = &names->tbsCertificate.subject;
  given.notBefore = kNotBefore;
  given.notAfter = kNotAfter + 1;  // 2050: UTCTime cannot say so
  given.keyAlgorithm = CVD_PKEY_RSA;
  given.publicKey = RsaKey().octets;
  const auto encode = [&](int32_t signer) {
    Output der;
    EXPECT_EQ(CVD_PKC_Cert_Encode(&der, &given, signer, nullptr, RsaKey().key), 0u);
    return der.octets();
  };
  Output none;
  given.extensions[PKC_SLOT_SUBJECT_KEY_IDENTIFIER] = value.bin();
  CVD_Trace_Clear();
  EXPECT_EQ(CVD_PKC_Cert_Encode(&none, &given, CVD_PKEY_RSA, nullptr, RsaKey().key), 36061u);
  EXPECT_EQ(TakeTrace(), "CVD_PKC_AsnExts_Encode 36061\nCVD_PKC_Cert_Encode 36061\n");
  for (const BIN*& extension : given.extensions) extension = value.bin();
  const Certificate all(encode(CVD_PKEY_RSA));
  ASSERT_EQ(all.status, 0u);
  EXPECT_EQ(ExtensionsOf(*all.get()),
            "2.5.29.35 2.5.29.14 2.5.29.15! 2.5.29.32 2.5.29.17 2.5.29.19! 2.5.29.30 2.5.29.37! "
            "2.5.29.31 1.3.6.1.5.5.7.1.1 ");
  EXPECT_EQ(all->tbsCertificate.notAfter.kind, CVD_TIME_UTC);
  EXPECT_EQ(all->tbsCertificate.notAfter.fields.year, 50);
  EXPECT_EQ(all->tbsCertificate.signature.present, 0x80);
  // Without an RSA signer no parameters, whatever the signature algorithm.
  EXPECT_EQ(Certificate(encode(CVD_PKEY_DSA))->signatureAlgorithm.present, 0);
}

TEST(Template, KeysGoIntoRecordsAndBack) {
  const Input parameters("3000");
  const Input key("020104");
  CVD_SubjectPublicKeyInfo info;
  int32_t algorithm = 0;
  for (const int32_t each : {CVD_PKEY_RSA, CVD_PKEY_DH, CVD_PKEY_DSA, CVD_PKEY_KCDSA}) {
    ASSERT_EQ(CVD_PKC_AsnSubPubKeyInfo_Encode(&info, each, parameters.bin(), key.bin()), 0u);
    BIN read_parameters{7, nullptr};
    BIN read_key{};
    ASSERT_EQ(CVD_PKC_AsnSubPubKeyInfo_Decode(&algorithm, &read_parameters, &read_key, &info), 0u);
    EXPECT_EQ(algorithm, each);
    EXPECT_EQ(read_parameters.length, each == CVD_PKEY_RSA ? 7 : 2);  // untouched for RSA
    EXPECT_EQ(read_key.data, key.bin()->data);
    EXPECT_EQ(info.subjectPublicKey.bits, 24u);
  }
  BIN out{};
  CVD_Trace_Clear();
  EXPECT_EQ(CVD_PKC_AsnSubPubKeyInfo_Encode(&info, 7, parameters.bin(), key.bin()), 36011u);
  info.algorithm.algorithm = *CVD_ASN_GetOID(CVD_OID_SHA1);
  EXPECT_EQ(CVD_PKC_AsnSubPubKeyInfo_Decode(&algorithm, &out, &out, &info), 36011u);
  EXPECT_EQ(TakeTrace(),
            "CVD_PKC_AsnSubPubKeyInfo_Encode 36011\nCVD_PKC_AsnSubPubKeyInfo_Decode 36011\n");
  EXPECT_EQ(CVD_PKC_AsnSubPubKeyInfo_Encode(&info, CVD_PKEY_RSA, nullptr, key.bin()), 0u);
}

}  // namespace
}  // namespace corvid::test
