// What a private key is wrapped in: PEM (RFC 7468, and the older form with headers of RFC 1421) and
// encryption by a passphrase (RFC 5958 section 3, RFC 8018). The passphrase is an argument alone;
// nothing here asks for one.
#include <openssl/asn1t.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "private_key.h"

namespace corvid {
namespace {

constexpr int64_t kMostIterations = 10'000'000;
// N r p, as much work as about so many iterations; OpenSSL itself bounds the memory to 32 MiB.
constexpr uint64_t kMostScryptWork = 1 << 24;
constexpr size_t kMostOctets = 1 << 20;  // of an encrypted key; none comes near

using ScopedCipher = std::unique_ptr<EVP_CIPHER_CTX, Freed<EVP_CIPHER_CTX_free>>;

// ---- decryption ----------------------------------------------------------------------------

class Secret {  // octets that are cleared before they are released
 public:
  explicit Secret(size_t size) : octets_(static_cast<uint8_t*>(CVD_malloc(size))), size_(size) {}
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;
  ~Secret() {
    if (octets_ != nullptr) OPENSSL_cleanse(octets_, size_);
    CVD_free(octets_);
  }
  uint8_t* get() const { return octets_; }

 private:
  uint8_t* octets_;
  size_t size_;
};

// What `cipher`, which is ready, makes of the octets. A wrong passphrase shows in the padding or,
// when that is right by chance or the cipher has none, in what should be a SEQUENCE.
uint32_t LoadDecrypted(EVP_CIPHER_CTX* cipher, Bytes octets, CVD_PrivateKey* key) {
  if (octets.size() > kMostOctets) return CVD_CSP_ERR_BAD_KEY;
  const Secret plain(octets.size() + EVP_MAX_BLOCK_LENGTH);
  if (plain.get() == nullptr) return CVD_CSP_ERR_MALLOC;
  int head = 0;
  int tail = 0;
  if (EVP_CipherUpdate(cipher, plain.get(), &head, octets.data(),
                       static_cast<int>(octets.size())) == 0 ||
      EVP_CipherFinal_ex(cipher, plain.get() + head, &tail) == 0) {
    return FailureOr(CVD_CSP_ERR_PASSPHRASE);
  }
  const Bytes der(plain.get(), static_cast<size_t>(head + tail));
  Bytes content;
  if (!TakeWhole(der, &content)) return CVD_CSP_ERR_PASSPHRASE;
  return LoadDer(der, nullptr, key);
}

// ---- EncryptedPrivateKeyInfo ---------------------------------------------------------------

template <typename Parameters, auto kFree>
std::unique_ptr<Parameters, Freed<kFree>> Unpack(const ASN1_ITEM* item, const ASN1_TYPE* any) {
  return std::unique_ptr<Parameters, Freed<kFree>>(
      static_cast<Parameters*>(ASN1_TYPE_unpack_sequence(item, any)));
}

uint32_t CheckIterations(const ASN1_INTEGER* count) {
  int64_t number = 0;
  if (ASN1_INTEGER_get_int64(&number, count) == 0) return CVD_CSP_ERR_UNSUPPORTED_KEY;
  if (number < 1) return CVD_CSP_ERR_BAD_KEY;
  return number <= kMostIterations ? 0 : CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// scrypt-params (RFC 7914 section 7)
uint32_t CheckScrypt(const ASN1_TYPE* any) {
  const auto in = Unpack<SCRYPT_PARAMS, SCRYPT_PARAMS_free>(ASN1_ITEM_rptr(SCRYPT_PARAMS), any);
  if (in == nullptr) return FailureOr(CVD_CSP_ERR_BAD_KEY);
  uint64_t left = kMostScryptWork;
  for (const ASN1_INTEGER* factor :
       {in->costParameter, in->blockSize, in->parallelizationParameter}) {
    uint64_t number = 0;
    if (ASN1_INTEGER_get_uint64(&number, factor) == 0) return CVD_CSP_ERR_UNSUPPORTED_KEY;
    if (number == 0) return CVD_CSP_ERR_BAD_KEY;
    left /= number;
  }
  return left > 0 ? 0 : CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// PBKDF2-params (RFC 8018 A.2)
uint32_t CheckPbkdf2(const ASN1_TYPE* any) {
  const auto in = Unpack<PBKDF2PARAM, PBKDF2PARAM_free>(ASN1_ITEM_rptr(PBKDF2PARAM), any);
  return in == nullptr ? FailureOr(CVD_CSP_ERR_BAD_KEY) : CheckIterations(in->iter);
}

// PBES2-params (RFC 8018 A.4)
uint32_t CheckPbes2(const ASN1_TYPE* any) {
  const auto in = Unpack<PBE2PARAM, PBE2PARAM_free>(ASN1_ITEM_rptr(PBE2PARAM), any);
  if (in == nullptr) return FailureOr(CVD_CSP_ERR_BAD_KEY);
  const int derivation = OBJ_obj2nid(in->keyfunc->algorithm);
  if (derivation == NID_id_pbkdf2) return CheckPbkdf2(in->keyfunc->parameter);
  if (derivation == NID_id_scrypt) return CheckScrypt(in->keyfunc->parameter);
  return CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// PBEParameter (RFC 8018 A.3), and the same fields in RFC 7292 appendix C
uint32_t CheckPbes1(const ASN1_TYPE* any) {
  const auto in = Unpack<PBEPARAM, PBEPARAM_free>(ASN1_ITEM_rptr(PBEPARAM), any);
  return in == nullptr ? FailureOr(CVD_CSP_ERR_BAD_KEY) : CheckIterations(in->iter);
}

// Refuses a scheme that is not known and work without end, before any is done.
uint32_t CheckScheme(const X509_ALGOR& scheme) {
  const int nid = OBJ_obj2nid(scheme.algorithm);
  if (nid == NID_pbes2) return CheckPbes2(scheme.parameter);
  if (EVP_PBE_find(EVP_PBE_TYPE_OUTER, nid, nullptr, nullptr, nullptr) == 0) {
    return CVD_CSP_ERR_UNSUPPORTED_KEY;
  }
  return CheckPbes1(scheme.parameter);
}

// ---- PEM -----------------------------------------------------------------------------------

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";

// The text up to the first `mark`, or all of it.
std::string_view Before(std::string_view text, std::string_view mark) {
  return text.substr(0, text.find(mark));
}

struct PemBlock {
  char* label = nullptr;
  char* headers = nullptr;
  uint8_t* octets = nullptr;
  long length = 0;

  PemBlock() = default;
  PemBlock(const PemBlock&) = delete;
  PemBlock& operator=(const PemBlock&) = delete;
  ~PemBlock() {
    OPENSSL_secure_free(label);
    OPENSSL_secure_free(headers);
    OPENSSL_secure_clear_free(octets, static_cast<size_t>(length));
  }
  [[nodiscard]] uint32_t Read(std::string_view text) {
    const std::unique_ptr<BIO, Freed<BIO_free>> in(
        BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    if (in == nullptr) return CVD_CSP_ERR_MALLOC;
    const bool done =
        PEM_read_bio_ex(in.get(), &label, &headers, &octets, &length, PEM_FLAG_SECURE) != 0;
    return done ? 0 : FailureOr(CVD_CSP_ERR_BAD_KEY);
  }
  Bytes view() const { return {octets, static_cast<size_t>(length)}; }
};

// The key of an encrypted block is made of one round of MD5 (RFC 1421 leaves it open).
uint32_t LoadEncryptedBlock(const PemBlock& block, const EVP_CIPHER_INFO& info,
                            const char* passphrase, CVD_PrivateKey* key) {
  const ScopedCipher cipher(EVP_CIPHER_CTX_new());
  if (cipher == nullptr) return CVD_CSP_ERR_MALLOC;
  uint8_t secret[EVP_MAX_KEY_LENGTH];
  const bool ready =
      EVP_BytesToKey(info.cipher, EVP_md5(), info.iv, reinterpret_cast<const uint8_t*>(passphrase),
                     static_cast<int>(std::strlen(passphrase)), 1, secret, nullptr) != 0 &&
      EVP_DecryptInit_ex(cipher.get(), info.cipher, nullptr, secret, info.iv) != 0;
  OPENSSL_cleanse(secret, sizeof secret);
  if (!ready) return FailureOr(CVD_CSP_ERR_UNSUPPORTED_KEY);
  return LoadDecrypted(cipher.get(), block.view(), key);
}

uint32_t LoadBlock(const PemBlock& block, const char* passphrase, CVD_PrivateKey* key) {
  EVP_CIPHER_INFO info;
  if (PEM_get_EVP_CIPHER_INFO(block.headers, &info) == 0) {
    const bool known = ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_UNSUPPORTED_ENCRYPTION;
    return known ? CVD_CSP_ERR_BAD_KEY : CVD_CSP_ERR_UNSUPPORTED_KEY;
  }
  if (info.cipher == nullptr) return LoadDer(block.view(), passphrase, key);
  if (passphrase == nullptr) return CVD_CSP_ERR_PASSPHRASE;
  return LoadEncryptedBlock(block, info, passphrase, key);
}

}  // namespace

uint32_t LoadEncrypted(Bytes content, const char* passphrase, CVD_PrivateKey* key) {
  const uint8_t* at = content.data();
  const std::unique_ptr<X509_ALGOR, Freed<X509_ALGOR_free>> scheme(
      d2i_X509_ALGOR(nullptr, &at, static_cast<long>(content.size())));
  if (scheme == nullptr) return FailureOr(CVD_CSP_ERR_BAD_KEY);
  if (const uint32_t status = CheckScheme(*scheme); status != 0) return status;
  if (passphrase == nullptr) return CVD_CSP_ERR_PASSPHRASE;
  Bytes ignored;
  Bytes octets;
  const ScopedCipher cipher(EVP_CIPHER_CTX_new());
  if (cipher == nullptr) return CVD_CSP_ERR_MALLOC;
  if (!TakeElement(&content, kTagSequence, &ignored) ||
      !TakeElement(&content, kTagOctetString, &octets)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  if (EVP_PBE_CipherInit(scheme->algorithm, passphrase, static_cast<int>(std::strlen(passphrase)),
                         scheme->parameter, cipher.get(), 0) == 0) {
    return FailureOr(CVD_CSP_ERR_UNSUPPORTED_KEY);
  }
  return LoadDecrypted(cipher.get(), octets, key);
}

// Blocks are found by their ends, each with the nearest beginning before it, so that no text around
// them is in the way and the work grows with the text alone.
uint32_t LoadPem(Bytes octets, const char* passphrase, CVD_PrivateKey* key) {
  std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
  uint32_t status = CVD_CSP_ERR_BAD_KEY;
  for (size_t end = text.find(kEnd); end != text.npos; end = text.find(kEnd)) {
    const size_t after = end + Before(text.substr(end), "\n").size();
    const size_t begin = text.substr(0, end).rfind(kBegin);
    const std::string_view found = text.substr(0, after);
    text.remove_prefix(after);
    if (begin == text.npos) continue;
    const std::string_view label = Before(found.substr(begin + kBegin.size()), "-----");
    PemBlock block;
    const uint32_t read = block.Read(found.substr(begin));
    if (label.ends_with("PRIVATE KEY")) return read != 0 ? read : LoadBlock(block, passphrase, key);
    if (read == CVD_CSP_ERR_MALLOC) return read;
    Bytes ignored;
    if (read == 0 && TakeWhole(block.view(), &ignored)) status = CVD_CSP_ERR_NOT_A_PRIVATE_KEY;
  }
  return status;
}

}  // namespace corvid
