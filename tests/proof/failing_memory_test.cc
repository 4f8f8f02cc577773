// Every exported function with each of its allocations failing once: it tells the documented code,
// leaves its outputs as documented, keeps nothing, and does the same as ever when memory is there.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "proof/allocator.h"
#include "proof/operations.h"

namespace corvid::test {
namespace {

struct Outcome {
  uint32_t status;
  int events;
  int failed;  // events
  int kept;    // blocks after the results are released and the thread is gone
  bool untouched;
  std::string results;
};

// In a thread of its own, so that nothing is kept from earlier calls and all goes with the thread.
Outcome Perform(const Operation& operation, const Sample& sample, int failing, bool all_after) {
  Outcome outcome{};
  const int live = g_allocator.live;
  std::thread([&] {
    const auto results = std::make_unique<Results>();
    Clear(results.get());
    g_allocator.Begin(failing, all_after);
    outcome.status = operation.run(sample, results.get());
    outcome.events = g_allocator.events;
    outcome.failed = g_allocator.failed;
    g_allocator.End();
    outcome.untouched = AreClear(*results);
    outcome.results = Describe(*results);
    Release(results.get());
  }).join();
  outcome.kept = g_allocator.live - live;
  return outcome;
}

void ExpectDocumented(const Operation& operation, const Outcome& outcome, const Outcome& good,
                      std::set<uint32_t>* codes) {
  EXPECT_LE(outcome.kept, 0);
  if (outcome.status == 0) {
    EXPECT_TRUE(operation.after == After::kLess || outcome.results == good.results);
    return;
  }
  codes->insert(outcome.status);
  EXPECT_TRUE(operation.after != After::kUntouched || outcome.untouched);
}

void FailEachAllocation(const Operation& operation, const Sample& sample, const Outcome& good,
                        std::set<uint32_t>* codes) {
  const int live = g_allocator.live;
  for (const bool all_after : {false, true}) {
    for (int failing = 0; failing < good.events; ++failing) {
      const Outcome outcome = Perform(operation, sample, failing, all_after);
      if (outcome.failed == 0) continue;  // what was made at the first call is there
      SCOPED_TRACE(std::string(operation.function) + ", allocation " + std::to_string(failing) +
                   (all_after ? " and all after it" : ""));
      ExpectDocumented(operation, outcome, good, codes);
      if (outcome.kept < 0) Perform(operation, sample, -1, false);  // makes anew what went
    }
  }
  const Outcome again = Perform(operation, sample, -1, false);
  EXPECT_EQ(again.status, good.status) << operation.function;
  EXPECT_EQ(again.results, good.results) << operation.function;
  EXPECT_EQ(g_allocator.live, live) << operation.function;
}

TEST(FailingMemory, IsReportedAndLeavesNothingBehind) {
  const Options options("ko_KR-euc");
  const Sample rich(RichInputs());
  const Sample kcdsa(KcdsaInputs());
  for (const Operation& operation : Operations()) {
    bool allocates = false;
    std::set<uint32_t> codes;
    for (const Sample* sample : {&rich, &kcdsa}) {
      Perform(operation, *sample, -1, false);  // what a process makes once is there
      const Outcome good = Perform(operation, *sample, -1, false);
      EXPECT_TRUE(good.status == 0 || sample != &rich) << operation.function << good.status;
      if (good.status != 0) continue;
      allocates = allocates || good.events > 0;
      EXPECT_EQ(good.kept, 0) << operation.function;
      FailEachAllocation(operation, *sample, good, &codes);
    }
    EXPECT_EQ(allocates, operation.after != After::kNever) << operation.function;
    EXPECT_EQ(codes, std::set<uint32_t>(operation.codes.begin(), operation.codes.end()))
        << operation.function;
  }
}

TEST(FailingMemory, IsTriedWithEveryExportedFunction) {
  std::set<std::string> tried = {"CVD_malloc", "CVD_calloc", "CVD_realloc", "CVD_free"};
  for (const Operation& operation : Operations()) {
    std::istringstream functions(operation.function);
    for (std::string function; functions >> function;) tried.insert(function);
  }
  std::set<std::string> exported;
  for (const char* map :
       {"/services/asn/asn.map", "/services/codec/codec.map", "/services/common/common.map",
        "/services/crl/crl.map", "/services/csp/csp.map", "/services/io/io.map", "/pkc/pkc.map"}) {
    const Octets text = ReadFile(std::string(CORVID_SOURCE_DIR) + map);
    std::istringstream words(std::string(text.begin(), text.end()));
    for (std::string word; words >> word;) {
      if (word.size() > 2 && word.back() == ';') exported.insert(word.substr(0, word.size() - 1));
    }
  }
  for (const std::string& function : exported) {
    EXPECT_TRUE(tried.contains(function)) << function << " is in no row";
  }
  for (const std::string& function : tried) {
    EXPECT_TRUE(exported.contains(function)) << function << " is not exported";
  }
}

// Reading forgives an empty policyQualifiers at the end; memory that runs short is no such fault.
TEST(FailingMemory, IsNotRepaired) {
  const std::string uri = "http://" + std::string(2048, 'c');  // not decoded on the stack
  const Octets value = Sequence(
      {Sequence({Oid("1.2.3"), Sequence({Sequence({Oid("1.3.6.1.5.5.7.2.1"), Der(0x16, uri)}),
                                         Sequence({Oid("1.3.6.1.5.5.7.2.2"), Sequence({})})})})});
  const Input input(value);
  CVD_ExtensionNode node{};
  node.extension.extnID = *CVD_ASN_GetOID(CVD_OID_CERTIFICATE_POLICIES);
  node.extension.extnValue = *input.bin();
  int32_t count = 0;
  char texts[2][1024] = {};
  for (const int failing : {0, -1}) {
    g_allocator.Begin(failing, false);
    const uint32_t status = CVD_GetPolicy(nullptr, &node, &count, texts[0], texts[1]);
    g_allocator.End();
    EXPECT_EQ(status, failing == 0 ? uint32_t{PKC_ERR_BAD_POLICIES} : 0u);
  }
  EXPECT_NE(std::string(texts[1]).find("http://cc"), std::string::npos) << texts[1];
}

// OpenSSL makes what blinds an RSA key anew at every 32nd signature, and does not tell a failure.
TEST(FailingMemory, MakesNoWrongSignature) {
  const Sample sample(RichInputs());
  BIN key{0, nullptr};
  int32_t type = 0;
  ASSERT_EQ(CVD_CSP_GetPublicKey(sample.key, &type, nullptr, &key), 0u);
  CVD_PrivateKey* signer = nullptr;
  const auto sign = [&] {
    BIN signature{0, nullptr};
    const uint32_t status =
        CVD_CSP_ComputeMsgSignature(&signature, &sample.der, signer, sample.in.sign, nullptr);
    g_allocator.End();
    if (status == 0) {
      EXPECT_EQ(CVD_CSP_VerifyMsgSignature(&signature, &sample.der, &key, sample.in.sign, nullptr),
                0u);
    }
    CVD_BIN_Reset(&signature);
    return status;
  };
  for (const int before : {0, 32}) {
    for (int failing = 0, failed = 1; failed > 0; ++failing) {
      SCOPED_TRACE(failing);
      ASSERT_EQ(CVD_CSP_LoadPrivateKey(&signer, &sample.private_key, nullptr), 0u);
      for (int i = 0; i < before; ++i) EXPECT_EQ(sign(), 0u);
      g_allocator.Begin(failing, false);
      const uint32_t status = sign();
      EXPECT_TRUE(status == 0 || status == CVD_CSP_ERR_MALLOC) << status;
      failed = g_allocator.failed;
      EXPECT_EQ(sign(), 0u);
      CVD_CSP_FreePrivateKey(signer);
    }
  }
  CVD_BIN_Reset(&key);
}

}  // namespace
}  // namespace corvid::test
