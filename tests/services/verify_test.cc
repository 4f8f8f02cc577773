// Signatures: RSA and DSA made by OpenSSL, KCDSA of vectors/kcdsa.json (published values and those
// of a program of its own), forgeries, and keys and values that must not be taken.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <gtest/gtest.h>
#include <openssl/dsa.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

#include "corvid/csp.h"
#include "support/signing.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

using nlohmann::json;

constexpr uint32_t kWrong = CVD_CSP_ERR_VERIFY;
constexpr uint32_t kBadKey = CVD_CSP_ERR_BAD_KEY;
constexpr uint32_t kBadParameters = CVD_CSP_ERR_BAD_PARAMETERS;
constexpr uint32_t kBadSignature = CVD_CSP_ERR_BAD_SIGNATURE;

struct Signed {
  Octets signature;
  Octets data;
  Octets key;
  Octets parameters = {};  // none: null
  int32_t signID = CVD_SIGN_SHA1_RSA;
};

uint32_t Verify(const Signed& in) {
  const Input signature(in.signature);
  const Input data(in.data);
  const Input key(in.key);
  const Input der(in.parameters);
  const CVD_AlgorithmParameters parameters{in.parameters.empty() ? nullptr : der.bin(), {}};
  ERR_raise(ERR_LIB_USER, 77);
  const uint32_t status =
      CVD_CSP_VerifyMsgSignature(signature.bin(), data.bin(), key.bin(), in.signID, &parameters);
  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 77) << "the caller's errors stay";
  EXPECT_EQ(ERR_get_error(), 0u);
  return status;
}

void ExpectRefusedOnceChanged(Signed in, const std::string& name) {
  EXPECT_EQ(Verify(in), 0u) << name;
  in.data.back() ^= 1;
  EXPECT_EQ(Verify(in), kWrong) << name;
}

Octets Integer(Octets number) {
  if (number[0] >= 0x80) number.insert(number.begin(), 0);
  return Der(0x02, number);
}
Octets Integer(const char* hex) { return Integer(Hex(hex)); }

// Octets of a length with the first and the last one given.
Octets Number(size_t octets, uint8_t first, uint8_t last) {
  return Join({{first}, Octets(octets - 2, 0), {last}});
}

const Octets kData = OctetsOf(std::string_view("message"));

Octets Digest(int32_t hashID) {
  const Input input(kData);
  Output digest;
  EXPECT_EQ(CVD_CSP_Hash(&digest, input.bin(), hashID), 0u);
  return digest.octets();
}

// ---- RSA -------------------------------------------------------------------------------------

constexpr const char* kSha1Info = "3021 3009 0605 2B0E03021A 0500 0414";

// A padded block; octets of padding that are not told fill it, else garbage at its end does.
Octets Block(size_t length, int32_t hashID, const char* info, const char* head = "0001",
             size_t padding = 0) {
  const Octets start = Hex(head);
  const Octets end = Join({Hex("00"), Hex(info), Digest(hashID)});
  if (padding == 0) padding = length - start.size() - end.size();
  Octets block = Join({start, Octets(padding, 0xFF), end});
  block.resize(length, 0x5A);
  return block;
}

struct RsaKey {
  const std::shared_ptr<RSA> rsa{RSA_new(), RSA_free};
  Octets der;

  RsaKey(int bits, uint64_t exponent) {
    BIGNUM* e = BN_new();
    BN_set_word(e, exponent);
    EXPECT_EQ(RSA_generate_key_ex(rsa.get(), bits, e, nullptr), 1);
    BN_free(e);
    der = EncodedBy(i2d_RSAPublicKey, rsa.get());
  }
  Octets Sign(int nid, int32_t hashID) const {
    const Octets digest = Digest(hashID);
    Octets signature(static_cast<size_t>(RSA_size(rsa.get())));
    unsigned int length = static_cast<unsigned int>(digest.size());
    EXPECT_EQ(RSA_sign(nid, digest.data(), length, signature.data(), &length, rsa.get()), 1);
    return signature;
  }
  // The signature that hides this very block.
  Octets SignBlock(const Octets& block) const {
    Octets signature(block.size());
    const int length = static_cast<int>(block.size());
    RSA_private_encrypt(length, block.data(), signature.data(), rsa.get(), RSA_NO_PADDING);
    return signature;
  }
};

