// DSA (FIPS 186-4 sections 4.6 and 4.7).
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/dsa.h>

#include <algorithm>

#include "corvid/csp.h"
#include "prime_group.h"
#include "private_key.h"

namespace corvid {
namespace {

// Dss-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER }  (RFC 3279 section 2.2.2)
bool ReadSignature(Bytes signature, Bytes* r, Bytes* s) {
  Bytes sequence;
  return TakeElement(&signature, kTagSequence, &sequence) && signature.empty() &&
         TakeInteger(&sequence, r) && TakeInteger(&sequence, s) && sequence.empty();
}

// The leftmost bits of the digest, as many as q has.
bool SetDigest(size_t bits, Bytes digest, BIGNUM* number) {
  if (digest.size() * 8 <= bits) return SetNumber(number, digest);
  const size_t octets = (bits + 7) / 8;
  return SetNumber(number, digest.first(octets)) &&
         BN_rshift(number, number, static_cast<int>(8 * octets - bits)) != 0;
}

uint32_t Check(const PrimeGroup& group, Bytes r_octets, Bytes s_octets, Bytes digest) {
  BN_CTX* const context = group.context.get();
  BIGNUM* const r = BN_CTX_get(context);
  BIGNUM* const s = BN_CTX_get(context);
  BIGNUM* const inverse = BN_CTX_get(context);
  BIGNUM* const a = BN_CTX_get(context);
  BIGNUM* const b = BN_CTX_get(context);
  if (b == nullptr || !SetNumber(r, r_octets) || !SetNumber(s, s_octets) ||
      !SetDigest(BitLength(group.q_octets), digest, a)) {
    return CVD_CSP_ERR_MALLOC;
  }
  // 1/s is s^(q-2), as q is prime; unlike Euclid's way this cannot fail where q is not.
  if (BN_copy(b, group.q) == nullptr || BN_sub_word(b, 2) == 0 ||
      BN_mod_exp(inverse, s, b, group.q, context) == 0) {
    return CVD_CSP_ERR_MALLOC;
  }
  if (BN_mod_mul(a, a, inverse, group.q, context) == 0 ||
      BN_mod_mul(b, r, inverse, group.q, context) == 0 || !RaiseBoth(group, a, b, s) ||
      BN_mod(s, s, group.q, context) == 0) {
    return CVD_CSP_ERR_MALLOC;
  }
  return BN_cmp(s, r) == 0 ? 0 : CVD_CSP_ERR_VERIFY;
}

}  // namespace

uint32_t VerifyDsa(const Verification& in) {
  PrimeGroup group;
  Bytes rest;
  if (const uint32_t status = ReadPrimeGroup(in, &group, &rest); status != 0) return status;
  if (!rest.empty()) return CVD_CSP_ERR_BAD_PARAMETERS;
  if (const uint32_t status = PreparePrimeGroup(&group); status != 0) return status;
  Bytes r;
  Bytes s;
  if (!ReadSignature(in.signature, &r, &s)) return CVD_CSP_ERR_BAD_SIGNATURE;
  if (!TakeScalar(group, &r) || !TakeScalar(group, &s)) return CVD_CSP_ERR_VERIFY;
  DigestValue digest;
  if (const uint32_t status = Digest({in.data}, in.hashID, &digest); status != 0) return status;
  return Check(group, r, s, digest.view());
}

uint32_t SignDsa(DSA* key, Bytes data, int32_t hashID, BIN* signature) {
  DigestValue digest;
  if (const uint32_t status = Digest({data}, hashID, &digest); status != 0) return status;
  // OpenSSL cuts a digest to whole octets only; it is handed over as the number that is meant.
  const ScopedNumber number(BN_new());
  const size_t bits = static_cast<size_t>(BN_num_bits(DSA_get0_q(key)));
  const int octets = static_cast<int>(std::min((bits + 7) / 8, digest.length));
  if (number == nullptr || !SetDigest(bits, digest.view(), number.get()) ||
      BN_bn2binpad(number.get(), digest.octets, octets) < 0) {
    return CVD_CSP_ERR_MALLOC;
  }
  const std::unique_ptr<DSA_SIG, Freed<DSA_SIG_free>> value(
      DSA_do_sign(digest.octets, octets, key));
  if (value == nullptr) return CVD_CSP_ERR_MALLOC;  // the key is sound: nothing else is left
  return Encode(i2d_DSA_SIG, value.get(), signature);
}

}  // namespace corvid
