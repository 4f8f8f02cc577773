// Private keys: DER and PEM told apart, DER by the shape of its SEQUENCE, and the public half.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "private_key.h"

#include <openssl/asn1.h>
#include <openssl/dsa.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <string_view>

#include "corvid/oid_octets.hpp"

namespace corvid {
namespace {

// ---- the forms of a key --------------------------------------------------------------------

template <int32_t kNumber>
bool IsOid(Bytes oid) {
  constexpr auto& kOctets = CatalogueOid<kNumber>::kOctets;
  return std::ranges::equal(oid, Bytes(kOctets.octets, kOctets.length));
}

bool TakeVersion(Bytes* in, uint8_t most) {
  Bytes version;
  return TakeInteger(in, &version) && version.size() == 1 && version[0] <= most;
}

// RSAPrivateKey (RFC 8017 A.1.2) of two primes
uint32_t LoadRsa(Bytes content, const char* /*passphrase*/, CVD_PrivateKey* key) {
  RsaNumbers in;
  if (!TakeVersion(&content, 0)) return CVD_CSP_ERR_BAD_KEY;
  for (Bytes& number : in.octets) {
    if (!TakePositive(&content, &number)) return CVD_CSP_ERR_BAD_KEY;
  }
  if (!content.empty()) return CVD_CSP_ERR_BAD_KEY;
  return MakeRsa(in, &key->rsa);
}

// SEQUENCE { version, p, q, g, y, x INTEGER }, the form that OpenSSL wrote before PKCS #8
uint32_t LoadDsa(Bytes content, const char* /*passphrase*/, CVD_PrivateKey* key) {
  DsaNumbers in;
  if (!TakeVersion(&content, 0) || !TakePositive(&content, &in.p) ||
      !TakePositive(&content, &in.q) || !TakePositive(&content, &in.g) ||
      !TakePositive(&content, &in.y) || !TakeInteger(&content, &in.x)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  return MakeDsa(in, &key->dsa);
}

// The two parts of a PrivateKeyInfo: INTEGER x, and Dss-Parms (RFC 3279 section 2.3.2)
uint32_t LoadDsaParts(Bytes octets, Bytes parameters, CVD_PrivateKey* key) {
  DsaNumbers in;
  Bytes group;
  if (!TakeInteger(&octets, &in.x) || !octets.empty() || !TakeWhole(parameters, &group) ||
      !TakePositive(&group, &in.p) || !TakePositive(&group, &in.q) ||
      !TakePositive(&group, &in.g) || !group.empty()) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  return MakeDsa(in, &key->dsa);
}

// OneAsymmetricKey ::= SEQUENCE { version, privateKeyAlgorithm, privateKey OCTET STRING, ... }
// (RFC 5958 section 2)
uint32_t LoadPkcs8(Bytes content, const char* /*passphrase*/, CVD_PrivateKey* key) {
  Bytes parameters;
  Bytes oid;
  Bytes octets;
  if (!TakeVersion(&content, 1) || !TakeElement(&content, kTagSequence, &parameters) ||
      !TakeElement(&parameters, kTagObject, &oid) ||
      !TakeElement(&content, kTagOctetString, &octets)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  if (IsOid<CVD_OID_DSA>(oid)) return LoadDsaParts(octets, parameters, key);
  if (!IsOid<CVD_OID_RSA_ENCRYPTION>(oid)) return CVD_CSP_ERR_UNSUPPORTED_KEY;
  if (!IsNullOrAbsent(parameters) || !TakeWhole(octets, &content)) return CVD_CSP_ERR_BAD_KEY;
  return LoadRsa(content, nullptr, key);
}

uint32_t RefuseKind(Bytes /*content*/, const char* /*passphrase*/, CVD_PrivateKey* /*key*/) {
  return CVD_CSP_ERR_UNSUPPORTED_KEY;
}

uint32_t RefuseOther(Bytes /*content*/, const char* /*passphrase*/, CVD_PrivateKey* /*key*/) {
  return CVD_CSP_ERR_NOT_A_PRIVATE_KEY;
}

// What a SEQUENCE is, by the identifier octets of its elements.
struct ShapeRow {
  std::string_view tags;
  std::string_view optional;  // may follow, each once, in this order
  uint32_t (*load)(Bytes content, const char* passphrase, CVD_PrivateKey* key);
};
constexpr ShapeRow kShapes[] = {
    {"\x02\x30\x04", "\xA0\x81", LoadPkcs8},
    {"\x30\x04", "", LoadEncrypted},
    {"\x02\x02\x02\x02\x02\x02\x02\x02\x02", "", LoadRsa},
    {"\x02\x02\x02\x02\x02\x02", "", LoadDsa},
    {"\x02\x02\x02\x02\x02\x02\x02\x02\x02\x30", "", RefuseKind},  // RSA of more primes
    {"\x02\x04", "\xA0\xA1", RefuseKind},                          // ECPrivateKey
    {"\x02\x30\x30", "", RefuseKind},                              // PKCS #12
    {"\x02\x02", "", RefuseOther},                                 // RSAPublicKey
    {"\x30\x03", "", RefuseOther},                                 // SubjectPublicKeyInfo
    {"\x30\x30\x03", "", RefuseOther},                             // certificate, request, list
};

bool Matches(const ShapeRow& row, std::string_view tags) {
  if (!tags.starts_with(row.tags)) return false;
  tags.remove_prefix(row.tags.size());
  for (const char tag : row.optional) {
    if (tags.starts_with(tag)) tags.remove_prefix(1);
  }
  return tags.empty();
}

struct Tags {
  char octets[10];  // as many as the longest row has
  size_t count = 0;

  // False for more of them, and for what is no row of elements.
  [[nodiscard]] bool Read(Bytes content) {
    for (Bytes ignored; !content.empty(); ++count) {
      if (count == sizeof octets) return false;
      octets[count] = static_cast<char>(content.front());
      if (!TakeElement(&content, content.front(), &ignored)) return false;
    }
    return true;
  }
};

constexpr size_t kMostPassphrase = 1 << 20;

uint32_t Load(Bytes encoding, const char* passphrase, CVD_PrivateKey** key) {
  void* const block = CVD_malloc(sizeof(CVD_PrivateKey));
  if (block == nullptr) return CVD_CSP_ERR_MALLOC;
  std::unique_ptr<CVD_PrivateKey, Freed<CVD_CSP_FreePrivateKey>> loaded(new (block)
                                                                            CVD_PrivateKey{});
  // Doubled by one of the schemes, it must still fit an int.
  if (passphrase != nullptr && strnlen(passphrase, kMostPassphrase + 1) > kMostPassphrase) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  Bytes content;
  const auto load = TakeWhole(encoding, &content) ? LoadDer : LoadPem;
  const uint32_t status = load(encoding, passphrase, loaded.get());
  if (status == 0) *key = loaded.release();
  return status;
}

// ---- the public half -----------------------------------------------------------------------

uint32_t EncodePublicValue(const DSA* key, BIN* out) {
  const std::unique_ptr<ASN1_INTEGER, Freed<ASN1_INTEGER_free>> y(
      BN_to_ASN1_INTEGER(DSA_get0_pub_key(key), nullptr));
  if (y == nullptr) return CVD_CSP_ERR_MALLOC;
  return Encode(i2d_ASN1_INTEGER, y.get(), out);
}

uint32_t PublicKey(const CVD_PrivateKey& key, BIN* parameters, BIN* public_key) {
  if (key.rsa != nullptr) {
    const uint32_t status = Encode(i2d_RSAPublicKey, key.rsa, public_key);
    if (status == 0 && parameters != nullptr) *parameters = {0, nullptr};
    return status;
  }
  BIN y;
  if (const uint32_t status = EncodePublicValue(key.dsa, &y); status != 0) return status;
  ScopedOctets held(y.data);
  if (parameters != nullptr) {
    const uint32_t status = Encode(i2d_DSAparams, key.dsa, parameters);
    if (status != 0) return status;
  }
  *public_key = {y.length, held.release()};
  return 0;
}

}  // namespace

// Short memory is seldom the last error: who asked for it adds another, and so on outward. Now and
// then nobody tells at all.
uint32_t FailureOr(uint32_t status) {
  const ERR_STATE* const errors = ERR_get_state();
  if (errors == nullptr) return CVD_CSP_ERR_MALLOC;
  uint32_t told = CVD_CSP_ERR_MALLOC;
  for (int i = errors->top; i != errors->bottom && errors->err_marks[i] == 0;) {
    if (ERR_GET_REASON(errors->err_buffer[i]) == ERR_R_MALLOC_FAILURE) return CVD_CSP_ERR_MALLOC;
    told = status;
    i = (i + ERR_NUM_ERRORS - 1) % ERR_NUM_ERRORS;
  }
  return told;
}

bool HasToldAnError() {
  const ERR_STATE* const errors = ERR_get_state();
  return errors == nullptr ||
         (errors->top != errors->bottom && errors->err_marks[errors->top] == 0);
}

bool IsNullOrAbsent(Bytes parameters) {
  constexpr uint8_t kNull[] = {kTagNull, 0};
  return parameters.empty() || std::ranges::equal(parameters, kNull);
}

bool TakeWhole(Bytes der, Bytes* content) {
  return TakeElement(&der, kTagSequence, content) && der.empty();
}

uint32_t LoadDer(Bytes der, const char* passphrase, CVD_PrivateKey* key) {
  Bytes content;
  Tags tags;
  if (!TakeWhole(der, &content) || !tags.Read(content)) return CVD_CSP_ERR_BAD_KEY;
  const auto* row = std::find_if(std::begin(kShapes), std::end(kShapes), [&](const auto& r) {
    return Matches(r, {tags.octets, tags.count});
  });
  if (row == std::end(kShapes)) return CVD_CSP_ERR_BAD_KEY;
  return row->load(content, passphrase, key);
}

}  // namespace corvid

uint32_t CVD_CSP_LoadPrivateKey(CVD_PrivateKey** key, const BIN* encoding, const char* passphrase) {
  if (key == nullptr) return CVD_CSP_ERR_INVALID_INPUT;
  *key = nullptr;
  if (!corvid::IsReadable(encoding)) return CVD_CSP_ERR_INVALID_INPUT;
  ERR_set_mark();
  const uint32_t status = corvid::Load(corvid::View(*encoding), passphrase, key);
  ERR_pop_to_mark();
  return status;
}

void CVD_CSP_FreePrivateKey(CVD_PrivateKey* key) {
  if (key == nullptr) return;
  while (corvid::SigningCopy* copy = key->idle) {
    key->idle = copy->next;
    corvid::FreeCopy(copy);
  }
  RSA_free(key->rsa);  // both clear the private numbers
  DSA_free(key->dsa);
  key->~CVD_PrivateKey();
  CVD_free(key);
}

uint32_t CVD_CSP_GetPublicKey(CVD_PrivateKey* key, int32_t* pkeyID, BIN* parameters,
                              BIN* publicKey) {
  if (key == nullptr || pkeyID == nullptr || publicKey == nullptr) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  ERR_set_mark();
  const uint32_t status = corvid::PublicKey(*key, parameters, publicKey);
  ERR_pop_to_mark();
  if (status == 0) *pkeyID = key->rsa != nullptr ? CVD_PKEY_RSA : CVD_PKEY_DSA;
  return status;
}