TEST(VerifyRsa, TakesOpensslsSignaturesWithEachHashAndKey) {
  const int32_t hashes[][3] = {{CVD_SIGN_MD5_RSA, CVD_HASH_MD5, NID_md5},
                               {CVD_SIGN_SHA1_RSA, CVD_HASH_SHA1, NID_sha1},
                               {CVD_SIGN_SHA256_RSA, CVD_HASH_SHA256, NID_sha256},
                               {CVD_SIGN_SHA384_RSA, CVD_HASH_SHA384, NID_sha384},
                               {CVD_SIGN_SHA512_RSA, CVD_HASH_SHA512, NID_sha512}};
  // Keys of one length follow one another, so a prepared key that is not told apart shows.
  const RsaKey keys[] = {{1024, 0x10001}, {1024, 3}, {1024, 0xFFFFFFFFFFFFFFC5}, {1031, 17}};
  std::vector<Signed> rows;
  for (const auto& [signID, hashID, nid] : hashes) {
    for (const RsaKey& key : keys) {
      rows.push_back({key.Sign(nid, hashID), kData, key.der, {}, signID});
    }
  }
  const Octets md2 = Block(128, CVD_HASH_MD2, "3020 300C 0608 2A864886F70D0202 0500 0410");
  rows.push_back({keys[0].SignBlock(md2), kData, keys[0].der, Hex("0500"), CVD_SIGN_MD2_RSA});
  for (const Signed& row : rows) ExpectRefusedOnceChanged(row, std::to_string(row.signID));
}

TEST(VerifyRsa, RefusesForgedBlocks) {
  constexpr size_t kLength = 129;
  const RsaKey key(1031, 3);
  const struct {
    const char* name;
    const char* info;
    const char* head = "0001";
    size_t padding = 0;
  } rows[] = {
      {"GarbageAfterLeastPadding", kSha1Info, "0001", 8},
      {"GarbageAfterShortPadding", kSha1Info, "0001", 1},
      {"GarbageInParameters", "3025 300D 0605 2B0E03021A 0404 DEADBEEF 0414"},
      {"GarbageInDigestInfo", "3026 3009 0605 2B0E03021A 0500 0403 AABBCC 0414"},
      {"NullMissing", "301F 3007 0605 2B0E03021A 0414"},
      {"OuterLengthLong", "308121 3009 0605 2B0E03021A 0500 0414"},
      {"DigestLengthLong", "3022 3009 0605 2B0E03021A 0500 048114"},
      {"OtherHash", "3024 300C 0608 2A864886F70D0205 0500 0414"},
      {"DigestAlone", ""},
      {"PaddingBroken", kSha1Info, "0001FE"},
      {"TypeTwo", kSha1Info, "0002"},
  };
  const auto verify = [&](const Octets& block) {
    return Verify({key.SignBlock(block), kData, key.der});
  };
  const Octets genuine = Block(kLength, CVD_HASH_SHA1, kSha1Info);
  EXPECT_EQ(verify(genuine), 0u);
  for (const auto& row : rows) {
    EXPECT_EQ(verify(Block(kLength, CVD_HASH_SHA1, row.info, row.head, row.padding)), kWrong)
        << row.name;
  }
  Octets equal = key.SignBlock(genuine);
  BIGNUM* sum = BN_bin2bn(equal.data(), kLength, nullptr);
  BN_add(sum, sum, RSA_get0_n(key.rsa.get()));
  BN_bn2binpad(sum, equal.data(), kLength);
  BN_free(sum);
  EXPECT_EQ(Verify({equal, kData, key.der}), kWrong) << "equal modulo n, but out of range";
}

