// What a private key is wrapped in: PEM (RFC 7468, and the older form with headers of RFC 1421) and
// encryption by a passphrase (RFC 5958 section 3, RFC 8018). The passphrase is an argument alone;
// nothing here asks for one.
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

#include "private_key.h"

namespace corvid {
namespace {

constexpr uint64_t kMostIterations = 10'000'000;
constexpr uint64_t kMostScryptWork = 1 << 24;    // N r p; as much work as about so many iterations
constexpr uint64_t kMostScryptMemory = 1 << 18;  // in units of 128 octets: OpenSSL's 32 MiB
constexpr size_t kMostOctets = 1 << 20;          // of an encrypted key; none comes near

// What OpenSSL's default provider has. All of it is looked up here and not where it is used, so
// that what fails there fails for want of memory: OpenSSL's errors do not tell.
constexpr int kCiphers[] = {
    NID_aes_128_cbc,      NID_aes_192_cbc,      NID_aes_256_cbc,  NID_des_ede3_cbc,
    NID_aria_128_cbc,     NID_aria_192_cbc,     NID_aria_256_cbc, NID_camellia_128_cbc,
    NID_camellia_192_cbc, NID_camellia_256_cbc,
};
constexpr int kPseudorandomFunctions[] = {
    NID_hmacWithSHA1,   NID_hmacWithSHA224, NID_hmacWithSHA256,
    NID_hmacWithSHA384, NID_hmacWithSHA512,
};
constexpr int kPkcs12Schemes[] = {
    NID_pbe_WithSHA1And3_Key_TripleDES_CBC,
    NID_pbe_WithSHA1And2_Key_TripleDES_CBC,
};

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

bool IsNid(int nid, Bytes oid) {
  const ASN1_OBJECT* const object = OBJ_nid2obj(nid);
  return std::ranges::equal(oid, Bytes(OBJ_get0_data(object), OBJ_length(object)));
}

// NID_undef when it is none of them.
int Find(std::span<const int> nids, Bytes oid) {
  const auto nid = std::ranges::find_if(nids, [&](int n) { return IsNid(n, oid); });
  return nid == nids.end() ? NID_undef : *nid;
}

struct Algorithm {
  Bytes oid;
  Bytes parameters;  // DER

