// What OpenSSL signs, encodes and reads for tests.
#ifndef CORVID_TESTS_SUPPORT_SIGNING_H_
#define CORVID_TESTS_SUPPORT_SIGNING_H_

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <algorithm>
#include <memory>

#include "support/spoiled.h"

namespace corvid::test {

// A BIT STRING with the key's signature.
inline Octets SignatureOf(EVP_PKEY* key, const Octets& data, const EVP_MD* hash = EVP_sha256()) {
  Octets signature(static_cast<size_t>(EVP_PKEY_get_size(key)));
  size_t length = signature.size();
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  EXPECT_EQ(EVP_DigestSignInit(context, nullptr, hash, nullptr, key), 1);
  EXPECT_EQ(EVP_DigestSign(context, signature.data(), &length, data.data(), data.size()), 1);
  EVP_MD_CTX_free(context);
  return Der(0x03, Join({Hex("00"), signature}));
}

// The certificate or list with the key's signature, by SHA-1 or SHA-256 as its algorithm says.
inline Octets SignedBy(EVP_PKEY* key, const Octets& der) {
  Element whole = Parse(der);
  const bool sha1 = Encode(whole.parts[1].parts[0]) == Oid("1.2.840.113549.1.1.5");
  whole.parts[2].instead =
      SignatureOf(key, Encode(whole.parts[0]), sha1 ? EVP_sha1() : EVP_sha256());
  return Encode(whole);
}

using Pkey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
inline Pkey NewRsaKey(unsigned bits) { return {EVP_RSA_gen(bits), EVP_PKEY_free}; }

// What one of OpenSSL's encoders makes.
template <typename Encoder, typename Value>
Octets EncodedBy(Encoder encoder, const Value* value) {
  uint8_t* der = nullptr;
  const int length = encoder(value, &der);
  const Octets octets(der, der + std::max(length, 0));
  OPENSSL_free(der);
  return octets;
}
inline Octets PublicKeyInfo(const EVP_PKEY* key) { return EncodedBy(i2d_PUBKEY, key); }

// OpenSSL's certificate; null when it does not take all of the octets.
inline std::unique_ptr<X509, decltype(&X509_free)> ReadByOpenssl(const Octets& der) {
  const uint8_t* at = der.data();
  X509* certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
  ERR_clear_error();
  if (at == der.data() + der.size()) return {certificate, X509_free};
  X509_free(certificate);
  return {nullptr, X509_free};
}

// DSA parameters whose q has 150 bits, of which a digest has more: it is cut within an octet.
struct OddDsaGroup {
  const Octets p =
      Der(0x02, Hex("00c590c763c805b576bea0fa0f66f6ee45a6e559e43c3ae8505279ba37a89557c0"
                    "1eab64363a24b802a37226f6aa4febb524826d48899891325ea39860c9be7383"));
  const Octets q = Der(0x02, Hex("3c06afa40923deef5aedc8d758523d49d1f6f5"));
  const Octets g =
      Der(0x02, Hex("60aa2ccc291d6cd292f83b120d36fef76a806e30fb7d5f3c3f61ec63e55b43b3"
                    "919d332670d6157156d8e08c725a20f7010f33795efc560774ff3b650b4d37aa"));
  const Octets der = Sequence({p, q, g});
};

}  // namespace corvid::test

#endif  // CORVID_TESTS_SUPPORT_SIGNING_H_
