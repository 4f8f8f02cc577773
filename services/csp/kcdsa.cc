// KCDSA in its revised form (TTAK.KO-12.0001/R4, ISO/IEC 14888-3): digests are cut to their last
// octets, as many as q has whole ones, and the key takes part in the message's digest.
#include <algorithm>
#include <functional>

#include "corvid/csp.h"
#include "prime_group.h"

namespace corvid {
namespace {

constexpr size_t kHashBlock = 64;  // octets, of each of the three hashes

// What may follow g: j INTEGER OPTIONAL,
// SEQUENCE { seed OCTET STRING, count INTEGER } OPTIONAL
bool IsOrigin(Bytes rest) {
  Bytes ignored;
  Bytes sequence;
  if (!rest.empty() && rest[0] == kTagInteger && !TakePositive(&rest, &ignored)) return false;
  if (rest.empty()) return true;
  return TakeElement(&rest, kTagSequence, &sequence) && rest.empty() &&
         TakeElement(&sequence, kTagOctetString, &ignored) && TakeInteger(&sequence, &ignored) &&
         sequence.empty();
}

// SEQUENCE { r BIT STRING, s INTEGER }, where r has no unused bits
bool ReadSignature(Bytes signature, Bytes* r, Bytes* s) {
  Bytes sequence;
  Bytes bits;
  if (!TakeElement(&signature, kTagSequence, &sequence) || !signature.empty() ||
      !TakeElement(&sequence, kTagBitString, &bits) || bits.empty() || bits[0] != 0) {
    return false;
  }
  *r = bits.subspan(1);
  return TakeInteger(&sequence, s) && sequence.empty();
}

// The digest of z and the message; z is the low end of y, in as many octets as a block has.
uint32_t DigestMessage(const PrimeGroup& group, const Verification& in, DigestValue* digest) {
  const Bytes y = group.y_octets;
  const Bytes low = y.last(std::min(y.size(), kHashBlock));
  uint8_t z[kHashBlock] = {};
  std::ranges::copy(low, z + kHashBlock - low.size());
  return Digest({z, in.data}, in.hashID, digest);
}

// Writes y^s g^e mod p in as many octets as p has, where e is r xor the message's digest.
bool RecoverWitness(const PrimeGroup& group, Bytes e_octets, Bytes s_octets, uint8_t* witness) {
  BN_CTX* const context = group.context.get();
  BIGNUM* const e = BN_CTX_get(context);
  BIGNUM* const s = BN_CTX_get(context);
  BIGNUM* const w = BN_CTX_get(context);
  return w != nullptr && SetNumber(e, e_octets) && SetNumber(s, s_octets) &&
         BN_mod(e, e, group.q, context) != 0 && RaiseBoth(group, e, s, w) &&
         BN_bn2binpad(w, witness, static_cast<int>(group.p_octets.size())) >= 0;
}

uint32_t Check(const PrimeGroup& group, const Verification& in, Bytes r, Bytes s) {
  DigestValue digest;
  if (const uint32_t status = DigestMessage(group, in, &digest); status != 0) return status;
  const size_t length = std::min(digest.length, BitLength(group.q_octets) / 8);
  if (r.size() != length) return CVD_CSP_ERR_VERIFY;
  uint8_t e[sizeof digest.octets];
  std::ranges::transform(r, digest.view().last(length), e, std::bit_xor<>());
  uint8_t witness[kMostPrimeOctets];
  if (!RecoverWitness(group, {e, length}, s, witness)) return CVD_CSP_ERR_MALLOC;
  const uint32_t status = Digest({{witness, group.p_octets.size()}}, in.hashID, &digest);
  if (status != 0) return status;
  return std::ranges::equal(digest.view().last(length), r) ? 0 : CVD_CSP_ERR_VERIFY;
}

}  // namespace

uint32_t VerifyKcdsa(const Verification& in) {
  PrimeGroup group;
  Bytes rest;
  if (const uint32_t status = ReadPrimeGroup(in, &group, &rest); status != 0) return status;
  if (!IsOrigin(rest)) return CVD_CSP_ERR_BAD_PARAMETERS;
  if (const uint32_t status = PreparePrimeGroup(&group); status != 0) return status;
  Bytes r;
  Bytes s;
  if (!ReadSignature(in.signature, &r, &s)) return CVD_CSP_ERR_BAD_SIGNATURE;
  if (!TakeScalar(group, &s)) return CVD_CSP_ERR_VERIFY;
  return Check(group, in, r, s);
}

}  // namespace corvid
