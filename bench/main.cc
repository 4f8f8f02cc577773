// Runs the benchmarks in interleaved rounds and reports ratios of medians beside their budgets.
// Figures decide nothing here: the program's status does not depend on them.
#include <string_view>

#include "bench/report.h"

int main(int argc, char** argv) {
  // Rounds of all rows in random order; options on the command line come later and win.
  std::vector<std::string> options = {argv[0], "--benchmark_enable_random_interleaving=true",
                                      "--benchmark_repetitions=15", "--benchmark_min_time=0.02"};
  constexpr std::string_view kFigures = "--figures=";
  std::string path;
  for (int i = 1; i < argc; ++i) {
    const std::string_view option = argv[i];
    if (option.starts_with(kFigures)) {
      path = option.substr(kFigures.size());
    } else {
      options.emplace_back(option);
    }
  }
  std::vector<char*> pointers;
  for (std::string& option : options) pointers.push_back(option.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 2;
  corvid::bench::Report report(path);
  if (benchmark::GetBenchmarkFilter().empty()) {
    // Rows of two threads stand by themselves: among others a second core sleeps, and wakes late.
    benchmark::RunSpecifiedBenchmarks(&report, "^threads/");
    benchmark::RunSpecifiedBenchmarks(&report, "-^threads/");
  } else {
    benchmark::RunSpecifiedBenchmarks(&report);
  }
  report.Show();
  return 0;
}