  [[nodiscard]] bool Take(Bytes* in) {
    return TakeElement(in, kTagSequence, &parameters) && TakeElement(&parameters, kTagObject, &oid);
  }
};

bool TakeSalt(Bytes* in) {
  Bytes salt;
  return TakeElement(in, kTagOctetString, &salt) && !salt.empty();
}

// A positive number; UINT64_MAX also stands for all above.
bool TakeCount(Bytes* in, uint64_t* count) {
  Bytes octets;
  if (!TakePositive(in, &octets)) return false;
  *count = 0;
  for (const uint8_t octet : octets) *count = *count << 8 | octet;
  if (octets.size() > sizeof *count) *count = UINT64_MAX;
  return true;
}

bool TakeIterations(Bytes* in, uint64_t* count) { return TakeSalt(in) && TakeCount(in, count); }

// keyLength INTEGER OPTIONAL
bool TakeKeyLength(Bytes* in, uint64_t length) {
  if (in->empty() || in->front() != kTagInteger) return true;
  uint64_t stated = 0;
  return TakeCount(in, &stated) && stated == length;
}

// PBEParameter ::= SEQUENCE { salt, iterationCount }  (RFC 8018 A.3; RFC 7292 appendix C)
uint32_t CheckPkcs12(Bytes in) {
  uint64_t count = 0;
  if (!TakeIterations(&in, &count) || !in.empty()) return CVD_CSP_ERR_BAD_KEY;
  return count <= kMostIterations ? 0 : CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// PBKDF2-params ::= SEQUENCE { salt, iterationCount, keyLength OPTIONAL, prf DEFAULT }
// (RFC 8018 A.2)
uint32_t CheckPbkdf2(Bytes in, uint64_t key_length) {
  uint64_t count = 0;
  Algorithm function;
  if (!TakeIterations(&in, &count) || !TakeKeyLength(&in, key_length)) return CVD_CSP_ERR_BAD_KEY;
  if (count > kMostIterations) return CVD_CSP_ERR_UNSUPPORTED_KEY;
  if (in.empty()) return 0;
  if (!function.Take(&in) || !in.empty() || !IsNullOrAbsent(function.parameters)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  const int nid = Find(kPseudorandomFunctions, function.oid);
  return nid != NID_undef ? 0 : CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// scrypt-params ::= SEQUENCE { salt, N, r, p, keyLength OPTIONAL }  (RFC 7914 section 7)
uint32_t CheckScrypt(Bytes in, uint64_t key_length) {
  uint64_t n = 0;
  uint64_t r = 0;
  uint64_t p = 0;
  if (!TakeSalt(&in) || !TakeCount(&in, &n) || !TakeCount(&in, &r) || !TakeCount(&in, &p) ||
      !TakeKeyLength(&in, key_length) || !in.empty()) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  if (n > kMostScryptWork || r > kMostScryptWork || p > kMostScryptWork ||
      n > kMostScryptWork / r / p || n + p + 2 > kMostScryptMemory / r) {
    return CVD_CSP_ERR_UNSUPPORTED_KEY;
  }
  const bool valid = n > 1 && std::has_single_bit(n) && (r > 3 || n >> (16 * r) == 0);
  return valid ? 0 : CVD_CSP_ERR_BAD_KEY;
}

// PBES2-params ::= SEQUENCE { keyDerivationFunc, encryptionScheme }  (RFC 8018 A.4)
uint32_t CheckPbes2(Bytes in) {
  Algorithm derivation;
  Algorithm encryption;
  Bytes iv;
  if (!derivation.Take(&in) || !encryption.Take(&in) || !in.empty()) return CVD_CSP_ERR_BAD_KEY;
  const int nid = Find(kCiphers, encryption.oid);
  if (nid == NID_undef) return CVD_CSP_ERR_UNSUPPORTED_KEY;
  const EVP_CIPHER* const cipher = EVP_get_cipherbynid(nid);
  if (cipher == nullptr) return CVD_CSP_ERR_MALLOC;
  if (!TakeElement(&encryption.parameters, kTagOctetString, &iv) ||
      iv.size() != static_cast<size_t>(EVP_CIPHER_get_iv_length(cipher)) ||
      !encryption.parameters.empty() || !TakeWhole(derivation.parameters, &in)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  const auto key_length = static_cast<uint64_t>(EVP_CIPHER_get_key_length(cipher));
  if (IsNid(NID_id_pbkdf2, derivation.oid)) return CheckPbkdf2(in, key_length);
  if (IsNid(NID_id_scrypt, derivation.oid)) return CheckScrypt(in, key_length);
  return CVD_CSP_ERR_UNSUPPORTED_KEY;
}

// Refuses a scheme that is not known and work without end, before any is done.
uint32_t CheckScheme(const Algorithm& scheme) {
  const bool pbes2 = IsNid(NID_pbes2, scheme.oid);
  if (!pbes2 && Find(kPkcs12Schemes, scheme.oid) == NID_undef) return CVD_CSP_ERR_UNSUPPORTED_KEY;
  Bytes parameters;
  if (!TakeWhole(scheme.parameters, &parameters)) return CVD_CSP_ERR_BAD_KEY;
  return pbes2 ? CheckPbes2(parameters) : CheckPkcs12(parameters);
}

// ---- PEM -----------------------------------------------------------------------------------

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";

// The text up to the first `mark`, or all of it.
std::string_view Before(std::string_view text, std::string_view mark) {
  return text.substr(0, text.find(mark));
}

// Whether data follows the headers (lines with a colon, then an empty one) of a block; libcrypto
// fails without it, and does not say why.
bool HasData(std::string_view block) {
  bool headers = false;
  bool data = false;
  bool divided = false;
  const auto blank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
  const auto base64 = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
  block.remove_prefix(Before(block, "\n").size());
  while (!block.empty()) {
    block.remove_prefix(1);
    const std::string_view line = Before(block, "\n");
    block.remove_prefix(line.size());
    if (line.starts_with(kEnd)) break;
    if (!divided && std::ranges::all_of(line, blank)) {
      divided = true;
      headers = data = false;
      continue;
    }
    headers = headers || (!divided && line.find(':') != line.npos);
    data = data || std::ranges::any_of(line, base64);
  }
  return data && !headers;
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
    if (!HasData(text)) return CVD_CSP_ERR_BAD_KEY;
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
  if (!ready) return CVD_CSP_ERR_MALLOC;
  return LoadDecrypted(cipher.get(), block.view(), key);
}

uint32_t LoadBlock(const PemBlock& block, const char* passphrase, CVD_PrivateKey* key) {
  EVP_CIPHER_INFO info;
  if (PEM_get_EVP_CIPHER_INFO(block.headers, &info) == 0) {
    const bool known = ERR_GET_REASON(ERR_peek_last_error()) != PEM_R_UNSUPPORTED_ENCRYPTION;
    return known ? CVD_CSP_ERR_BAD_KEY : CVD_CSP_ERR_UNSUPPORTED_KEY;
  }
  if (info.cipher == nullptr) return LoadDer(block.view(), passphrase, key);
  if (std::ranges::find(kCiphers, EVP_CIPHER_get_nid(info.cipher)) == std::end(kCiphers)) {
    return CVD_CSP_ERR_UNSUPPORTED_KEY;
  }
  if (passphrase == nullptr) return CVD_CSP_ERR_PASSPHRASE;
  return LoadEncryptedBlock(block, info, passphrase, key);
}

}  // namespace

uint32_t LoadEncrypted(Bytes content, const char* passphrase, CVD_PrivateKey* key) {
  const Bytes der = content;
  Algorithm algorithm;
  Bytes octets;
  if (!algorithm.Take(&content) || !TakeElement(&content, kTagOctetString, &octets)) {
    return CVD_CSP_ERR_BAD_KEY;
  }
  if (const uint32_t status = CheckScheme(algorithm); status != 0) return status;
  if (passphrase == nullptr) return CVD_CSP_ERR_PASSPHRASE;
  const uint8_t* at = der.data();
  const std::unique_ptr<X509_ALGOR, Freed<X509_ALGOR_free>> scheme(
      d2i_X509_ALGOR(nullptr, &at, static_cast<long>(der.size())));
  const ScopedCipher cipher(EVP_CIPHER_CTX_new());
  if (scheme == nullptr || cipher == nullptr ||
      EVP_PBE_CipherInit(scheme->algorithm, passphrase, static_cast<int>(std::strlen(passphrase)),
                         scheme->parameter, cipher.get(), 0) == 0) {
    return CVD_CSP_ERR_MALLOC;
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
