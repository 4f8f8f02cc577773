// Every exported function with each element of its input spoiled: it says what is wrong with the
// input and nothing else, and writes no result that it does not vouch for.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "proof/operations.h"
#include "support/spoiled.h"

namespace corvid::test {
namespace {

const std::set<uint32_t> kNeverSaid = {
    PKC_ERR_MALLOC,     CVD_ASN_ERR_MALLOC, CVD_CODEC_ERR_MALLOC, CVD_CSP_ERR_MALLOC,
    CVD_CRL_ERR_MALLOC, CVD_IO_ERR_MALLOC,  CVD_CSP_ERR_INTERNAL};

void RunAll(const Inputs& in, const std::string& what) {
  const Sample sample(in);
  const auto results = std::make_unique<Results>();
  for (const Operation& operation : Operations()) {
    Clear(results.get());
    const uint32_t status = operation.run(sample, results.get());
    EXPECT_FALSE(kNeverSaid.contains(status)) << operation.function << what;
    EXPECT_TRUE(status == 0 || operation.after != After::kUntouched || AreClear(*results))
        << operation.function << ' ' << status << what;
    Release(results.get());
  }
}

TEST(SpoiledInputs, AreRefusedWithoutResults) {
  const Options options("ko_KR-UTF-8");
  const Inputs rich = RichInputs(false);
  for (Octets Inputs::*field :
       {&Inputs::certificate, &Inputs::list, &Inputs::subject_key_id, &Inputs::authority_key_id,
        &Inputs::identity_data, &Inputs::rsa_key, &Inputs::kcdsa_parameters}) {
    Inputs in;
    for (const Octets& variant : Spoiled(rich.*field)) {
      in.*field = variant;
      RunAll(in, ", " + ToHex(variant));
    }
  }
}

}  // namespace
}  // namespace corvid::test
