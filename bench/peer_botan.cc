#include <botan/auto_rng.h>
#include <botan/bigint.h>
#include <botan/data_src.h>
#include <botan/pkcs8.h>
#include <botan/pubkey.h>
#include <botan/x509_ca.h>
#include <botan/x509_ext.h>
#include <botan/x509_key.h>
#include <botan/x509cert.h>

#include <exception>
#include <memory>

#include "bench/peer.h"

namespace corvid::bench {
namespace {

namespace Extension = Botan::Cert_Extension;

bool DecodeAndRelease(const Octets& der) {
  try {
    const Botan::X509_Certificate certificate(der);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

bool ToString(const Octets& der) {
  try {
    const std::string text = Botan::X509_Certificate(der).to_string();
    benchmark::DoNotOptimize(text.data());
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

Work Subject(const Octets& der) {
  return [certificate = Botan::X509_Certificate(der)] {
    const std::string text = certificate.subject_dn().to_string();
    benchmark::DoNotOptimize(text.data());
    return !text.empty();
  };
}

Work Verify(const Octets& der) {
  const Botan::X509_Certificate certificate(der);
  return [certificate,
          key = std::shared_ptr<Botan::Public_Key>(certificate.load_subject_public_key())] {
    return certificate.check_signature(*key);
  };
}

struct Signer {
  explicit Signer(const SelfSigned& issuer) : certificate(issuer.certificate) {
    Botan::DataSource_Memory source(issuer.key);
    key = Botan::PKCS8::load_key(source);
    signer = Botan::X509_Object::choose_sig_format(algorithm, *key, random, "SHA-256", "");
  }
  Botan::X509_Certificate certificate;
  Botan::AutoSeeded_RNG random;
  std::unique_ptr<Botan::Private_Key> key;
  Botan::AlgorithmIdentifier algorithm;
  std::unique_ptr<Botan::PK_Signer> signer;
};

// Without distribution points, which it only reads.
Botan::Extensions ExtensionsFor(const Octets& public_key) {
  Botan::Extensions extensions;
  auto subject_key = std::make_unique<Extension::Subject_Key_ID>(public_key, "SHA-1");
  extensions.add(new Extension::Authority_Key_ID(subject_key->get_key_id()));
  extensions.add(subject_key.release());
  extensions.add(new Extension::Key_Usage(
                     Botan::Key_Constraints(Botan::DIGITAL_SIGNATURE | Botan::NON_REPUDIATION)),
                 true);
  extensions.add(new Extension::Certificate_Policies({Botan::OID(kPolicy)}));
  extensions.add(new Extension::Authority_Information_Access(kOcspUrl));
  return extensions;
}

Work Issue(const SelfSigned& issuer) {
  return [signer = std::make_shared<Signer>(issuer)] {
    Botan::X509_DN subject;
    subject.add_attribute("X520.Country", "KR");
    subject.add_attribute("X520.Organization", "Example Corporation");
    subject.add_attribute("X520.OrganizationalUnit", "Web Services");
    subject.add_attribute("X520.CommonName", "User");
    const Octets public_key = Botan::X509::BER_encode(*signer->key);
    const Botan::X509_Certificate made = Botan::X509_CA::make_cert(
        signer->signer.get(), signer->random, Botan::BigInt(kSerial), signer->algorithm, public_key,
        Botan::X509_Time("260101000000Z", Botan::UTC_TIME),
        Botan::X509_Time("270101000000Z", Botan::UTC_TIME), signer->certificate.subject_dn(),
        subject, ExtensionsFor(public_key));
    return !made.BER_encode().empty();
  };
}

}  // namespace

const Peer kBotan = {"botan", DecodeAndRelease, ToString, Subject, Verify, Issue};

}  // namespace corvid::bench
