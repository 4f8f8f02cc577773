// RSASSA-PKCS1-v1_5 (RFC 8017 section 8.2). The block that the signature hides is compared whole
// with the one that must be there, never parsed. Chains and lists ask for the same issuer again and
// again, so each thread keeps the modulus that it used last prepared for Montgomery's arithmetic.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/rsa.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "corvid/csp.h"
#include "private_key.h"
#include "verify.h"

namespace corvid {
namespace {

constexpr size_t kLeastBits = 512;
constexpr size_t kMostBits = 16384;
constexpr size_t kLeastOctets = kLeastBits / 8;
constexpr size_t kMostOctets = kMostBits / 8;
constexpr size_t kLeastPadding = 11;  // 00 01, eight octets FF, 00

// The DER of a DigestInfo up to the digest, whose length is the last octet (RFC 8017 section 9.2,
// note 1).
struct DigestInfoRow {
  int32_t hashID;
  uint8_t length;
  uint8_t octets[19];
};
// clang-format off
constexpr DigestInfoRow kDigestInfos[] = {
    {CVD_HASH_MD2, 18, {0x30, 0x20, 0x30, 0x0C, 0x06, 0x08, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                        0x02, 0x02, 0x05, 0x00, 0x04, 0x10}},
    {CVD_HASH_MD5, 18, {0x30, 0x20, 0x30, 0x0C, 0x06, 0x08, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                        0x02, 0x05, 0x05, 0x00, 0x04, 0x10}},
    {CVD_HASH_SHA1, 15, {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E, 0x03, 0x02, 0x1A, 0x05,
                         0x00, 0x04, 0x14}},
    {CVD_HASH_SHA256, 19, {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03,
                           0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20}},
    {CVD_HASH_SHA384, 19, {0x30, 0x41, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03,
                           0x04, 0x02, 0x02, 0x05, 0x00, 0x04, 0x30}},
    {CVD_HASH_SHA512, 19, {0x30, 0x51, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03,
                           0x04, 0x02, 0x03, 0x05, 0x00, 0x04, 0x40}},
};
// clang-format on

// Empty for a hash that RSA does not sign.
Bytes DigestInfo(int32_t hashID) {
  const auto* row = std::find_if(std::begin(kDigestInfos), std::end(kDigestInfos),
                                 [&](const auto& r) { return r.hashID == hashID; });
  return row == std::end(kDigestInfos) ? Bytes() : Bytes(row->octets, row->length);
}

// The length of the shortest modulus that the block fits.
size_t LeastLength(Bytes info) { return kLeastPadding + info.size() + info.back(); }

// Set when what the thread had prepared is gone. What runs later (a destructor of a static object,
// or of another object of the thread) still finds it: it has no destructor.
constinit thread_local bool g_gone = false;

// A modulus prepared for use; all of it is public.
class PreparedModulus {
 public:
  constexpr PreparedModulus() = default;
  PreparedModulus(const PreparedModulus&) = delete;
  PreparedModulus& operator=(const PreparedModulus&) = delete;
  ~PreparedModulus() { g_gone = true; }

  // False when memory is short.
  [[nodiscard]] bool Prepare(Bytes modulus);
  // Writes signature^exponent mod modulus in as many octets as the modulus has. The signature is a
  // number below the modulus, the exponent odd and above 1. False when memory is short.
  [[nodiscard]] bool Recover(Bytes signature, uint64_t exponent, uint8_t* block);

 private:
  [[nodiscard]] bool SetModulus(Bytes modulus);
  [[nodiscard]] bool Raise(Bytes signature, uint64_t exponent, uint8_t* block);

