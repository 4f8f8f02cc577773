// Private keys and signing: keys in every form that the openssl command writes, keys and files that
// must not be taken, signatures checked by the library and by the command, memory that runs short.
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "corvid/csp.h"
#include "support/support.h"

namespace {
thread_local int g_until_failure = -1;  // of the thread's blocks; 0 once one was not given
thread_local int g_live = 0;            // blocks of the toolkit
bool Fails() { return g_until_failure > 0 && --g_until_failure == 0; }
const int g_replaced = CRYPTO_set_mem_functions(
    [](size_t size, const char*, int) { return Fails() ? nullptr : std::malloc(size); },
    [](void* block, size_t size, const char*, int) {
      return Fails() ? nullptr : std::realloc(block, size);
    },
    [](void* block, const char*, int) { std::free(block); });
void* Given(void* block) { return ++g_live, block; }
}  // namespace

// The allocator of the toolkit in this program.
void* CVD_malloc(size_t size) { return Fails() ? nullptr : Given(std::malloc(size)); }
void* CVD_calloc(size_t count, size_t size) {
  return Fails() ? nullptr : Given(std::calloc(count, size));
}
void CVD_free(void* block) {
  if (block != nullptr) --g_live;
  std::free(block);
}

namespace corvid::test {
namespace {

constexpr const char* kScript = R"(
set -e; exec 2> log
openssl dsaparam -out group.pem 1024
key() { openssl pkcs8 -topk8 -in rsa.pem -passout pass:'pass word' "$@"; }
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -out rsa.pem
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:512 -outform DER -out short.der
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:1024 -pkeyopt rsa_keygen_primes:3 \
  -outform DER -out primes.der
openssl rsa -in rsa.pem -traditional -out rsa1.pem
openssl rsa -in rsa.pem -traditional -outform DER -out rsa1.der
openssl rsa -in rsa.pem -traditional -aes128 -passout pass:'pass word' -out rsa1-aes.pem
openssl rsa -in rsa.pem -traditional -des3 -passout pass:'pass word' -out rsa1-des3.pem
openssl rsa -in rsa.pem -traditional -des -passout pass:'pass word' \
  -provider legacy -provider default -out rsa1-des.pem
key -out pbes2.pem
key -v2 des3 -v2prf hmacWithSHA512 -iter 10 -outform DER -out pbes2.der
key -scrypt -outform DER -out scrypt.der
key -v1 PBE-SHA1-3DES -outform DER -out pbes1.der
key -v1 PBE-MD5-DES -provider legacy -provider default -outform DER -out pbes1-des.der
openssl pkcs8 -topk8 -in rsa.pem -passout pass: -out empty.pem
openssl genpkey -paramfile group.pem -out dsa.pem
openssl pkey -in dsa.pem -outform DER -out dsa.der
openssl pkey -in dsa.pem -traditional -outform DER -out dsa1.der
openssl pkey -in dsa.pem -traditional -aes256 -passout pass:'pass word' -out dsa1.pem
openssl pkey -in rsa.pem -pubout -out public.pem
openssl pkey -in dsa.pem -pubout -outform DER -out public.der
openssl rsa -in rsa.pem -RSAPublicKey_out -outform DER -out public1.der
openssl req -new -key rsa.pem -subj /CN=A -outform DER -out request.der
openssl req -x509 -key rsa.pem -subj /CN=A -out certificate.pem
openssl pkcs12 -export -inkey rsa.pem -in certificate.pem -passout pass: -out pkcs12.der
openssl ecparam -name prime256v1 -genkey -out ec.pem
openssl pkey -in ec.pem -outform DER -out ec.der
openssl ec -in ec.pem -outform DER -out ec1.der
openssl genpkey -algorithm ED25519 -outform DER -out ed25519.der
openssl genpkey -algorithm DH -pkeyopt group:ffdhe2048 -outform DER -out dh.der
openssl genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:1024 -outform DER -out pss.der
)";

class Folder {
 public:
  Folder() {
    char path[] = "/tmp/corvid-XXXXXX";
    path_ = mkdtemp(path);
    EXPECT_TRUE(Run(kScript)) << "see " << path_;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    if (!testing::Test::HasFailure()) std::filesystem::remove_all(path_);
  }
  bool Run(const std::string& script) const {
    return std::system(("cd " + path_.string() + "\n" + script).c_str()) == 0;
  }
  Octets Read(const char* name) const { return ReadFile(path_ / name); }
  void Write(const char* name, const Octets& octets) const {
    std::ofstream(path_ / name)
        .write(reinterpret_cast<const char*>(octets.data()),
               static_cast<std::streamsize>(octets.size()));
  }

 private:
  std::filesystem::path path_;
};

const Folder& Files() {
  static const Folder folder;
  return folder;
}

struct Loaded {
  explicit Loaded(const Octets& encoding, const char* passphrase = nullptr) {
    const Input input(encoding);
    key = reinterpret_cast<CVD_PrivateKey*>(this);
    status = CVD_CSP_LoadPrivateKey(&key, input.bin(), passphrase);
    EXPECT_EQ(key == nullptr, status != 0);
    EXPECT_EQ(ERR_peek_error(), 0u);
  }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;
  ~Loaded() { CVD_CSP_FreePrivateKey(key); }

