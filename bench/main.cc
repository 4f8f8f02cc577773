// Runs the benchmarks in interleaved rounds and reports ratios of medians beside their budgets.
// Figures decide nothing here: the program's status does not depend on them.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

#include "bench/bench.h"

namespace corvid::bench {
namespace {

struct Figure {
  std::vector<double> times;  // nanoseconds, one a round
  double allocations = 0;

  double Median() const {
    std::vector<double> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
  }
};

class Report : public benchmark::ConsoleReporter {
 public:
  bool ReportContext(const Context& context) override {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
  }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      std::string name = run.run_name.function_name;
      if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
      Figure& figure = figures_[name];
      figure.times.push_back(run.GetAdjustedRealTime());
      figure.allocations = run.counters.at("allocations");
    }
  }
  void Finalize() override {
    std::printf("%-40s %12s %12s\n", "work", "median ns", "allocations");
    for (const auto& [name, figure] : figures_) {
      std::printf("%-40s %12.0f %12.0f\n", name.c_str(), figure.Median(), figure.allocations);
    }
    std::printf("\n%-40s %8s %8s %12s\n", "ratio of medians", "ratio", "budget", "allocations");
    for (const Budget& row : kBudgets) ShowBudget(row);
    std::printf("\n%-40s %8s %8s\n", "growth from 1,000 to 10,000", "exponent", "budget");
    for (const Growth& row : kGrowths) ShowGrowth(row);
    std::printf("\n%-40s %8s %8s %8s\n", "two threads against one", "gain", "of floor", "budget");
    for (const Scaling& row : kScalings) ShowScaling(row);
  }

 private:
  const Figure* Find(const char* name) const {
    const auto figure = figures_.find(name);
    return figure == figures_.end() ? nullptr : &figure->second;
  }
  void ShowBudget(const Budget& row) const {
    const Figure* ours = Find(row.ours);
    const Figure* reference = Find(row.reference);
    if (ours == nullptr || reference == nullptr) return;
    std::printf("%-40s %8.3f", row.work, ours->Median() / reference->Median());
    if (row.most > 0) std::printf(" %8.2f", row.most);
    if (row.allocations > 0) {
      std::printf(" %6.0f of %2d", ours->allocations, row.allocations);
    }
    std::printf("\n");
  }
  void ShowGrowth(const Growth& row) const {
    const Figure* few = Find(row.few);
    const Figure* many = Find(row.many);
    if (few == nullptr || many == nullptr) return;
    std::printf("%-40s %8.3f %8.2f\n", row.work, std::log10(many->Median() / few->Median()),
                row.most);
  }

  double Gain(const std::string& work) const {
    const Figure* one = Find(("threads/1/" + work).c_str());
    const Figure* two = Find(("threads/2/" + work).c_str());
    return one == nullptr || two == nullptr ? 0 : one->Median() / two->Median();
  }
  void ShowScaling(const Scaling& row) const {
    const double gain = Gain(row.ours);
    if (gain == 0) return;
    std::printf("%-40s %8.2f %8.2f %8.2f\n", row.work, gain, gain / Gain("floor"), row.least);
  }

  std::map<std::string, Figure> figures_;
};

}  // namespace
}  // namespace corvid::bench

int main(int argc, char** argv) {
  // Rounds of all rows in random order; options on the command line come later and win.
  std::vector<std::string> options = {argv[0], "--benchmark_enable_random_interleaving=true",
                                      "--benchmark_repetitions=15", "--benchmark_min_time=0.02"};
  options.insert(options.end(), argv + 1, argv + argc);
  std::vector<char*> pointers;
  for (std::string& option : options) pointers.push_back(option.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 2;
  corvid::bench::Report report;
  benchmark::RunSpecifiedBenchmarks(&report);
  return 0;
}
