// The samples with which every operation succeeds, and all its allocations happen: a certificate
// with every extension that is rendered, and one with a KCDSA key.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "proof/operations.h"
#include "support/signing.h"

namespace corvid::test {
namespace {

const Octets kHangul = Hex("ED998DEAB8B8EB8F99");  // in UTF-8
const Octets kText = Der(0x0C, kHangul);

// A PKCS #8 key, and the same encrypted.
void AddPrivateKey(EVP_PKEY* key, Inputs* in) {
  PKCS8_PRIV_KEY_INFO* info = EVP_PKEY2PKCS8(key);
  in->private_key = EncodedBy(i2d_PKCS8_PRIV_KEY_INFO, info);
  X509_SIG* encrypted = PKCS8_encrypt(-1, EVP_aes_128_cbc(), "secret", 6, nullptr, 0, 1, info);
  in->encrypted_key = EncodedBy(i2d_X509_SIG, encrypted);
  X509_SIG_free(encrypted);
  PKCS8_PRIV_KEY_INFO_free(info);
}

// A key of the older DSA form, and the same in encrypted PEM.
void AddDsaKey(const Octets& group, Inputs* in) {
  const uint8_t* at = group.data();
  DSA* key = d2i_DSAparams(nullptr, &at, static_cast<long>(group.size()));
  EXPECT_EQ(DSA_generate_key(key), 1);
  in->private_key = EncodedBy(i2d_DSAPrivateKey, key);
  BIO* pem = BIO_new(BIO_s_mem());
  char secret[] = "secret";
  EXPECT_EQ(PEM_write_bio_DSAPrivateKey(pem, key, EVP_aes_128_cbc(), nullptr, 0, nullptr, secret),
            1);
  char* text = nullptr;
  const long length = BIO_get_mem_data(pem, &text);
  in->encrypted_key = OctetsOf(std::string_view(text, static_cast<size_t>(length)));
  BIO_free(pem);
  DSA_free(key);
}

const Octets& IssuerName() {
  static const Octets name = Name({{"2.5.4.10", kText}, {"2.5.4.3", Der(0x0C, "CA")}});
  return name;
}

// More RDNs, and one RDN of more attributes, than a work area holds; and texts that outgrow one.
Octets LongName() {
  const Octets unit = Sequence({Oid("2.5.4.11"), kText});
  const Octets common_name = Sequence({Oid("2.5.4.3"), Der(0x1E, Repeat(Hex("AC00"), 300))});
  return Der(0x30, Join({Repeat(Der(0x31, unit), 70), Der(0x31, Repeat(unit, 70)),
                         Der(0x31, common_name)}));
}

// Values that are decoded into a block, though those of usual sizes need none.
std::vector<Octets> Extensions(const Octets& identity, bool large) {
  const Octets directory = Der(0xA4, IssuerName());
  const Octets wide = Der(0x86, Octets(large ? 2048 : 1, 'w'));
  const Octets other = Sequence({Oid("1.2.3.4"), Der(0xA0, kText)}, 0xA0);
  const Octets holder = Sequence({Oid("1.2.410.200004.10.1.1"), Der(0xA0, identity)}, 0xA0);
  const Octets names =
      Join({Der(0x82, "example.com"), directory, other, Hex("8704C0A80001"), wide});
  const Octets notice =
      Sequence({Oid("1.3.6.1.5.5.7.2.2"), Der(0x30, Der(0x1E, Repeat(Hex("AC00"), 199)))});
  const Octets cps = Sequence({Oid("1.3.6.1.5.5.7.2.1"), Der(0x16, "http://cps")});
  // In distribution points a text is converted once more, so names in them stay ASCII.
  const Octets point = Der(0x1E, Repeat(Hex("0041"), 600));
  const Octets relative = Sequence({Sequence({Oid("2.5.4.3"), point})}, 0xA1);
  const Octets full = Der(0xA0, Join({Der(0x86, kHangul), Der(0xA4, Name({{"2.5.4.3", point}}))}));
  const Octets points =
      Join({Der(0x30, Der(0xA0, full)), Der(0x30, Join({Der(0xA0, relative), Hex("81020640")})),
            Der(0x30, Der(0xA0, Der(0xA0, wide)))});
  const Octets access = Join({Sequence({Oid("1.3.6.1.5.5.7.48.1"), Der(0x86, "http://ocsp")}),
                              Sequence({Oid("1.2.3.5"), directory}),
                              Sequence({Oid("1.2.3.6"), other}), Sequence({Oid("1.2.3.8"), wide})});
  return {
      Extension("2.5.29.35", Sequence({Hex("8002AABB"), Der(0xA1, wide), Hex("820107")})),
      Extension("2.5.29.14", Hex("0404AABBCCDD")),
      Extension("2.5.29.15", Hex("03020186"), true),
      Extension("2.5.29.32", Sequence({Sequence({Oid("1.2.3"), Sequence({cps, notice})}),
                                       Repeat(Sequence({Oid("1.2.4")}), large ? 50 : 1)})),
      Extension("2.5.29.17", Der(0x30, Join({holder, names}))),
      Extension("2.5.29.18", Der(0x30, names)),
      Extension("2.5.29.19", Hex("30060101FF020100")),
      Extension("2.5.29.37", Der(0x30, Join({Oid("1.3.6.1.5.5.7.3.1"),
                                             Repeat(Oid("1.2.3.7"), large ? 200 : 1)}))),
      Extension("2.5.29.31", Der(0x30, points)),
      Extension("1.3.6.1.5.5.7.1.1", Der(0x30, access)),
      Extension("2.16.840.1.113730.1.1", Hex("030200FF")),
      Extension("1.2.410.100001.5.7.101.4", kText),
  };
}

// An indirect list with entries of two issuers.
Octets RevocationList(EVP_PKEY* key) {
  const auto entry = [](const char* serial, const Octets& issuer) {
    const Octets extension = Extension("2.5.29.29", Der(0x30, Der(0xA4, issuer)), true);
    return Sequence({Hex(serial), Der(0x17, "260115000000Z"), Der(0x30, extension)});
  };
  const Octets point = Extension("2.5.29.28", Hex("30038401FF"), true);
  return SignedBy(key, MakeList({.issuer = IssuerName(),
                                 .entries = {entry("020105", IssuerName()),
                                             entry("020106", Name({{"2.5.4.3", kText}}))},
                                 .extensions = {point}}));
}

}  // namespace

Inputs RichInputs(bool large) {
  const Pkey key = NewRsaKey(1024);
  Inputs in;
  AddPrivateKey(key.get(), &in);
  in.subject_key_id = Der(0x04, Octets(20, 0x22));
  in.authority_key_id = Hex("3006 8004AABBCCDD");
  Output vid;
  EXPECT_EQ(
      CVD_PKC_ComputeVID(&vid, CVD_HASH_SHA256, "1234561234567", Input(in.subject_key_id).bin()),
      0u);
  in.vid = vid.octets();
  const Octets vid_der =
      Sequence({Sequence({Oid("2.16.840.1.101.3.4.2.1")}), Der(0xA0, Der(0x04, in.vid))});
  in.identity_data =
      Sequence({kText, Sequence({Sequence({Oid("1.2.410.200004.10.1.1.1"), vid_der})})});
  CertificateParts parts{.issuer = IssuerName(),
                         .subject = large ? LongName() : IssuerName(),
                         .spki = PublicKeyInfo(key.get()),
                         .extensions = Extensions(in.identity_data, large)};
  in.certificate = SignedBy(key.get(), MakeCertificate(parts));
  parts.subject = IssuerName();
  in.issuer = SignedBy(key.get(), MakeCertificate(parts));
  in.list = RevocationList(key.get());
  in.pem = OctetsOf(Pem(in.certificate));
  in.pem_list = OctetsOf(Pem(in.list, "X509 CRL"));
  in.string = Der(0x1E, Repeat(Hex("AC00"), 400));
  in.rsa_key = Hex("3007 020200A5 020103");
  in.kcdsa_parameters = Hex("3014 020107 020105 020103 020102 3008 040101 0203010001");
  in.value = Der(0x30, Repeat(Hex("3000"), 600));  // points: more nodes than is guessed
  in.name = "cn=\xC8\xAB\xB1\xE6\xB5\xBF,ou=a+e=b@c+t=d,dc=e,l=f,dnqualifier=g,id=h,c=KR";
  in.attribute = "cn = \xC8\xAB\xB1\xE6\xB5\xBF";
  in.base64 = "AQIDBA==";
  in.dotted = "1.2.410.200004.10";
  in.utf8 = Repeat(300, StringOf(kHangul));
  in.local = Repeat(300, "\xC8\xAB\xB1\xE6\xB5\xBF");
  in.holder = "\xC8\xAB\xB1\xE6\xB5\xBF";
  in.path = CORVID_SOURCE_DIR "/examples/sample.der";
  return in;
}

Inputs KcdsaInputs() {
  const auto read = [](const char* file) {
    return nlohmann::json::parse(ReadFile(std::string(CORVID_VECTORS_DIR) + file));
  };
  Inputs in;
  in.certificate =
      Hex(std::string(read("/kcdsa_certificates.json").at("certificates").at(0).at("der")));
  in.issuer = in.certificate;
  // Parameters of 1024 and 160 bits: p, q and g alone, so that DSA has them too.
  AddDsaKey(Hex(std::string(read("/kcdsa.json").at("accept").at(4).at("params_der"))), &in);
  in.sign = CVD_SIGN_SHA1_DSA;
  return in;
}

}  // namespace corvid::test
