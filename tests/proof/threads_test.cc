// Eight threads in every function at once, on the same records, while others read the options: each
// finds what one thread alone finds. The thread sanitizer watches.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
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

// What a thread keeps is gone when the destructors of its earlier objects run; functions work
// there.
TEST(Threads, FindTheSameWhileTheThreadEnds) {
  static const Sample rich(RichInputs());
  static const Found before = RunAll(rich, 0);
  static bool same = false;
  struct Last {
    ~Last() { same = RunAll(rich, 0) == before && RunAll(rich, 0) == before; }
  };
  std::thread([] {
    thread_local const Last last;
    static_cast<void>(&last);
    static_cast<void>(RunAll(rich, 0));
  }).join();
  EXPECT_TRUE(same);
}

// The C library takes the zone's name away for a moment while another thread asks it for a time.
TEST(Threads, TellUtcWhileOthersAskForLocalTime) {
  setenv("TZ", "UTC", 1);  // a zone of a file
  tzset();
  const Certificate decoded(MakeCertificate({}));
  std::vector<std::thread> threads;
  for (const int month : {1, 13, 1, 13}) {  // none is told without asking for the thirteenth
    threads.emplace_back([&, month] {
      CVD_Certificate certificate = *decoded.get();
      certificate.tbsCertificate.notBefore.fields.month = static_cast<int16_t>(month);
      const auto info = std::make_unique<PKCCertInfo>();
      for (int i = 0; i < 100'000; ++i) {
        ASSERT_EQ(CVD_ExtractCertInfoNoExt(nullptr, &certificate, info.get()), 0u);
        ASSERT_STREQ(info->notBefore, month == 1 ? "2026-01-01 00:00:00" : "2027-01-01 00:00:00");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace corvid::test