  CVD_PrivateKey* key;
  uint32_t status;
};

const Octets kData = OctetsOf(std::string_view("message"));

// Signs and lets the library verify with the key's public half; the status is that of signing.
uint32_t Sign(CVD_PrivateKey* key, int32_t signID, Octets* value = nullptr) {
  const Input data(kData);
  Output signature;
  const uint32_t status = CVD_CSP_ComputeMsgSignature(&signature, data.bin(), key, signID, nullptr);
  if (status != 0) return status;
  int32_t pkeyID = 0;
  Output parameters;
  Output public_key;
  EXPECT_EQ(CVD_CSP_GetPublicKey(key, &pkeyID, &parameters, &public_key), 0u);
  const CVD_AlgorithmParameters in{&parameters, {}};
  EXPECT_EQ(CVD_CSP_VerifyMsgSignature(&signature, data.bin(), &public_key, signID, &in), 0u);
  if (value != nullptr) *value = signature.octets();
  return 0;
}

Octets PublicKey(CVD_PrivateKey* key) {
  int32_t pkeyID = 0;
  Output value;
  EXPECT_EQ(CVD_CSP_GetPublicKey(key, &pkeyID, nullptr, &value), 0u);
  return value.octets();
}

// ---- what loads ----------------------------------------------------------------------------

TEST(PrivateKey, LoadsInEveryFormAndSignsInManyThreads) {
  constexpr const char* kSecret = "pass word";
  const struct {
    const char* file;
    const char* passphrase;
    int32_t signID = CVD_SIGN_SHA256_RSA;
  } rows[] = {
      {"rsa.pem", nullptr},
      {"rsa.pem", "needless"},
      {"rsa1.pem", nullptr},
      {"rsa1.der", nullptr},
      {"rsa1-aes.pem", kSecret},
      {"rsa1-des3.pem", kSecret},
      {"pbes2.pem", kSecret},
      {"pbes2.der", kSecret},
      {"scrypt.der", kSecret},
      {"pbes1.der", kSecret},
      {"empty.pem", ""},
      {"dsa.pem", nullptr, CVD_SIGN_SHA1_DSA},
      {"dsa.der", nullptr, CVD_SIGN_SHA1_DSA},
      {"dsa1.der", nullptr, CVD_SIGN_SHA1_DSA},
      {"dsa1.pem", kSecret, CVD_SIGN_SHA1_DSA},
  };
  const Octets rsa = PublicKey(Loaded(Files().Read("rsa.pem")).key);
  const Octets dsa = PublicKey(Loaded(Files().Read("dsa.pem")).key);
  EXPECT_EQ(rsa, Files().Read("public1.der"));
  for (const auto& row : rows) {
    const Loaded loaded(Files().Read(row.file), row.passphrase);
    ASSERT_EQ(loaded.status, 0u) << row.file;
    EXPECT_EQ(PublicKey(loaded.key), row.signID == CVD_SIGN_SHA1_DSA ? dsa : rsa) << row.file;
    const auto sign = [&] {
      for (int i = 0; i < 4; ++i) EXPECT_EQ(Sign(loaded.key, row.signID), 0u) << row.file;
    };
    std::thread threads[4];
    for (std::thread& thread : threads) thread = std::thread(sign);
    for (std::thread& thread : threads) thread.join();
  }
}

TEST(Sign, SignsWithEachAlgorithmOfTheKeyAndNoOther) {
  const Loaded rsa(Files().Read("rsa.pem"));
  const Loaded dsa(Files().Read("dsa.pem"));
  const Loaded short_rsa(Files().Read("short.der"));
  constexpr uint32_t kBadKey = CVD_CSP_ERR_BAD_KEY;
  constexpr uint32_t kUnknown = CVD_CSP_ERR_UNKNOWN_SIGNID;
  for (int32_t signID = CVD_SIGN_MD2_RSA; signID <= CVD_SIGN_SHA512_RSA; ++signID) {
    EXPECT_EQ(Sign(rsa.key, signID), 0u) << signID;
    EXPECT_EQ(Sign(dsa.key, signID), kBadKey) << signID;
  }
  EXPECT_EQ(Sign(rsa.key, CVD_SIGN_SHA1_DSA), kBadKey);
  EXPECT_EQ(Sign(short_rsa.key, CVD_SIGN_SHA256_RSA), 0u);
  EXPECT_EQ(Sign(short_rsa.key, CVD_SIGN_SHA384_RSA), kBadKey) << "63 octets and 11";
  for (const int32_t signID : {0, 7, -1, int32_t{CVD_SIGN_SHA256_KCDSA}}) {
    EXPECT_EQ(Sign(rsa.key, signID), kUnknown) << signID;
  }
  Octets value;
  ASSERT_EQ(Sign(rsa.key, CVD_SIGN_SHA256_RSA, &value), 0u);
  Files().Write("data", kData);
  Files().Write("rsa.sig", value);
  ASSERT_EQ(Sign(dsa.key, CVD_SIGN_SHA1_DSA, &value), 0u);
  Files().Write("dsa.sig", value);
  EXPECT_TRUE(Files().Run("openssl dgst -sha256 -verify public.pem -signature rsa.sig data > log"));
  EXPECT_TRUE(Files().Run(
      "openssl dgst -sha1 -verify public.der -keyform DER -signature dsa.sig data > log"));
}

}  // namespace
}  // namespace corvid::test