TEST(VerifyRsa, TellsWrongValuesFromMalformedOnesAndTakesNoKeyOutOfBounds) {
  const Octets n = Integer(Number(64, 0x80, 1));
  const Octets e = Hex("0203010001");
  const Octets key = Sequence({n, e});
  const Octets block = Block(64, CVD_HASH_SHA1, kSha1Info);  // its own signature when e = 1
  const Octets longest(2048, 1);
  const struct {
    const char* name;
    Octets signature;
    Octets key;
    uint32_t status;
    int32_t signID = CVD_SIGN_SHA1_RSA;
  } rows[] = {
      {"Zero", Octets(64, 0), key, kWrong},
      {"Modulus", Number(64, 0x80, 1), key, kWrong},
      {"AsOfALongerKey", Octets(65, 0), key, kWrong},
      {"LongerThanAnyKey", Octets(2049, 1), key, kBadSignature},
      {"ShorterThanAnyKey", Octets(63, 1), key, kBadSignature},
      {"Bits511", block, Sequence({Integer(Number(64, 0x7F, 1)), e}), kBadKey},
      {"Bits16384", longest, Sequence({Integer(Number(2048, 0x80, 1)), e}), kWrong},
      {"Bits16385", longest, Sequence({Integer(Number(2049, 0x01, 1)), e}), kBadKey},
      {"ModulusEven", block, Sequence({Integer(Number(64, 0x80, 2)), e}), kBadKey},
      {"ExponentOne", block, Sequence({n, Integer("01")}), kBadKey},
      {"ExponentEven", block, Sequence({n, Integer("010002")}), kBadKey},
      {"ExponentOf65Bits", block, Sequence({n, Integer("010000000000000003")}), kBadKey},
      {"DsaKey", block, n, kBadKey},
      {"TooShortForTheHash", block, key, kBadKey, CVD_SIGN_SHA384_RSA},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Verify({row.signature, kData, row.key, {}, row.signID}), row.status) << row.name;
  }
}

// ---- KCDSA -----------------------------------------------------------------------------------

json Vectors(const char* file, const char* group) {
  return json::parse(ReadFile(std::string(CORVID_VECTORS_DIR) + "/" + file)).at(group);
}

Octets Field(const json& row, const char* name) { return Hex(row.at(name).get<std::string>()); }

Signed Kcdsa(const json& row) {
  const std::string hash = row.at("hash");
  const int32_t signID = hash == "sha1"     ? CVD_SIGN_SHA1_KCDSA
                         : hash == "has160" ? CVD_SIGN_HAS160_KCDSA
                                            : CVD_SIGN_SHA256_KCDSA;
  return {Field(row, "signature_der"), Field(row, "message"), Field(row, "public_key_der"),
          Field(row, "params_der"), signID};
}

// What a vector to refuse must answer, by the field of an accepted one that it replaces.
uint32_t Refusal(const json& row) {
  const std::string name = row.at("name");
  if (name >= "reject-28" && name <= "reject-34") return kBadSignature;  // faults of the DER
  if (row.at("reason") == "key y + 1" || !row.contains("base")) return kWrong;
  if (row.contains("public_key_der")) return kBadKey;
  return row.contains("params_der") ? kBadParameters : kWrong;
}

TEST(VerifyKcdsa, AnswersAsTheVectorsState) {
  std::map<std::string, json> accepted;
  for (const json& row : Vectors("kcdsa.json", "accept")) {
    EXPECT_EQ(Verify(Kcdsa(row)), 0u) << row.at("name");
    accepted[row.at("name")] = row;
  }
  const json rejected = Vectors("kcdsa.json", "reject");
  for (const json& row : rejected) {
    json whole = row.contains("base") ? accepted.at(row.at("base")) : json::object();
    whole.update(row);
    EXPECT_EQ(Verify(Kcdsa(whole)), Refusal(row)) << row.at("name") << ' ' << row.at("reason");
  }
  const json& high = accepted.at("ttak-2048-224-sha256");
  Signed negative = Kcdsa(high);
  negative.signature =
      Sequence({Der(0x03, Join({Hex("00"), Field(high, "r")})), Der(0x02, Field(high, "s"))});
  EXPECT_EQ(Verify(negative), kWrong) << "s without its sign octet";
  EXPECT_EQ(accepted.size(), 15u);
  EXPECT_EQ(rejected.size(), 56u);
}

