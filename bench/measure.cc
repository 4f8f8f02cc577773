#include "bench/bench.h"

namespace corvid::bench {

void Measure(benchmark::State& state, const Work& work) {
  Check(work());  // what is kept between calls is there
  const size_t before = Allocations();
  Check(work());
  state.counters["allocations"] = static_cast<double>(Allocations() - before);
  for (auto _ : state) Check(work());
}

benchmark::internal::Benchmark* Register(const std::string& name, std::function<Work()> prepare) {
  return benchmark::RegisterBenchmark(
      name.c_str(),
      [prepare = std::move(prepare)](benchmark::State& state) { Measure(state, prepare()); });
}

}  // namespace corvid::bench
