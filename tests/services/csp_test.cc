// Digests against published values, and key lengths of well-formed and of malformed keys.
#include "corvid/csp.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/support.h"

namespace corvid::test {
namespace {

TEST(Hash, GivesThePublishedDigests) {
  const std::tuple<int32_t, const char*, const char*> rows[] = {
      // RFC 1319 and 1321, FIPS 180-4 examples, TTAS.KO-12.0011
      {CVD_HASH_MD2, "abc", "da853b0d3f88d99b30283a69e6ded6bb"},
      {CVD_HASH_MD5, "abc", "900150983cd24fb0d6963f7d28e17f72"},
      {CVD_HASH_SHA1, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
      {CVD_HASH_SHA1, "", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {CVD_HASH_HAS160, "", "307964ef34151d37c8047adec7ab50f4ff89762d"},
      {CVD_HASH_HAS160, "abc", "975e810488cf2a3d49838478124afce4b1c78804"},
      {CVD_HASH_SHA256, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {CVD_HASH_SHA384, "abc",
       "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
       "8086072ba1e7cc2358baeca134c825a7"},
      {CVD_HASH_SHA512, "abc",
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
       "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
  };
  for (const auto& [hashID, text, hex] : rows) {
    const Input message(OctetsOf(std::string_view(text)));
    Output digest;
    EXPECT_EQ(CVD_CSP_Hash(&digest, message.bin(), hashID), 0u) << hashID;
    EXPECT_EQ(ToHex(digest.octets()), hex);

    // The same in the caller's memory, and in one octet less.
    Octets area(digest.octets().size());
    auto count = static_cast<uint32_t>(area.size()) - 1;
    EXPECT_EQ(CVD_CSP_HashInto(area.data(), &count, message.bin(), hashID),
              uint32_t{CVD_CSP_ERR_INVALID_INPUT});
    EXPECT_EQ(area, Octets(area.size()));
    ++count;
    EXPECT_EQ(CVD_CSP_HashInto(area.data(), &count, message.bin(), hashID), 0u);
    EXPECT_EQ(area, digest.octets());
  }
  BIN digest{9, nullptr};
  EXPECT_EQ(CVD_CSP_Hash(&digest, Input("00").bin(), 5), uint32_t{CVD_CSP_ERR_UNKNOWN_HASHID});
  EXPECT_EQ(digest.length, 9) << "written only on success";
}

Octets Integer(size_t octets, const char* first) {
  return Der(0x02, Join({Hex(first), Octets(octets, 0x5A)}));
}

Octets Point(uint8_t form, size_t octets) { return Join({{form}, Octets(octets, 0x11)}); }

TEST(KeyLength, IsToldForEveryWellFormedKeyAndNoOther) {
  constexpr uint32_t kBadKey = CVD_CSP_ERR_BAD_KEY;
  constexpr uint32_t kBadParameters = CVD_CSP_ERR_BAD_PARAMETERS;
  const Octets y = Integer(20, "01");
  const Octets dsa = Sequence({Integer(255, "00FF"), Integer(31, "0080"), Integer(255, "02")});
  const struct {
    const char* name;
    int32_t pkeyID;
    Octets key;
    Octets parameters;  // none: null
    uint32_t bits;
    uint32_t status = 0;
  } rows[] = {
      {"Rsa", CVD_PKEY_RSA, Sequence({Integer(255, "0080"), Hex("0203010001")}), {}, 2048},
      {"RsaTiny", CVD_PKEY_RSA, Hex("3006 020103 020103"), Hex("0500"), 2},
      {"Dsa", CVD_PKEY_DSA, y, dsa, 2048},
      {"Dh", CVD_PKEY_DH, y, Sequence({Integer(127, "40"), y, y}), 1023},
      {"P256", CVD_PKEY_EC, Point(0x04, 64), {}, 256},
      {"P521", CVD_PKEY_EC, Point(0x06, 132), {}, 521},
      {"P521Compressed", CVD_PKEY_EC, Point(0x02, 66), {}, 521},
      {"Empty", CVD_PKEY_RSA, {}, {}, 0, kBadKey},
      {"RsaOctetInside", CVD_PKEY_RSA, Hex("3007 020103 020103 00"), {}, 0, kBadKey},
      {"RsaOctetAfter", CVD_PKEY_RSA, Hex("3006 020103 020103 00"), {}, 0, kBadKey},
      {"RsaWithoutExponent", CVD_PKEY_RSA, Hex("3003 020103"), {}, 0, kBadKey},
      {"DsaZero", CVD_PKEY_DSA, Hex("020100"), dsa, 0, kBadKey},
      {"RsaNegative", CVD_PKEY_RSA, Hex("3006 0201FF 020103"), {}, 0, kBadKey},
      {"RsaModulusEmpty", CVD_PKEY_RSA, Hex("3005 0200 020103"), {}, 0, kBadKey},
      {"RsaModulusPadded", CVD_PKEY_RSA, Hex("3007 02020003 020103"), {}, 0, kBadKey},
      {"LengthLong", CVD_PKEY_RSA, Hex("308106 020103 020103"), {}, 0, kBadKey},
      {"LengthIndefinite", CVD_PKEY_DSA, Hex("0280 0102"), dsa, 0, kBadKey},
      {"LengthPadded", CVD_PKEY_DSA, Join({Hex("02820080"), Octets(128, 1)}), dsa, 0, kBadKey},
      {"LengthPastEnd", CVD_PKEY_DSA, Hex("0203 0102"), dsa, 0, kBadKey},
      {"LengthCut", CVD_PKEY_DSA, Hex("0284 0000"), dsa, 0, kBadKey},
      {"DsaOctetAfter", CVD_PKEY_DSA, Hex("020101 00"), dsa, 0, kBadKey},
      {"DsaWithoutParameters", CVD_PKEY_DSA, y, {}, 0, kBadParameters},
      {"DsaParametersAfter", CVD_PKEY_DSA, y, Join({dsa, Hex("00")}), 0, kBadParameters},
      {"EcFormOnly", CVD_PKEY_EC, Hex("04"), {}, 0, kBadKey},
      {"EcUneven", CVD_PKEY_EC, Point(0x04, 63), {}, 0, kBadKey},
      {"EcUnknownForm", CVD_PKEY_EC, Point(0x05, 64), {}, 0, kBadKey},
      {"UnknownNumber", 12, y, {}, 0, CVD_CSP_ERR_UNKNOWN_PKEYID},
  };
  for (const auto& row : rows) {
    const Input key(row.key);
    const Input parameters(row.parameters);
    uint32_t bits = 0;
    EXPECT_EQ(CVD_CSP_GetKeyLength(&bits, key.bin(), row.pkeyID,
                                   row.parameters.empty() ? nullptr : parameters.bin()),
              row.status)
        << row.name;
    EXPECT_EQ(bits, row.bits) << row.name;
  }
}

}  // namespace
}  // namespace corvid::test
