// A private key. Input: the choice of a passphrase, then DER or PEM. Contract: a key that loads has
// a public half with a length, what it signs verifies with that, and it loads again; a failure
// leaves no key and has a code of the service. Iteration counts are bounded lower here than in the
// library, so that no input takes long.
#include <dlfcn.h>
#include <openssl/asn1.h>

#include "fuzz/input.h"

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Bin;
using corvid::pkc::Octets;
using corvid::pkc::PrivateKey;

constexpr int64_t kMostWork = 64;

// The definition that the one in this program hides.
template <typename Function>
Function* Hidden(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void CheckSignature(const PrivateKey& key, int32_t pkey_id, const BIN& public_key,
                    const BIN& parameters) {
  const int32_t sign_id = pkey_id == CVD_PKEY_RSA ? CVD_SIGN_SHA1_RSA : CVD_SIGN_SHA1_DSA;
  const BIN data = Octets(std::string_view("signed")).bin();
  Bin signature;
  Require(CVD_CSP_ComputeMsgSignature(signature.out(), &data, key.get(), sign_id, nullptr) == 0,
          "a key that loads signs");
  const CVD_AlgorithmParameters domain{&parameters, {nullptr, nullptr}};
  Require(CVD_CSP_VerifyMsgSignature(&signature.get(), &data, &public_key, sign_id, &domain) == 0,
          "what a key signs verifies");
}

}  // namespace

int ASN1_INTEGER_get_int64(int64_t* pr, const ASN1_INTEGER* a) {
  static auto* const hidden = Hidden<int(int64_t*, const ASN1_INTEGER*)>("ASN1_INTEGER_get_int64");
  const int done = hidden(pr, a);
  if (done != 0 && *pr > kMostWork) *pr = INT64_MAX;
  return done;
}

int ASN1_INTEGER_get_uint64(uint64_t* pr, const ASN1_INTEGER* a) {
  static auto* const hidden =
      Hidden<int(uint64_t*, const ASN1_INTEGER*)>("ASN1_INTEGER_get_uint64");
  const int done = hidden(pr, a);
  if (done != 0 && *pr > uint64_t{kMostWork}) *pr = UINT64_MAX;
  return done;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr const char* kPassphrases[] = {nullptr, "corvid", ""};
  corvid::fuzz::Input input(data, size);
  const char* passphrase = kPassphrases[input.Below(std::size(kPassphrases))];
  const BIN encoding = input.Rest().bin();
  CVD_PrivateKey* loaded = reinterpret_cast<CVD_PrivateKey*>(&input);
  const uint32_t status = CVD_CSP_LoadPrivateKey(&loaded, &encoding, passphrase);
  if (status != 0) {
    Require(loaded == nullptr, "a failure leaves no key");
    Require(*CVD_CSP_GetErrorReason(status, 0) != '\0', "a failure has a code of the service");
    return 0;
  }
  CVD_CSP_FreePrivateKey(loaded);
  PrivateKey key;
  Require(key.Load(encoding, passphrase).ok(), "a key loads again");
  int32_t pkey_id = 0;
  Bin parameters;
  Bin public_key;
  Require(CVD_CSP_GetPublicKey(key.get(), &pkey_id, parameters.out(), public_key.out()) == 0,
          "a key has a public half");
  uint32_t bits = 0;
  Require(
      CVD_CSP_GetKeyLength(&bits, &public_key.get(), pkey_id, &parameters.get()) == 0 && bits > 0,
      "which has a length");
  CheckSignature(key, pkey_id, public_key.get(), parameters.get());
  return 0;
}
