// A compact request for a certificate. Input: options, choices, serial number, times, lines of
// text, the subject's key. Contract: what is issued decodes, verifies with the issuer's key, and
// says what was asked; a refused request leaves nothing.
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include "fuzz/names.h"

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Bin;
using corvid::pkc::Octets;

// A signing key made at the start, and a certificate of it.
struct Issuer {
  Issuer() {
    EVP_PKEY* made = EVP_RSA_gen(1024);
    uint8_t* der = nullptr;
    const int length = i2d_PrivateKey(made, &der);
    Require(length > 0 && key.Load({der, static_cast<size_t>(length)}, nullptr).ok(),
            "the key loads");
    OPENSSL_free(der);
    EVP_PKEY_free(made);
    int32_t pkey_id = 0;
    Require(CVD_CSP_GetPublicKey(key.get(), &pkey_id, nullptr, public_key.out()) == 0,
            "the key has a public half");
    const PKCGenContext context{CVD_PKEY_RSA, 0, key.get(), 0, 1, 1};
    const PKCGenExtOptions none{};
    Bin self_signed;
    Require(CVD_PKC_GenCertificate(self_signed.out(), 1, CVD_SIGN_SHA256_RSA, 0, 0, "CN=CA",
                                   CVD_PKEY_RSA, nullptr, &public_key.get(), nullptr, &none,
                                   &context) == 0,
            "the issuer is made");
    Require(certificate.Decode(self_signed.octets()).ok(), "and decodes");
  }
  corvid::pkc::PrivateKey key;
  Bin public_key;
  corvid::pkc::Certificate certificate;
};

struct Request {
  explicit Request(corvid::fuzz::Input* input) {
    flags = input->Octet();
    signID = static_cast<int32_t>(input->Below(30)) - 1;
    pkeyID = static_cast<int32_t>(input->Below(15)) - 1;
    for (int i = 0; i < 4; ++i) serial = serial << 8 | input->Octet();
    for (int64_t& time : times) {
      for (int i = 0; i < 4; ++i) time = time << 8 | input->Octet();
      constexpr int64_t kYear1950 = -631152000;
      constexpr int64_t kYear2050 = 2524608000;
      time = kYear1950 + time % (kYear2050 - kYear1950);
    }
    for (std::string& line : lines) line = input->Line();
    key = std::string(input->Rest().text());
  }
  bool self_signed() const { return (flags & 0x01) != 0; }
  bool ca() const { return (flags & 0x02) != 0; }
  // The text of line `index`, or null when it is left out.
  const char* Line(size_t index) const {
    return (flags >> (2 + index) & 1) != 0 ? lines[index + 1].c_str() : nullptr;
  }

  uint32_t flags;
  int32_t signID;
  int32_t pkeyID;
  uint32_t serial = 0;
  int64_t times[2] = {0, 0};
  std::string lines[7];  // the subject, then the options in their order
  std::string key;
};

const CVD_Extension* Find(const CVD_TBSCertificate& tbs, int32_t oid) {
  return CVD_GetExtension(tbs.extensions, CVD_ASN_GetOID(oid));
}

// The text of an extension with one address, and all of it.
void CheckUri(const CVD_TBSCertificate& tbs, const char* uri, std::string_view label,
              uint32_t (*render)(char*, int32_t, const CVD_ExtensionNode*)) {
  std::string text(16384, '\0');
  const uint32_t status = render(text.data(), static_cast<int32_t>(text.size()), tbs.extensions);
  Require((status == 0) == (uri != nullptr), "an address is there when it was asked for");
  if (uri != nullptr)
    Require(std::string_view(text.data()) == std::string(label) + uri, "as it was passed");
}

void CheckExtensions(const Request& request, const CVD_Certificate& certificate) {
  const CVD_TBSCertificate& tbs = certificate.tbsCertificate;
  Require(CVD_CheckCaOrNot(nullptr, &certificate) == (request.ca() ? 1 : 0),
          "a CA is one when it was asked for");
  Require(Find(tbs, CVD_OID_KEY_USAGE) != nullptr, "there is a keyUsage");
  Require((Find(tbs, CVD_OID_AUTHORITY_KEY_IDENTIFIER) != nullptr) == !request.self_signed(),
          "the issuer's key is named");
  Require((Find(tbs, CVD_OID_CERTIFICATE_POLICIES) != nullptr) == (request.Line(0) != nullptr),
          "a policy is there when it was asked for");
  Require((Find(tbs, CVD_OID_SUBJECT_ALT_NAME) != nullptr) == (request.Line(3) != nullptr),
          "and a holder");
  CheckUri(tbs, request.Line(4), "URL=", CVD_PKC_CrlDistPoints_ToString);
  CheckUri(tbs, request.Line(5), "OCSP:URL=", CVD_PKC_AuthInfoAccess_ToString);
}

void CheckIssued(const Request& request, const Issuer& issuer, Octets der) {
  corvid::pkc::Certificate certificate;
  Require(certificate.Decode(der).ok(), "what is issued decodes");
  const CVD_TBSCertificate& tbs = certificate->tbsCertificate;
  uint32_t serial = 0;
  Require(CVD_HugeToNumEx(&tbs.serialNumber, &serial) == 0 && serial == request.serial,
          "with its serial number");
  Require(corvid::pkc::Seconds(tbs.notBefore) == request.times[0] &&
              corvid::pkc::Seconds(tbs.notAfter) == request.times[1],
          "its times");
  const corvid::fuzz::ParsedName subject(request.lines[0]);
  Require(CVD_ASN_CmpName(&subject, &tbs.subject) == 0, "its subject");
  const bool own_key =
      request.self_signed() && request.key.empty() && request.pkeyID == CVD_PKEY_RSA;
  if (!request.self_signed() || own_key) {
    const CVD_Certificate& signer = own_key ? *certificate : *issuer.certificate;
    Require(CVD_PKC_VerifySignature(&*certificate, &signer) == 0, "what is issued verifies");
  }
  CheckExtensions(request, *certificate);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Issuer kIssuer;
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  const Request request(&input);
  uint8_t vid_octets[20] = {1};
  const BIN vid{sizeof vid_octets, vid_octets};
  const BIN given_key = Octets(request.key).bin();
  const BIN no_parameters{2, const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>("\x05"))};
  const PKCGenExtOptions options{
      request.Line(0), request.Line(1), request.Line(2), request.Line(3), &vid,
      request.Line(4), request.Line(5)};
  const PKCGenContext context{
      CVD_PKEY_RSA, 0, kIssuer.key.get(), 0, request.self_signed() ? 1 : 0, request.ca() ? 1 : 0};
  BIN der{0, nullptr};
  const uint32_t status = CVD_PKC_GenCertificate(
      &der, request.serial, request.signID, request.times[0], request.times[1],
      request.lines[0].c_str(), request.pkeyID, &no_parameters,
      request.key.empty() ? &kIssuer.public_key.get() : &given_key, &*kIssuer.certificate, &options,
      &context);
  if (status != 0) {
    Require(der.length == 0 && der.data == nullptr, "a refused request leaves nothing");
    return 0;
  }
  CheckIssued(request, kIssuer, der);
  CVD_BIN_Reset(&der);
  return 0;
}
