// How the time of every exported function grows with its input: 1 to 10,000 elements of each shape,
// and as many as 64 KiB hold. Only this thread's time counts, and the best of a few runs.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <memory>

#include "proof/shapes.h"

namespace corvid::test {
namespace {

constexpr double kMostMilliseconds = 5;  // with 64 KiB
constexpr double kMostExponent = 1.05;   // from 1,000 elements to 10,000
constexpr double kMeasurable = 0.03;     // milliseconds: below it the clock decides

double Now() {  // milliseconds
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double Measure(const Operation& operation, const Sample& sample) {
  static const auto results = std::make_unique<Results>();
  double best = HUGE_VAL;
  for (int run = 0; run < 5; ++run) {
    Clear(results.get());
    const double begin = Now();
    static_cast<void>(operation.run(sample, results.get()));
    Release(results.get());
    best = std::min(best, Now() - begin);
  }
  return best;
}

struct Worst {
  double value = 0;
  const char* function = "";

  void Meet(double other, const Operation& operation) {
    if (other > value) *this = {other, operation.function};
  }
  void Print(const char* format, double most) const {
    std::printf(format, value, value > most ? '!' : ' ', function);
  }
};

Worst Slowest(const Shape& shape) {
  Worst slowest;
  const Sample sample(Largest(shape, 64 * 1024));
  for (const Operation& operation : Operations()) {
    slowest.Meet(Measure(operation, sample), operation);
  }
  return slowest;
}

// The steepest function, by the worst of three looks at each: a single one may be disturbed.
Worst Steepest(const Shape& shape) {
  Worst steepest;
  const Sample few(shape.make(1'000));
  const Sample many(shape.make(10'000));
  for (const Operation& operation : Operations()) {
    double exponent = HUGE_VAL;
    for (int look = 0; look < 3 && exponent > kMostExponent; ++look) {
      const double time = Measure(operation, many);
      if (time < kMeasurable) exponent = 0;
      exponent = std::min(exponent, std::log10(time / Measure(operation, few)));
    }
    steepest.Meet(exponent, operation);
  }
  return steepest;
}

void Lines(const Shape& shape) {
  for (size_t count = 1; count <= 10'000; count *= 10) {
    const Sample sample(shape.make(count));
    double all = 0;
    for (const Operation& operation : Operations()) all += Measure(operation, sample);
    std::printf(" %9.3f", all);
  }
}

}  // namespace
}  // namespace corvid::test

int main() {
  using namespace corvid::test;
  const Options options("ko_KR-euc");
  std::printf("%-31s %49s  64 KiB: the slowest function\n", "all functions, in milliseconds",
              "1        10       100     1,000    10,000");
  for (const Shape& shape : Shapes()) {
    std::printf("%-31s", shape.name);
    Lines(shape);
    Slowest(shape).Print("  %7.3f ms%c %s\n", kMostMilliseconds);
  }
  std::printf("\n%-31s %s\n", "from 1,000 to 10,000", "the largest exponent");
  for (const Shape& shape : Shapes()) {
    std::printf("%-31s", shape.name);
    Steepest(shape).Print(" %5.2f%c %s\n", kMostExponent);
  }
  return 0;
}
