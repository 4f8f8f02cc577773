#include "bench/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace corvid::bench {
namespace {

// The columns of a table.
struct Library {
  const char* name;
  const char* title;
};
constexpr Library kLibraries[] = {{"corvid", "Corvid"},
                                  {"openssl", "OpenSSL"},
                                  {"mbedtls", "Mbed TLS"},
                                  {"gnutls", "GnuTLS"},
                                  {"botan", "Botan"}};

// A row of libraries side by side, each as a ratio to what nobody can avoid.
struct WorkRow {
  const char* work;
  const char* title;
  const char* floor;
};
constexpr WorkRow kWorks[] = {
    {"decode", "decode and release", "floor"},
    {"record", "fullest record or report", "floor"},
    {"subject", "subject to text", "floor"},
    {"roots/decode", "Debian's roots, decode", "roots/decode/floor"},
    {"roots/record", "Debian's roots, record", "roots/record/floor"},
    {"corpus/decode", "odd certificates, decode", "corpus/decode/floor"},
    {"corpus/record", "odd certificates, record", "corpus/record/floor"},
    {"verify2048", "signature, RSA-2048", "verify2048/bare"},
    {"verify4096", "signature, RSA-4096", "verify4096/bare"},
    {"issue2048", "issuing, RSA-2048", "issue2048/bare"},
    {"issue4096", "issuing, RSA-4096", "issue4096/bare"},
};

struct BudgetRow {
  const char* title;
  const char* ours;
  const char* reference;
  double most;      // the ratio allowed; 0: shown only
  int allocations;  // allowed a call; 0: not counted
};
constexpr BudgetRow kBudgets[] = {
    {"decode and release / floor", "decode/corvid", "floor", 0.30, 1},
    {"record / floor", "record/corvid", "floor", 2.0, 14},
    {"subject to text / OpenSSL, one line", "subject/corvid", "subject/openssl", 0.60, 1},
    {"subject to text / OpenSSL, RFC 2253", "subject/corvid", "subject/openssl_rfc2253", 0, 0},
    {"signature, RSA-2048 / bare", "verify2048/corvid", "verify2048/bare", 1.10, 0},
    {"another issuer each time", "verify2048/corvid_other_issuer", "verify2048/bare", 1.50, 0},
    {"signature, RSA-4096 / bare", "verify4096/corvid", "verify4096/bare", 1.04, 0},
    {"another issuer each time", "verify4096/corvid_other_issuer", "verify4096/bare", 1.25, 0},
    {"issuing, RSA-2048 / bare", "issue2048/corvid", "issue2048/bare", 1.03, 0},
    {"OpenSSL, template ready", "issue2048/openssl_template", "issue2048/bare", 0, 0},
    {"issuing, RSA-4096 / bare", "issue4096/corvid", "issue4096/bare", 1.03, 0},
    {"OpenSSL, template ready", "issue4096/openssl_template", "issue4096/bare", 0, 0},
};

struct ThreadsRow {
  const char* work;
  const char* title;
  double least;  // of what the floor gains
};
constexpr ThreadsRow kThreads[] = {{"decode", "decode and release", 0.97},
                                   {"record", "fullest record or report", 0.93}};

struct GrowthRow {
  const char* work;
  const char* title;
};
constexpr GrowthRow kGrowths[] = {
    {"decode_rdns", "decode, RDNs"},
    {"decode_names", "decode, alternative names"},
    {"decode_policies", "decode, policies"},
    {"decode_extensions", "decode, extensions"},
    {"record_rdns", "record, RDNs"},
    {"record_names", "record, alternative names"},
    {"record_policies", "record, policies"},
    {"record_extensions", "record, extensions"},
    {"crl_load", "revocation list, load"},
    {"crl_lookup", "revocation list, look up"},
    {"chain", "chain, candidates of the name"},
};
constexpr double kMostExponent = 1.05;

// ---- tables in Markdown --------------------------------------------------------------------

constexpr int kTitle = 36;

void Head(const char* title, const std::vector<std::string>& columns) {
  std::printf("\n| %-*s |", kTitle, title);
  for (const std::string& column : columns) std::printf(" %9s |", column.c_str());
  std::printf("\n|%s|", std::string(kTitle + 2, '-').c_str());
  for (size_t i = 0; i < columns.size(); ++i) std::printf("----------:|");
  std::printf("\n");
}

void HeadOfLibraries(const char* title) {
  std::vector<std::string> columns;
  for (const Library& library : kLibraries) columns.emplace_back(library.title);
  Head(title, columns);
}

// A row's cells; what was not measured is left empty.
void Title(const char* title) { std::printf("| %-*s |", kTitle, title); }
void Cell(double value, int digits, bool known = true) {
  known ? std::printf(" %9.*f |", digits, value) : std::printf(" %9s |", "");
}

// Three figures, or whole numbers.
int Digits(double value) { return value < 10 ? 2 : value < 100 ? 1 : 0; }

}  // namespace

