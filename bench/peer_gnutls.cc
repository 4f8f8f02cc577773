#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <iterator>
#include <memory>

#include "bench/peer.h"

namespace corvid::bench {
namespace {

using Certificate = std::shared_ptr<gnutls_x509_crt_int>;
using PublicKey = std::shared_ptr<gnutls_pubkey_st>;
using PrivateKey = std::shared_ptr<gnutls_privkey_st>;

gnutls_datum_t Datum(const Octets& octets) {
  return {const_cast<uint8_t*>(octets.data()), static_cast<unsigned>(octets.size())};
}

// Null when it is refused.
Certificate Parse(const Octets& der) {
  gnutls_x509_crt_t certificate = nullptr;
  Check(gnutls_x509_crt_init(&certificate) == 0);
  Certificate held(certificate, gnutls_x509_crt_deinit);
  const gnutls_datum_t in = Datum(der);
  if (gnutls_x509_crt_import(certificate, &in, GNUTLS_X509_FMT_DER) != 0) held.reset();
  return held;
}

PublicKey KeyOf(const Certificate& certificate) {
  gnutls_pubkey_t key = nullptr;
  Check(gnutls_pubkey_init(&key) == 0 && gnutls_pubkey_import_x509(key, certificate.get(), 0) == 0);
  return {key, gnutls_pubkey_deinit};
}

bool DecodeAndRelease(const Octets& der) { return Parse(der) != nullptr; }

bool Print(const Octets& der) {
  const Certificate certificate = Parse(der);
  gnutls_datum_t text{nullptr, 0};
  if (certificate == nullptr ||
      gnutls_x509_crt_print(certificate.get(), GNUTLS_CRT_PRINT_FULL, &text) != 0) {
    return false;
  }
  gnutls_free(text.data);
  return true;
}

Work Subject(const Octets& der) {
  return [certificate = Parse(der)] {
    gnutls_datum_t text{nullptr, 0};
    if (gnutls_x509_crt_get_dn3(certificate.get(), &text, 0) != 0) return false;
    gnutls_free(text.data);
    return true;
  };
}

// What was signed, as it stands in the certificate; both lengths are of two octets.
Octets SignedPart(const Octets& der) {
  Check(der.size() > 8 && der[1] == 0x82 && der[5] == 0x82);
  const auto begin = der.begin() + 4;
  return {begin, begin + 4 + (der[6] << 8 | der[7])};
}

Work Verify(const Octets& der) {
  const Certificate certificate = Parse(der);
  std::string text(512, '\0');
  size_t size = text.size();
  Check(gnutls_x509_crt_get_signature(certificate.get(), text.data(), &size) == 0);
  const Octets signature(text.data(), text.data() + size);
  return [key = KeyOf(certificate), signature, tbs = SignedPart(der)] {
    const gnutls_datum_t data = Datum(tbs);
    const gnutls_datum_t proof = Datum(signature);
    return gnutls_pubkey_verify_data2(key.get(), GNUTLS_SIGN_RSA_SHA256, 0, &data, &proof) >= 0;
  };
}

struct Signer {
  explicit Signer(const SelfSigned& issuer)
      : certificate(Parse(issuer.certificate)), public_key(KeyOf(certificate)) {
    gnutls_privkey_t key = nullptr;
    const gnutls_datum_t in = Datum(issuer.key);
    Check(gnutls_privkey_init(&key) == 0 &&
          gnutls_privkey_import_x509_raw(key, &in, GNUTLS_X509_FMT_DER, nullptr, 0) == 0);
    private_key.reset(key, gnutls_privkey_deinit);
  }
  Certificate certificate;
  PublicKey public_key;
  PrivateKey private_key;
};

bool FillFromTexts(gnutls_x509_crt_t made, const Signer& signer) {
  static const uint8_t kSerialOctets[] = {0x12, 0x34, 0x56, 0x78};
  uint8_t id[20];
  size_t id_size = sizeof id;
  std::string policy_id = kPolicy;
  gnutls_x509_policy_st policy{};
  policy.oid = policy_id.data();
  Octets ocsp_url(std::begin(kOcspUrl), std::end(kOcspUrl) - 1);
  gnutls_datum_t ocsp = Datum(ocsp_url);
  return gnutls_x509_crt_set_version(made, 3) == 0 &&
         gnutls_x509_crt_set_serial(made, kSerialOctets, sizeof kSerialOctets) == 0 &&
         gnutls_x509_crt_set_activation_time(made, kNotBefore) == 0 &&
         gnutls_x509_crt_set_expiration_time(made, kNotAfter) == 0 &&
         gnutls_x509_crt_set_dn(made, kSubjectName, nullptr) == 0 &&
         gnutls_x509_crt_set_pubkey(made, signer.public_key.get()) == 0 &&
         gnutls_x509_crt_get_key_id(made, GNUTLS_KEYID_USE_SHA1, id, &id_size) == 0 &&
         gnutls_x509_crt_set_subject_key_id(made, id, id_size) == 0 &&
         gnutls_x509_crt_set_authority_key_id(made, id, id_size) == 0 &&
         gnutls_x509_crt_set_key_usage(
             made, GNUTLS_KEY_DIGITAL_SIGNATURE | GNUTLS_KEY_NON_REPUDIATION) == 0 &&
         gnutls_x509_crt_set_policy(made, &policy, 0) == 0 &&
         gnutls_x509_crt_set_crl_dist_points2(made, GNUTLS_SAN_URI, kListUrl,
                                              std::size(kListUrl) - 1, 0) == 0 &&
         gnutls_x509_crt_set_authority_info_access(made, GNUTLS_IA_OCSP_URI, &ocsp) == 0;
}

Work Issue(const SelfSigned& issuer) {
  return [signer = std::make_shared<Signer>(issuer)] {
    gnutls_x509_crt_t made = nullptr;
    Check(gnutls_x509_crt_init(&made) == 0);
    const Certificate held(made, gnutls_x509_crt_deinit);
    gnutls_datum_t der{nullptr, 0};
    if (!FillFromTexts(made, *signer) ||
        gnutls_x509_crt_privkey_sign(made, signer->certificate.get(), signer->private_key.get(),
                                     GNUTLS_DIG_SHA256, 0) != 0 ||
        gnutls_x509_crt_export2(made, GNUTLS_X509_FMT_DER, &der) != 0) {
      return false;
    }
    gnutls_free(der.data);
    return true;
  };
}

}  // namespace

const Peer kGnutls = {"gnutls", DecodeAndRelease, Print, Subject, Verify, Issue};

}  // namespace corvid::bench
