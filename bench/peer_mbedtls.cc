#include <mbedtls/ctr_drbg.h>
#include <mbedtls/entropy.h>
#include <mbedtls/pk.h>
#include <mbedtls/sha256.h>
#include <mbedtls/x509_crt.h>

#include <memory>

#include "bench/peer.h"

namespace corvid::bench {
namespace {

struct Certificate : mbedtls_x509_crt {
  explicit Certificate(const Octets& der) {
    mbedtls_x509_crt_init(this);
    parsed = mbedtls_x509_crt_parse_der(this, der.data(), der.size()) == 0;
  }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;
  ~Certificate() { mbedtls_x509_crt_free(this); }
  bool parsed;
};

bool DecodeAndRelease(const Octets& der) { return Certificate(der).parsed; }

// A part of the record: no key, signature or digest.
bool Info(const Octets& der) {
  thread_local char text[65536];
  const Certificate certificate(der);
  return certificate.parsed && mbedtls_x509_crt_info(text, sizeof text, "", &certificate) >= 0;
}

Work Subject(const Octets& der) {
  return [certificate = std::make_shared<Certificate>(der)] {
    char text[1024];
    return mbedtls_x509_dn_gets(text, sizeof text, &certificate->subject) >= 0;
  };
}

Work Verify(const Octets& der) {
  return [certificate = std::make_shared<Certificate>(der)] {
    uint8_t digest[32];
    return mbedtls_sha256_ret(certificate->tbs.p, certificate->tbs.len, digest, 0) == 0 &&
           mbedtls_pk_verify(&certificate->pk, MBEDTLS_MD_SHA256, digest, sizeof digest,
                             certificate->sig.p, certificate->sig.len) == 0;
  };
}

struct Signer {
  explicit Signer(const Octets& pkcs8) {
    mbedtls_entropy_init(&entropy);
    mbedtls_ctr_drbg_init(&random);
    mbedtls_pk_init(&key);
    mbedtls_mpi_init(&serial);
    Check(mbedtls_ctr_drbg_seed(&random, mbedtls_entropy_func, &entropy, nullptr, 0) == 0 &&
          mbedtls_pk_parse_key(&key, pkcs8.data(), pkcs8.size(), nullptr, 0) == 0 &&
          mbedtls_mpi_lset(&serial, kSerial) == 0);
  }
  mbedtls_entropy_context entropy;
  mbedtls_ctr_drbg_context random;
  mbedtls_pk_context key;
  mbedtls_mpi serial;
};

// Without policies, distribution points and access descriptions, which it takes as DER only.
Work Issue(const SelfSigned& issuer) {
  return [signer = std::make_shared<Signer>(issuer.key)] {
    mbedtls_x509write_cert made;
    mbedtls_x509write_crt_init(&made);
    mbedtls_x509write_crt_set_md_alg(&made, MBEDTLS_MD_SHA256);
    mbedtls_x509write_crt_set_subject_key(&made, &signer->key);
    mbedtls_x509write_crt_set_issuer_key(&made, &signer->key);
    uint8_t der[4096];
    const bool done =
        mbedtls_x509write_crt_set_serial(&made, &signer->serial) == 0 &&
        mbedtls_x509write_crt_set_validity(&made, "20260101000000", "20270101000000") == 0 &&
        mbedtls_x509write_crt_set_issuer_name(&made, kIssuerName) == 0 &&
        mbedtls_x509write_crt_set_subject_name(&made, kSubjectName) == 0 &&
        mbedtls_x509write_crt_set_subject_key_identifier(&made) == 0 &&
        mbedtls_x509write_crt_set_authority_key_identifier(&made) == 0 &&
        mbedtls_x509write_crt_set_key_usage(
            &made, MBEDTLS_X509_KU_DIGITAL_SIGNATURE | MBEDTLS_X509_KU_NON_REPUDIATION) == 0 &&
        mbedtls_x509write_crt_der(&made, der, sizeof der, mbedtls_ctr_drbg_random,
                                  &signer->random) > 0;
    mbedtls_x509write_crt_free(&made);
    return done;
  };
}

}  // namespace

const Peer kMbedtls = {"mbedtls", DecodeAndRelease, Info, Subject, Verify, Issue};

}  // namespace corvid::bench