double Figure::Median() const {
  std::vector<double> sorted = times;
  std::sort(sorted.begin(), sorted.end());
  return sorted[sorted.size() / 2];
}
double Figure::Best() const { return *std::min_element(times.begin(), times.end()); }

bool Report::ReportContext(const Context& context) {
  PrintBasicContext(&GetErrorStream(), context);
  return true;
}

void Report::ReportRuns(const std::vector<Run>& runs) {
  const auto counter = [](const Run& run, const char* name) -> double {
    const auto found = run.counters.find(name);
    return found == run.counters.end() ? 0 : found->second.value;
  };
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
    Figure& figure = figures_[run.run_name.function_name];
    figure.times.push_back(run.GetAdjustedRealTime());
    figure.allocations = counter(run, "allocations");
    figure.refused = counter(run, "refused");
    figure.certificates = counter(run, "certificates");
  }
}

void Report::Show() const {
  if (figures_.empty()) return;
  if (const Figure* floor = Find("floor")) {
    std::printf("The floor takes %.0f ns.\n", floor->Median());
  }
  ShowRatios();
  ShowAllocations();
  ShowBudgets();
  ShowThreads();
  ShowGrowth();
  ShowRefusals();
  if (!path_.empty()) WriteFigures();
}

const Figure* Report::Find(const std::string& name) const {
  const auto figure = figures_.find(name);
  return figure == figures_.end() ? nullptr : &figure->second;
}

double Report::Ratio(const std::string& name, const std::string& reference) const {
  const Figure* figure = Find(name);
  const Figure* floor = Find(reference);
  return figure == nullptr || floor == nullptr ? 0 : figure->Median() / floor->Median();
}

double Report::Gain(const std::string& work) const {
  return Ratio("threads/1/" + work, "threads/2/" + work);
}

void Report::ShowRatios() const {
  HeadOfLibraries("times the floor, or the bare operation");
  for (const WorkRow& row : kWorks) {
    const std::string work = row.work;
    if (Ratio(work + "/corvid", row.floor) == 0) continue;
    Title(row.title);
    for (const Library& library : kLibraries) {
      const double ratio = Ratio(work + "/" + library.name, row.floor);
      Cell(ratio, Digits(ratio), ratio > 0);
    }
    std::printf("\n");
  }
}

void Report::ShowAllocations() const {
  HeadOfLibraries("heap blocks");
  for (const char* work : {"decode", "record", "subject"}) {
    if (Find(std::string(work) + "/corvid") == nullptr) continue;
    Title(work);
    for (const Library& library : kLibraries) {
      const Figure* figure = Find(std::string(work) + "/" + library.name);
      Cell(figure == nullptr ? 0 : figure->allocations, 0, figure != nullptr);
    }
    std::printf("\n");
  }
}