TEST(VerifyKcdsa, CertificatesOfBothIdentifierFamilies) {
  std::map<std::string, Octets> made;
  const json vectors = Vectors("kcdsa_certificates.json", "certificates");
  for (const json& row : vectors) made[row.at("name")] = Field(row, "der");
  for (const json& row : vectors) {
    const Certificate certificate(made.at(row.at("name")));
    const Certificate issuer(made.at(row.at("issuer")));
    EXPECT_EQ(CVD_PKC_VerifySignature(certificate.get(), issuer.get()), 0u) << row.at("name");
  }
  EXPECT_EQ(made.size(), 7u);
}

// ---- DSA -------------------------------------------------------------------------------------

TEST(VerifyDsa, TakesOpensslsSignatures) {
  const json vectors = Vectors("kcdsa.json", "accept");
  for (const size_t i : {4u, 5u}) {  // their parameters are p, q, g: 1024/160, 2048/256 bits
    const Octets parameters = Field(vectors.at(i), "params_der");
    const uint8_t* in = parameters.data();
    DSA* dsa = d2i_DSAparams(nullptr, &in, static_cast<long>(parameters.size()));
    ASSERT_EQ(DSA_generate_key(dsa), 1);
    Octets y(static_cast<size_t>(BN_num_bytes(DSA_get0_pub_key(dsa))));
    BN_bn2bin(DSA_get0_pub_key(dsa), y.data());
    Octets signature(static_cast<size_t>(DSA_size(dsa)));
    unsigned int length = 0;
    DSA_sign(0, Digest(CVD_HASH_SHA1).data(), 20, signature.data(), &length, dsa);
    signature.resize(length);
    ExpectRefusedOnceChanged({signature, kData, Integer(y), parameters, CVD_SIGN_SHA1_DSA}, "Dsa");
    DSA_free(dsa);
  }
}

// Made by a program of its own.
struct DsaVector : OddDsaGroup {
  Octets y = Integer(
      "6b9f475da472cab2f21ae4a202d39316dfbdccef81ab06f1e75417e62ec03c31"
      "cf7b529be1100fd8d3277925c3369084c916f9ffdb4671160a7309b9c4840cca");
  Octets r = Integer("10cc1f4163512c268029308cd8344566cf6ebf");
  Octets s = Integer("397ea74386ce929da950b4161e11727bb37e0e");
  Signed whole = {Sequence({r, s}), kData, y, der, CVD_SIGN_SHA1_DSA};
};

