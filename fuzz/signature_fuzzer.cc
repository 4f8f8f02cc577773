// Verifying. Input: the algorithm, three lengths, then key, parameters, signature and data.
// Contract: the answer is the same when the key was just used (keys stay prepared), a key that
// verifies has a length, other data does not verify, and 6012 is for well-formed signatures alone.
#include "fuzz/input.h"

using corvid::fuzz::Require;
using corvid::pkc::Octets;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
#define ALGORITHM(number, ...) number,
  constexpr int32_t kSignIds[] = {CVD_SIGN_ALGORITHMS(ALGORITHM)};
#undef ALGORITHM
  corvid::fuzz::Input input(data, size);
  const int32_t sign_id = kSignIds[input.Below(std::size(kSignIds))];
  constexpr uint32_t kLongest = 600;  // octets: larger numbers cost time and no code
  const size_t key_length = input.Below(kLongest);
  const size_t parameters_length = input.Below(2 * kLongest);
  const size_t signature_length = input.Below(kLongest);
  const BIN key = input.Take(key_length).bin();
  const BIN parameters = input.Take(parameters_length).bin();
  const BIN signature = input.Take(signature_length).bin();
  std::string text(input.Rest().text());
  const CVD_AlgorithmParameters domain{&parameters, {nullptr, nullptr}};
  const auto verify = [&] {
    const BIN signed_data = Octets(text).bin();
    return CVD_CSP_VerifyMsgSignature(&signature, &signed_data, &key, sign_id, &domain);
  };
  const uint32_t status = verify();
  Require(verify() == status, "a prepared key answers the same");
  const int32_t pkey_id = CVD_PKC_SignID_To_PkeyID(static_cast<uint32_t>(sign_id));
  uint32_t bits = 0;
  if (status != 0 && status != CVD_CSP_ERR_VERIFY) return 0;
  Require(CVD_CSP_GetKeyLength(&bits, &key, pkey_id, &parameters) == 0 && bits > 0,
          "a key that is used has a length");
  if (status != 0) return 0;
  text += '\x01';
  Require(verify() == CVD_CSP_ERR_VERIFY, "other data does not verify");
  return 0;
}
