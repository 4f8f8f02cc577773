// What an input can make the library take: whatever its 64 KiB hold, no exported function has more
// than 2.5 MiB at a time, and none compares names again and again. Times above a millisecond are
// told and decide nothing.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

#include "proof/allocator.h"
#include "proof/shapes.h"

// RDNs that were compared, at most.
static size_t g_compared;
int32_t CVD_ASN_CmpName(const CVD_Name* a, const CVD_Name* b) {
  static auto* const hidden = reinterpret_cast<int32_t (*)(const CVD_Name*, const CVD_Name*)>(
      dlsym(RTLD_NEXT, "CVD_ASN_CmpName"));
  for (auto* rdn = a == nullptr ? nullptr : a->rdnSequence; rdn != nullptr; rdn = rdn->next) {
    ++g_compared;
  }
  return hidden(a, b);
}

namespace corvid::test {
namespace {

constexpr size_t kComparisons = 200'000;  // of RDNs
constexpr size_t kInput = 64 * 1024;
constexpr size_t kMemory = 5 * 512 * 1024;

// Milliseconds of this thread alone: other programs are busy too.
double Now() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

TEST(Bounds, NoFunctionTakesMoreThanItsInputIsWorth) {
  const Options options("ko_KR-euc");
  const auto results = std::make_unique<Results>();
  for (const Shape& shape : Shapes()) {
    const Sample sample(Largest(shape, kInput));
    EXPECT_TRUE(sample.certificate != nullptr || sample.in.certificate.empty()) << shape.name;
    EXPECT_TRUE(sample.crl != nullptr || sample.in.list.empty()) << shape.name;
    size_t most = 0;
    for (const Operation& operation : Operations()) {
      Clear(results.get());
      g_compared = 0;
      g_allocator.Begin();
      const double begin = Now();
      static_cast<void>(operation.run(sample, results.get()));
      const double took = Now() - begin;
      g_allocator.End();
      Release(results.get());
      EXPECT_LE(g_allocator.peak, kMemory) << operation.function << ", " << shape.name;
      EXPECT_LE(g_compared, kComparisons) << operation.function << ", " << shape.name;
      most = std::max(most, g_allocator.peak);
      if (took > 1) std::printf("   %8.3f ms  %s\n", took, operation.function);
    }
    std::printf("%-30s %8zu KiB\n", shape.name, most / 1024);
  }
}

}  // namespace
}  // namespace corvid::test