TEST(VerifyDsa, TellsWrongValuesFromMalformedOnesAndTakesNoKeyOutOfBounds) {
  const DsaVector v;
  const auto with_signature = [&](std::initializer_list<Octets> parts) {
    Signed in = v.whole;
    in.signature = Sequence(parts);
    return in;
  };
  const auto with_key = [](const Octets& parameters, const Octets& y = Hex("020103")) {
    return Signed{Hex("3006 020101 020101"), kData, y, parameters, CVD_SIGN_SHA1_DSA};
  };
  // p = q 2^m + 1 needs no prime to be within the bounds of each length.
  const auto with_group = [&](uint8_t first, size_t q_octets, size_t p_octets, uint8_t q_last = 1,
                              uint8_t p_last = 1) {
    const Octets q = Number(q_octets, first, q_last);
    const Octets p = Join({q, Octets(p_octets - q_octets - 1, 0), {p_last}});
    return with_key(Sequence({Integer(p), Integer(q), Hex("020102")}));
  };
  const Octets order = Number(16, 0x80, 1);
  const Octets even = Integer(Join({order, Number(16, 0x80, 2)}));  // q (2^128 + 1) + 1
  const Octets zero = Hex("020100");
  const std::tuple<const char*, Signed, uint32_t> rows[] = {
      {"Genuine", v.whole, 0},
      {"RZero", with_signature({zero, v.s}), kWrong},
      {"SZero", with_signature({v.r, zero}), kWrong},
      {"SNegative", with_signature({v.r, Hex("0201FF")}), kWrong},
      {"SIsQ", with_signature({v.r, v.q}), kWrong},
      {"RPlusQ", with_signature({Integer("4cd2cee56c750b15db16f964308682b0a165b4"), v.s}), kWrong},
      {"SPlusQ", with_signature({v.r, Integer("758556e78ff2718d043e7ced7663afc5857503")}), kWrong},
      {"SPadded", with_signature({v.r, Hex("02020001")}), kBadSignature},
      {"SMissing", with_signature({v.r}), kBadSignature},
      {"OctetAfter", with_signature({v.r, v.s, Hex("00")}), kBadSignature},
      {"OrderOf128Bits", with_group(0x80, 16, 64), kWrong},
      {"OrderOf127Bits", with_group(0x40, 16, 64), kBadParameters},
      {"OrderOf512Bits", with_group(0x80, 64, 128), kWrong},
      {"OrderOf513Bits", with_group(0x01, 65, 128), kBadParameters},
      {"PrimeOf4096Bits", with_group(0x80, 20, 512), kWrong},
      {"PrimeOf4097Bits", with_group(0x01, 20, 513), kBadParameters},
      {"OrderDividesNot", with_group(0x80, 16, 64, 1, 3), kBadParameters},
      {"OrderEven", with_group(0x80, 16, 64, 2), kBadParameters},
      {"PrimeEven", with_key(Sequence({even, Integer(order), v.r})), kBadParameters},
      {"KcdsaParameters", with_key(Sequence({v.p, v.q, v.g, v.g})), kBadParameters},
      {"ParametersOctetAfter", with_key(Join({v.der, Hex("00")})), kBadParameters},
      {"KeyOctetAfter", with_key(v.der, Join({v.y, Hex("00")})), kBadKey},
      {"RsaKey", with_key({}, Sequence({v.p, v.q})), kBadKey},
      {"WithoutParameters", with_key({}), kBadParameters},
      {"UnknownAlgorithm", {v.y, v.y, v.y, {}, 7}, CVD_CSP_ERR_UNKNOWN_SIGNID},
  };
  for (const auto& [name, in, status] : rows) EXPECT_EQ(Verify(in), status) << name;
  const Input y(v.y);
  const BIN dataless{1, nullptr};
  const CVD_AlgorithmParameters parameters{&dataless, {}};
  const auto verify = [&](const CVD_AlgorithmParameters* given) {
    return CVD_CSP_VerifyMsgSignature(y.bin(), y.bin(), y.bin(), CVD_SIGN_SHA1_DSA, given);
  };
  EXPECT_EQ(verify(&parameters), 6001u);
  EXPECT_EQ(verify(nullptr), kBadParameters);
}

// ---- all of them -----------------------------------------------------------------------------

TEST(Verify, TakesNothingSpoiled) {
  const RsaKey key(1024, 0x10001);
  const std::set<uint32_t> refusals = {kWrong, kBadKey, kBadParameters, kBadSignature};
  for (const Signed& whole : {Signed{key.Sign(NID_sha1, CVD_HASH_SHA1), kData, key.der},
                              DsaVector().whole, Kcdsa(Vectors("kcdsa.json", "accept").at(0)),
                              Kcdsa(Vectors("kcdsa.json", "accept").at(4))}) {
    for (Octets Signed::*part : {&Signed::signature, &Signed::key, &Signed::parameters}) {
      for (const Octets& variant : Spoiled(whole.*part)) {
        Signed spoiled = whole;
        spoiled.*part = variant;
        const uint32_t status = Verify(spoiled);
        // Of parameters, what the group was generated from may be missing.
        EXPECT_TRUE(refusals.contains(status) || (status == 0 && part == &Signed::parameters))
            << whole.signID << ' ' << status << ' ' << ToHex(variant);
        uint32_t bits = 0;
        const Input der(spoiled.key);
        const Input parameters(spoiled.parameters);
        const uint32_t told = CVD_CSP_GetKeyLength(
            &bits, der.bin(), CVD_PKC_SignID_To_PkeyID(static_cast<uint32_t>(whole.signID)),
            parameters.bin());
        EXPECT_EQ(told == 0, bits != 0) << told;
        EXPECT_TRUE(told == 0 || told == kBadKey || told == kBadParameters) << told;
      }
    }
  }
}

}  // namespace
}  // namespace corvid::test