  ScopedContext context_;
  ScopedMontgomery montgomery_;
  size_t length_ = 0;  // 0: nothing is prepared
  uint8_t octets_[kMostOctets] = {};
};

bool PreparedModulus::Prepare(Bytes modulus) {
  if (std::ranges::equal(modulus, Bytes(octets_, length_))) return true;
  length_ = 0;
  if (context_ == nullptr) context_.reset(BN_CTX_new());
  if (montgomery_ == nullptr) montgomery_.reset(BN_MONT_CTX_new());
  if (context_ == nullptr || montgomery_ == nullptr) return false;
  BN_CTX_start(context_.get());
  const bool done = SetModulus(modulus);
  BN_CTX_end(context_.get());
  if (!done) return false;
  std::ranges::copy(modulus, octets_);
  length_ = modulus.size();
  return true;
}

bool PreparedModulus::SetModulus(Bytes modulus) {
  BIGNUM* const n = BN_CTX_get(context_.get());
  return n != nullptr && SetNumber(n, modulus) &&
         BN_MONT_CTX_set(montgomery_.get(), n, context_.get()) != 0;
}

bool PreparedModulus::Recover(Bytes signature, uint64_t exponent, uint8_t* block) {
  BN_CTX_start(context_.get());
  const bool done = Raise(signature, exponent, block);
  BN_CTX_end(context_.get());
  return done;
}

// From the highest bit of the exponent to the lowest. That one is set, and its multiplication by
// the number itself also leads out of Montgomery's form: for 65537 that makes 18 multiplications in
// all, where the general exponentiation does 20.
bool PreparedModulus::Raise(Bytes signature, uint64_t exponent, uint8_t* block) {
  BN_CTX* const context = context_.get();
  BN_MONT_CTX* const montgomery = montgomery_.get();
  BIGNUM* const number = BN_CTX_get(context);
  BIGNUM* const base = BN_CTX_get(context);
  BIGNUM* const power = BN_CTX_get(context);
  if (power == nullptr || !SetNumber(number, signature) ||
      BN_to_montgomery(base, number, montgomery, context) == 0) {
    return false;
  }
  const BIGNUM* last = base;
  for (int bit = static_cast<int>(std::bit_width(exponent)) - 2; bit >= 0; --bit) {
    if (BN_mod_mul_montgomery(power, last, last, montgomery, context) == 0) return false;
    last = power;
    if ((exponent >> bit & 1) == 0) continue;
    const BIGNUM* const factor = bit == 0 ? number : base;
    if (BN_mod_mul_montgomery(power, power, factor, montgomery, context) == 0) return false;
  }
  return BN_bn2binpad(power, block, static_cast<int>(length_)) >= 0;
}

constinit thread_local PreparedModulus g_prepared;

bool Recover(Bytes modulus, Bytes signature, uint64_t exponent, uint8_t* block) {
  if (!g_gone) {
    return g_prepared.Prepare(modulus) && g_prepared.Recover(signature, exponent, block);
  }
  PreparedModulus once;
  return once.Prepare(modulus) && once.Recover(signature, exponent, block);
}

uint64_t NumberOf(Bytes octets) {  // at most eight
  uint64_t number = 0;
  for (const uint8_t octet : octets) number = number << 8 | octet;
  return number;
}

// EMSA-PKCS1-v1_5 (RFC 8017 section 9.2); the block has room for the least padding.
void WriteBlock(Bytes info, Bytes digest, std::span<uint8_t> block) {
  const size_t padding = block.size() - 3 - info.size() - digest.size();
  uint8_t* out = block.data();
  *out++ = 0x00;
  *out++ = 0x01;
  out = std::fill_n(out, padding, uint8_t{0xFF});
  *out++ = 0x00;
  out = std::ranges::copy(info, out).out;
  std::ranges::copy(digest, out);
}

}  // namespace

bool IsUsableRsaKey(Bytes modulus, Bytes exponent) {
  if (modulus.size() > kMostOctets || BitLength(modulus) < kLeastBits ||
      (modulus.back() & 1) == 0 || exponent.size() > sizeof(uint64_t)) {
    return false;
  }
  return NumberOf(exponent) > 1 && (exponent.back() & 1) != 0;
}

uint32_t VerifyRsa(const Verification& in) {
  const Bytes info = DigestInfo(in.hashID);
  if (info.empty()) return CVD_CSP_ERR_INTERNAL;
  Bytes modulus;
  Bytes e;
  if (!ReadRsaKey(in.key, &modulus, &e) || !IsUsableRsaKey(modulus, e)) return CVD_CSP_ERR_BAD_KEY;
  const uint64_t exponent = NumberOf(e);
  const size_t length = modulus.size();
  if (length < LeastLength(info)) return CVD_CSP_ERR_BAD_KEY;

  if (in.signature.size() < kLeastOctets || in.signature.size() > kMostOctets) {
    return CVD_CSP_ERR_BAD_SIGNATURE;  // made by no key that is in bounds
  }
  // Another key's signature has another length or, by chance, a value that is out of range.
  if (in.signature.size() != length) return CVD_CSP_ERR_VERIFY;
  if (std::memcmp(in.signature.data(), modulus.data(), length) >= 0) return CVD_CSP_ERR_VERIFY;
  DigestValue digest;
  if (const uint32_t status = Digest({in.data}, in.hashID, &digest); status != 0) return status;

  uint8_t recovered[kMostOctets];
  if (!Recover(modulus, in.signature, exponent, recovered)) return CVD_CSP_ERR_MALLOC;
  uint8_t expected[kMostOctets];
  WriteBlock(info, digest.view(), {expected, length});
  return std::memcmp(recovered, expected, length) == 0 ? 0 : CVD_CSP_ERR_VERIFY;
}

void FreeCopy(SigningCopy* copy) {
  RSA_free(copy->rsa);
  CVD_free(copy);
}

// RSAPrivateKey_dup without what it leaves in memory. Null when memory is short.
static RSA* Duplicate(const RSA* key) {
  uint8_t* der = nullptr;
  const int length = i2d_RSAPrivateKey(key, &der);
  if (length <= 0) return nullptr;
  const uint8_t* at = der;
  RSA* const copy = d2i_RSAPrivateKey(nullptr, &at, length);
  OPENSSL_clear_free(der, static_cast<size_t>(length));
  return copy;
}

static SigningCopy* TakeCopy(CVD_PrivateKey* key) {
  {
    const std::lock_guard lock(key->mutex);
    if (SigningCopy* const copy = key->idle; copy != nullptr) {
      key->idle = copy->next;
      return copy;
    }
  }
  RSA* const rsa = Duplicate(key->rsa);
  auto* const copy =
      static_cast<SigningCopy*>(rsa == nullptr ? nullptr : CVD_malloc(sizeof(SigningCopy)));
  if (copy == nullptr) {
    RSA_free(rsa);
    return nullptr;
  }
  *copy = {rsa, nullptr, false};
  return copy;
}

// A key whose factors are not prime makes signatures, nearly all of them wrong.
static uint32_t SignOnce(SigningCopy* copy, Bytes message, uint8_t* out) {
  const int length = RSA_size(copy->rsa);
  const int size = static_cast<int>(message.size());
  if (RSA_private_encrypt(size, message.data(), out, copy->rsa, RSA_PKCS1_PADDING) != length ||
      HasToldAnError()) {
    return CVD_CSP_ERR_MALLOC;  // all else was checked when the key was loaded
  }
  if (copy->proven) return 0;
  uint8_t recovered[kMostOctets];
  const int count = RSA_public_decrypt(length, out, recovered, copy->rsa, RSA_PKCS1_PADDING);
  copy->proven = count == size && std::memcmp(recovered, message.data(), message.size()) == 0;
  return copy->proven ? 0 : FailureOr(CVD_CSP_ERR_BAD_KEY);
}

// What OpenSSL keeps beside a key for blinding is changed at each signature, and made anew at every
// 32nd. When memory runs short in between, it may say that all is well, and the signatures up to
// the next time are wrong. So no other thread signs with the same copy, and one goes at any error.
static uint32_t SignBlinded(CVD_PrivateKey* key, Bytes message, uint8_t* out) {
  SigningCopy* const copy = TakeCopy(key);
  if (copy == nullptr) return CVD_CSP_ERR_MALLOC;
  if (const uint32_t status = SignOnce(copy, message, out); status != 0) {
    FreeCopy(copy);
    return status;
  }
  const std::lock_guard lock(key->mutex);
  copy->next = key->idle;
  key->idle = copy;
  return 0;
}

// OpenSSL pads, blinds, and checks what the Chinese remainder theorem gave before it hands it out.
uint32_t SignRsa(CVD_PrivateKey* key, Bytes data, int32_t hashID, BIN* signature) {
  const Bytes info = DigestInfo(hashID);
  if (info.empty()) return CVD_CSP_ERR_INTERNAL;
  const int length = RSA_size(key->rsa);
  if (static_cast<size_t>(length) < LeastLength(info)) return CVD_CSP_ERR_BAD_KEY;
  DigestValue digest;
  if (const uint32_t status = Digest({data}, hashID, &digest); status != 0) return status;
  uint8_t message[sizeof(DigestInfoRow::octets) + sizeof digest.octets];
  uint8_t* const end = std::ranges::copy(digest.view(), std::ranges::copy(info, message).out).out;
  ScopedOctets value(static_cast<uint8_t*>(CVD_malloc(static_cast<size_t>(length))));
  if (value == nullptr) return CVD_CSP_ERR_MALLOC;
  if (const uint32_t status = SignBlinded(key, {message, end}, value.get()); status != 0) {
    return status;
  }
  *signature = {length, value.release()};
  return 0;
}

}  // namespace corvid
