// Eight threads in every function at once, on the same records, while others read the options: each
// finds what one thread alone finds. The thread sanitizer watches.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "proof/operations.h"

namespace corvid::test {
namespace {

using Found = std::vector<std::pair<uint32_t, std::string>>;  // a status and results each

Found RunAll(const Sample& sample, size_t first) {
  const std::span<const Operation> operations = Operations();
  const auto results = std::make_unique<Results>();
  Found found(operations.size());
  for (size_t i = 0; i < operations.size(); ++i) {
    const size_t at = (first + i) % operations.size();
    Clear(results.get());
    const uint32_t status = operations[at].run(sample, results.get());
    found[at] = {status, Describe(*results)};
    Release(results.get());
  }
  return found;
}

TEST(Threads, FindTheSameInEveryFunctionAtOnce) {
  const Options options("ko_KR-euc");
  constexpr size_t kThreads = 8;
  constexpr int kRounds = 3;
  const Sample rich(RichInputs());
  const Sample kcdsa(KcdsaInputs());
  for (const Sample* sample : {&rich, &kcdsa}) {
    const Found alone = RunAll(*sample, 0);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {  // each begins elsewhere in the table
        for (int round = 0; round < kRounds; ++round) {
          EXPECT_TRUE(RunAll(*sample, i * alone.size() / kThreads) == alone);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
}

}  // namespace
}  // namespace corvid::test