void Report::ShowBudgets() const {
  Head("budgets", {"ratio", "at most", "blocks", "at most"});
  for (const BudgetRow& row : kBudgets) {
    const double ratio = Ratio(row.ours, row.reference);
    if (ratio == 0) continue;
    Title(row.title);
    Cell(ratio, 3);
    Cell(row.most, 2, row.most > 0);
    Cell(Find(row.ours)->allocations, 0, row.allocations > 0);
    Cell(row.allocations, 0, row.allocations > 0);
    std::printf("\n");
  }
}

void Report::ShowThreads() const {
  const double floor = Gain("floor");
  if (floor == 0) return;
  HeadOfLibraries("what two threads gain over one");
  for (const ThreadsRow& row : kThreads) {
    Title(row.title);
    for (const Library& library : kLibraries) {
      const double gain = Gain(std::string(row.work) + "/" + library.name);
      Cell(gain, 2, gain > 0);
    }
    std::printf("\n");
  }
  Head("of what the floor gains", {"ours", "at least"});
  for (const ThreadsRow& row : kThreads) {
    Title(row.title);
    Cell(Gain(std::string(row.work) + "/corvid") / floor, 2);
    Cell(row.least, 2);
    std::printf("\n");
  }
}

void Report::ShowGrowth() const {
  Head("microseconds, of elements", {"1", "10", "100", "1,000", "10,000", "exponent", "at most"});
  for (const GrowthRow& row : kGrowths) {
    const std::string work = std::string("growth/") + row.work + "/";
    const double growth = Ratio(work + "10000", work + "1000");
    if (growth == 0) continue;
    Title(row.title);
    for (const char* count : {"1", "10", "100", "1000", "10000"}) {
      const Figure* figure = Find(work + count);
      const double time = figure == nullptr ? 0 : figure->Median() / 1000;
      Cell(time, Digits(time), figure != nullptr);
    }
    Cell(std::log10(growth), 2);
    Cell(kMostExponent, 2);
    std::printf("\n");
  }
}

void Report::ShowRefusals() const {
  if (Find("roots/decode/corvid") == nullptr) return;
  HeadOfLibraries("refused, and timed by none");
  for (const char* work : {"roots/decode", "roots/record", "corpus/decode", "corpus/record"}) {
    const Figure* ours = Find(std::string(work) + "/corvid");
    if (ours == nullptr) continue;
    char title[kTitle + 1];
    std::snprintf(title, sizeof title, "%s, of %.0f", work, ours->certificates);
    Title(title);
    for (const Library& library : kLibraries) {
      const Figure* figure = Find(std::string(work) + "/" + library.name);
      Cell(figure == nullptr ? 0 : figure->refused, 0, figure != nullptr);
    }
    std::printf("\n");
  }
}

// Lines of tab-separated fields. Title and ratio are those of a row of libraries side by side.
void Report::WriteFigures() const {
  std::FILE* file = std::fopen(path_.c_str(), "w");
  if (file == nullptr) return std::perror(path_.c_str());
  std::fprintf(file, "name\tmedian ns\tbest ns\theap blocks\trefused\ttitle\tlibrary\tratio\n");
  for (const auto& [name, figure] : figures_) {
    std::fprintf(file, "%s\t%.1f\t%.1f\t%.0f\t%.0f", name.c_str(), figure.Median(), figure.Best(),
                 figure.allocations, figure.refused);
    const size_t slash = name.rfind('/');
    const std::string work = name.substr(0, slash);
    const auto* row = std::find_if(std::begin(kWorks), std::end(kWorks),
                                   [&](const WorkRow& known) { return work == known.work; });
    const auto* library =
        std::find_if(std::begin(kLibraries), std::end(kLibraries), [&](const Library& known) {
          return slash != std::string::npos && name.substr(slash + 1) == known.name;
        });
    const double ratio = row == std::end(kWorks) ? 0 : Ratio(name, row->floor);
    if (ratio > 0 && library != std::end(kLibraries)) {
      std::fprintf(file, "\t%s\t%s\t%.3f\n", row->title, library->title, ratio);
    } else {
      std::fprintf(file, "\t\t\t\n");
    }
  }
  std::fclose(file);
}

}  // namespace corvid::bench
