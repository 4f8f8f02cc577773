// Gathers the figures of all rounds; shows them as tables, and writes them to a file.
#ifndef CORVID_BENCH_REPORT_H_
#define CORVID_BENCH_REPORT_H_

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace corvid::bench {

struct Figure {
  std::vector<double> times = {};  // nanoseconds, one a round
  double allocations = 0;
  double refused = 0;       // of a collection
  double certificates = 0;  // of which that was

  double Median() const;
  double Best() const;
};

class Report : public benchmark::ConsoleReporter {
 public:
  // An empty path: no file.
  explicit Report(std::string path) : path_(std::move(path)) {}

  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override {}
  void Show() const;  // of all runs

 private:
  const Figure* Find(const std::string& name) const;
  double Ratio(const std::string& name, const std::string& reference) const;  // 0: not measured
  double Gain(const std::string& work) const;                                 // of two threads
  void ShowRatios() const;
  void ShowAllocations() const;
  void ShowBudgets() const;
  void ShowGrowth() const;
  void ShowThreads() const;
  void ShowRefusals() const;
  void WriteFigures() const;

  std::string path_;
  std::map<std::string, Figure> figures_;
};

}  // namespace corvid::bench

#endif  // CORVID_BENCH_REPORT_H_
