// The parameters p, q, g and the public value y that DSA and KCDSA share: their reading, the checks
// before any arithmetic, and the one operation that verification is made of.
#ifndef CORVID_SERVICES_CSP_PRIME_GROUP_H_
#define CORVID_SERVICES_CSP_PRIME_GROUP_H_

#include "verify.h"

namespace corvid {

constexpr size_t kMostPrimeOctets = 512;  // of p
constexpr size_t kMostOrderOctets = 64;   // of q

struct PrimeGroup {
  // Views of the caller's octets, of positive numbers without leading zero octets.
  Bytes p_octets;
  Bytes q_octets;
  Bytes g_octets;
  Bytes y_octets;

  ScopedContext context;
  ScopedMontgomery montgomery;  // of p
  BIGNUM* p;                    // the numbers are the context's
  BIGNUM* q;
  BIGNUM* g;
  BIGNUM* y;
};

// Reads y and the parameters, which are plausible. `rest` is what follows g in the SEQUENCE.
[[nodiscard]] uint32_t ReadPrimeGroup(const Verification& in, PrimeGroup* group, Bytes* rest);

// True for p, q and g that octets alone tell nothing against.
[[nodiscard]] bool IsPlausible(const PrimeGroup& group);

// Makes the numbers of the octets, and checks the rest: 1 < y < p - 1, and q divides p - 1.
[[nodiscard]] uint32_t PreparePrimeGroup(PrimeGroup* group);

// True for a signature's INTEGER within [1, q - 1]; leaves it without its leading zero octet.
[[nodiscard]] bool TakeScalar(const PrimeGroup& group, Bytes* integer);

// Sets `value` to g^a y^b mod p; false when memory is short.
[[nodiscard]] bool RaiseBoth(const PrimeGroup& group, const BIGNUM* a, const BIGNUM* b,
                             BIGNUM* value);

}  // namespace corvid

#endif  // CORVID_SERVICES_CSP_PRIME_GROUP_H_
