// What OpenSSL signs for tests.
#ifndef CORVID_TESTS_SUPPORT_SIGNING_H_
#define CORVID_TESTS_SUPPORT_SIGNING_H_

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "support/support.h"

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

inline Octets PublicKeyInfo(EVP_PKEY* key) {
  Octets der(static_cast<size_t>(i2d_PUBKEY(key, nullptr)));
  uint8_t* out = der.data();
  i2d_PUBKEY(key, &out);
  return der;
}

}  // namespace corvid::test

#endif  // CORVID_TESTS_SUPPORT_SIGNING_H_
