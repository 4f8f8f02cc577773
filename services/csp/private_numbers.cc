// The numbers of a private key: whether they fit together, as far as no exponentiation of full size
// and no proof of primality is needed to tell. A key that does not fit would sign in vain, or, when
// the parts for the Chinese remainder theorem are wrong, give its factors away.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/dsa.h>
#include <openssl/rsa.h>

#include <algorithm>

#include "prime_group.h"
#include "private_key.h"

namespace corvid {
namespace {

ScopedNumber NewNumber(Bytes octets) {
  return ScopedNumber(BN_bin2bn(octets.data(), static_cast<int>(octets.size()), nullptr));
}

// That `reduced` is d mod prime - 1, and e's inverse there (RFC 8017 section 3.2).
uint32_t CheckExponent(const BIGNUM* prime, const BIGNUM* reduced, const BIGNUM* d, const BIGNUM* e,
                       BN_CTX* context) {
  BIGNUM* const before = BN_CTX_get(context);  // prime - 1
  BIGNUM* const value = BN_CTX_get(context);
  if (value == nullptr || BN_sub(before, prime, BN_value_one()) == 0) return CVD_CSP_ERR_MALLOC;
  if (BN_is_zero(before)) return CVD_CSP_ERR_BAD_KEY;
  if (BN_mod(value, d, before, context) == 0) return CVD_CSP_ERR_MALLOC;
  if (BN_cmp(value, reduced) != 0) return CVD_CSP_ERR_BAD_KEY;
  if (BN_mod_mul(value, value, e, before, context) == 0) return CVD_CSP_ERR_MALLOC;
  return BN_is_one(value) ? 0 : CVD_CSP_ERR_BAD_KEY;
}

using In = RsaNumbers;

uint32_t CheckRsa(const ScopedNumber (&in)[In::kCount], BN_CTX* context) {
  const BIGNUM* const p = in[In::kP].get();
  const BIGNUM* const q = in[In::kQ].get();
  const BIGNUM* const e = in[In::kE].get();
  const BIGNUM* const d = in[In::kD].get();
  BIGNUM* const value = BN_CTX_get(context);
  if (value == nullptr || BN_mul(value, p, q, context) == 0) return CVD_CSP_ERR_MALLOC;
  if (BN_cmp(value, in[In::kN].get()) != 0 || BN_cmp(d, value) >= 0) return CVD_CSP_ERR_BAD_KEY;
  uint32_t status = CheckExponent(p, in[In::kDp].get(), d, e, context);
  if (status == 0) status = CheckExponent(q, in[In::kDq].get(), d, e, context);
  if (status != 0) return status;
  const BIGNUM* const inverse = in[In::kInverse].get();
  if (BN_cmp(inverse, p) >= 0) return CVD_CSP_ERR_BAD_KEY;
  if (BN_mod_mul(value, inverse, q, p, context) == 0) return CVD_CSP_ERR_MALLOC;
  return BN_is_one(value) ? 0 : CVD_CSP_ERR_BAD_KEY;
}

// That g has an order which divides q, and y is within its bounds.
uint32_t CheckGroup(PrimeGroup* group) {
  const uint32_t status = PreparePrimeGroup(group);
  if (status == CVD_CSP_ERR_MALLOC) return status;
  if (status != 0) return CVD_CSP_ERR_BAD_KEY;
  BIGNUM* const value = BN_CTX_get(group->context.get());
  if (value == nullptr || BN_mod_exp_mont(value, group->g, group->q, group->p, group->context.get(),
                                          group->montgomery.get()) == 0) {
    return CVD_CSP_ERR_MALLOC;
  }
  return BN_is_one(value) ? 0 : CVD_CSP_ERR_BAD_KEY;
}

// y = g^x mod p; null when memory is short.
ScopedNumber PublicValue(const BIGNUM* p, const BIGNUM* g, const BIGNUM* x) {
  const ScopedContext context(BN_CTX_new());
  ScopedNumber y(BN_new());
  const bool done = context != nullptr && y != nullptr &&
                    BN_mod_exp_mont_consttime(y.get(), g, x, p, context.get(), nullptr) != 0;
  return done ? std::move(y) : nullptr;
}

}  // namespace

uint32_t MakeRsa(const RsaNumbers& in, RSA** key) {
  const Bytes modulus = in.octets[In::kN];
  if (!IsUsableRsaKey(modulus, in.octets[In::kE])) return CVD_CSP_ERR_BAD_KEY;
  ScopedNumber numbers[In::kCount];
  for (size_t i = 0; i < In::kCount; ++i) {
    if (in.octets[i].size() > modulus.size()) return CVD_CSP_ERR_BAD_KEY;
    numbers[i] = NewNumber(in.octets[i]);
    if (numbers[i] == nullptr) return CVD_CSP_ERR_MALLOC;
  }
  const ScopedContext context(BN_CTX_new());
  if (context == nullptr) return CVD_CSP_ERR_MALLOC;
  BN_CTX_start(context.get());
  if (const uint32_t status = CheckRsa(numbers, context.get()); status != 0) return status;
  *key = RSA_new();
  if (*key == nullptr) return CVD_CSP_ERR_MALLOC;
  // These take the numbers over, and refuse missing ones alone.
  const auto take = [&](int which) { return numbers[which].release(); };
  RSA_set0_key(*key, take(In::kN), take(In::kE), take(In::kD));
  RSA_set0_factors(*key, take(In::kP), take(In::kQ));
  RSA_set0_crt_params(*key, take(In::kDp), take(In::kDq), take(In::kInverse));
  return 0;
}

uint32_t MakeDsa(const DsaNumbers& in, DSA** key) {
  PrimeGroup group;
  group.p_octets = in.p;
  group.q_octets = in.q;
  group.g_octets = in.g;
  Bytes x_octets = in.x;
  if (!IsPlausible(group) || !TakeScalar(group, &x_octets)) return CVD_CSP_ERR_BAD_KEY;
  ScopedNumber p = NewNumber(in.p);
  ScopedNumber q = NewNumber(in.q);
  ScopedNumber g = NewNumber(in.g);
  ScopedNumber x = NewNumber(x_octets);
  if (p == nullptr || q == nullptr || g == nullptr || x == nullptr) return CVD_CSP_ERR_MALLOC;
  BN_set_flags(x.get(), BN_FLG_CONSTTIME);
  ScopedNumber y = PublicValue(p.get(), g.get(), x.get());
  if (y == nullptr) return CVD_CSP_ERR_MALLOC;
  uint8_t y_octets[kMostPrimeOctets];
  group.y_octets = {y_octets, static_cast<size_t>(BN_bn2bin(y.get(), y_octets))};
  const bool stated = !in.y.empty();
  if (stated && !std::ranges::equal(in.y, group.y_octets)) return CVD_CSP_ERR_BAD_KEY;
  if (const uint32_t status = CheckGroup(&group); status != 0) return status;
  *key = DSA_new();
  if (*key == nullptr) return CVD_CSP_ERR_MALLOC;
  DSA_set0_pqg(*key, p.release(), q.release(), g.release());
  DSA_set0_key(*key, y.release(), x.release());
  return 0;
}

}  // namespace corvid
