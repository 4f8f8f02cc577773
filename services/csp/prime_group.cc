// The checks of FIPS 186-4 that cost no exponentiation. That g has the order q is not proved: it
// would double the work, and only the key's owner could choose a bad g, who can sign anyway.
#include "prime_group.h"

#include <algorithm>

#include "corvid/csp.h"

namespace corvid {
namespace {

constexpr size_t kLeastOrderBits = 128;

bool IsOdd(Bytes number) { return (number.back() & 1) != 0; }
bool IsOne(Bytes number) { return number.size() == 1 && number[0] == 1; }

bool IsLess(Bytes a, Bytes b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return std::ranges::lexicographical_compare(a, b);
}

bool SetNumbers(PrimeGroup* group) {
  return SetNumber(group->p, group->p_octets) && SetNumber(group->q, group->q_octets) &&
         SetNumber(group->g, group->g_octets) && SetNumber(group->y, group->y_octets);
}

}  // namespace

bool IsPlausible(const PrimeGroup& group) {
  return group.p_octets.size() <= kMostPrimeOctets && IsOdd(group.p_octets) &&
         group.q_octets.size() <= kMostOrderOctets && IsOdd(group.q_octets) &&
         BitLength(group.q_octets) >= kLeastOrderBits && !IsOne(group.g_octets) &&
         IsLess(group.g_octets, group.p_octets);
}

// DSAPublicKey ::= INTEGER; Dss-Parms ::= SEQUENCE { p, q, g INTEGER }  (RFC 3279 section 2.3.2)
uint32_t ReadPrimeGroup(const Verification& in, PrimeGroup* group, Bytes* rest) {
  Bytes key = in.key;
  if (!TakePositive(&key, &group->y_octets) || !key.empty()) return CVD_CSP_ERR_BAD_KEY;
  Bytes parameters = in.parameters;
  if (!TakeElement(&parameters, kTagSequence, rest) || !parameters.empty() ||
      !TakePositive(rest, &group->p_octets) || !TakePositive(rest, &group->q_octets) ||
      !TakePositive(rest, &group->g_octets) || !IsPlausible(*group)) {
    return CVD_CSP_ERR_BAD_PARAMETERS;
  }
  return 0;
}

uint32_t PreparePrimeGroup(PrimeGroup* group) {
  if (IsOne(group->y_octets) || !IsLess(group->y_octets, group->p_octets)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  group->context.reset(BN_CTX_new());
  group->montgomery.reset(BN_MONT_CTX_new());
  BN_CTX* const context = group->context.get();
  if (context == nullptr || group->montgomery == nullptr) return CVD_CSP_ERR_MALLOC;
  BN_CTX_start(context);
  group->p = BN_CTX_get(context);
  group->q = BN_CTX_get(context);
  group->g = BN_CTX_get(context);
  group->y = BN_CTX_get(context);
  BIGNUM* const before = BN_CTX_get(context);  // p - 1
  BIGNUM* const remainder = BN_CTX_get(context);
  if (remainder == nullptr || !SetNumbers(group) || BN_copy(before, group->p) == nullptr ||
      BN_sub_word(before, 1) == 0 || BN_mod(remainder, before, group->q, context) == 0) {
    return CVD_CSP_ERR_MALLOC;
  }
  if (!BN_is_zero(remainder)) return CVD_CSP_ERR_BAD_PARAMETERS;
  if (BN_cmp(group->y, before) == 0) return CVD_CSP_ERR_BAD_KEY;
  return BN_MONT_CTX_set(group->montgomery.get(), group->p, context) != 0 ? 0 : CVD_CSP_ERR_MALLOC;
}

bool TakeScalar(const PrimeGroup& group, Bytes* integer) {
  if (integer->front() >= 0x80) return false;
  if (integer->front() == 0) *integer = integer->subspan(1);
  return !integer->empty() && IsLess(*integer, group.q_octets);
}

bool RaiseBoth(const PrimeGroup& group, const BIGNUM* a, const BIGNUM* b, BIGNUM* value) {
  return BN_mod_exp2_mont(value, group.g, a, group.y, b, group.p, group.context.get(),
                          group.montgomery.get()) != 0;
}

}  // namespace corvid
