// `pkc verify`: reads what chains are made of, and asks for a chain for each certificate.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <ctime>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "chain.h"
#include "input.h"
#include "interrupt.h"
#include "output.h"
#include "problem.h"
#include "report.h"
#include "reporter.h"
#include "run.h"
#include "time_text.h"
#include "verb.h"
#include "verify_worker.h"

namespace corvid::tool {
namespace {

// Of more certificates than that, or of more text, none is a candidate for the others' chains.
constexpr size_t kMostAhead = 1000;
constexpr size_t kMostTextAhead = 64U << 20;

struct Usage {
  const char* name;
  int32_t number;  // of CVD_CheckCertUsage
};
constexpr Usage kUsages[] = {
    {"server", 7},    {"client", 8}, {"code", 5}, {"email", 6},
    {"timestamp", 3}, {"ocsp", 4},   {"sign", 2}, {"encipher", 1},
};

struct Options {
  RunOptions run;
  std::vector<std::string> trust;
  std::vector<std::string> issuers;
  std::vector<std::string> lists;
  std::string at;
  std::string usage;
};

class Verify {
 public:
  explicit Verify(const Options& options)
      : options_(options),
        style_(MakeStyle(options.run, kVerifyFields, FindCharset("utf-8"))),
        reader_(options.run.input) {
    Question& question = evidence_.question;
    question = {std::time(nullptr), 0, !options.lists.empty()};
    if (!options.at.empty()) ParseTime(options.at, &question.at);
    for (const Usage& usage : kUsages) {
      if (options.usage == usage.name) question.usage = usage.number;
    }
  }

  int Go() {
    ReadAhead();
    ReadCertificates(options_.trust, true);
    ReadCertificates(options_.issuers, false);
    for (const std::string& path : options_.lists) ReadLists(path);
    CatchInterrupts();
    Document document;
    document.opening = "{\n  \"schema\": \"corvid.verification/1\",\n  \"at\": \"";
    document.opening += TimeText(evidence_.question.at).view();
    document.opening += "\",\n  \"certificates\": [";
    document.errors = std::move(early_errors_);
    Run run(options_.run, style_, std::move(document));
    return run.Go(
        &reader_, [this](Batch* batch) { return Next(batch); },
        [this] { return std::make_unique<VerifyWorker>(style_, evidence_); }, exit_);
  }

 private:
  // The certificates to be asked about are candidates for one another, when they are few.
  void ReadAhead() {
    size_t count = 0;
    size_t octets = 0;
    while (count <= kMostAhead && octets <= kMostTextAhead) {
      ahead_.emplace_back();
      if (!reader_.Next(&ahead_.back())) {
        ahead_.pop_back();
        for (Batch& batch : ahead_) AddCandidates(&batch);
        return;
      }
      count += ahead_.back().pieces.size();
      octets += ahead_.back().text.size();
    }
    Say("pkc: these are many certificates: only those of --trust and --issuer issue others\n");
  }

  void AddCandidates(Batch* batch) {
    PieceDecoder decoder;
    Problem problem;
    for (const Piece& piece : batch->pieces) {
      pkc::Octets der;
      if (piece.form == Piece::Form::kProblem) continue;  // is told when its turn comes
      if (!decoder.Decode(batch, piece, &der, &problem)) continue;
      static_cast<void>(AddCandidate(batch->InputOf(piece), piece.number, der, false));
    }
  }

  pkc::Status AddCandidate(std::string_view input, uint64_t number, pkc::Octets der, bool trusted) {
    size_t index = 0;
    const pkc::Status status = evidence_.store.Add(der, trusted, &index);
    if (!status.ok()) return status;
    Candidate& candidate = evidence_.store.at(index);
    if (candidate.number == 0) Describe(input, number, &names_, &candidate);
    return status;
  }

  bool Next(Batch* batch) {
    if (next_ahead_ == ahead_.size()) return reader_.Next(batch);
    std::swap(*batch, ahead_[next_ahead_++]);
    return true;
  }

  void ReadCertificates(const std::vector<std::string>& paths, bool trusted) {
    Finder finder(
        [&](std::string_view input, uint64_t number, pkc::Octets der) {
          const pkc::Status status = AddCandidate(input, number, der, trusted);
          if (!status.ok()) Tell(Undecoded(input, number, der, status));
          return true;
        },
        [this](const Problem& problem) {
          Tell(problem);
          return true;
        });
    finder.Read(paths, false);
  }

  // One DER list, or every list of a PEM file.
  void ReadLists(const std::string& path) {
    constexpr std::string_view kBegin = "-----BEGIN X509 CRL-----";
    constexpr std::string_view kEnd = "-----END X509 CRL-----";
    pkc::Bin file;
    if (const pkc::Status status = pkc::ReadFile(path, &file); !status.ok()) {
      return TellList(path, 0, status);
    }
    const std::string_view text = file.octets().text();
    size_t begin = text.find(kBegin);
    if (begin == std::string_view::npos) return AddList(path, 0, file.octets());
    for (; begin != std::string_view::npos; begin = text.find(kBegin, begin + 1)) {
      const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<long>(begin), '\n');
      const size_t body = begin + kBegin.size();
      const std::string_view rest = text.substr(body, text.find(kBegin, body) - body);
      const std::string base64(rest.substr(0, rest.find(kEnd)));
      pkc::Bin der;
      const bool whole = rest.find(kEnd) != std::string_view::npos &&
                         base64.find('\0') == std::string::npos &&
                         pkc::DecodeBase64(base64.c_str(), &der).ok();
      if (whole) {
        AddList(path, static_cast<uint32_t>(line), der.octets());
      } else {
        TellList(path, static_cast<uint32_t>(line), CVD_CRL_ERR_BAD_LIST);
      }
    }
  }

  // A list of a kind that is not evaluated is kept, for what it may say.
  void AddList(const std::string& path, uint32_t line, pkc::Octets der) {
    GivenList list;
    list.name = line == 0 ? path : path + ": line " + std::to_string(line);
    if (const pkc::Status status = list.Load(der); !status.ok()) TellList(path, line, status);
    if (list.list || list.refused) evidence_.lists.push_back(std::move(list));
  }

  void TellList(const std::string& path, uint32_t line, pkc::Status status) {
    constexpr uint32_t kNotEvaluated[] = {CVD_CRL_ERR_EXTENSION, CVD_CRL_ERR_DELTA,
                                          CVD_CRL_ERR_REASONS};
    const bool read = std::find(std::begin(kNotEvaluated), std::end(kNotEvaluated),
                                status.code()) != std::end(kNotEvaluated);
    Problem problem;
    problem.input = path;
    problem.line = line;
    problem.code = status.code();
    problem.reason = ReasonOf(status);
    Tell(problem, read ? kExitGood : problem.exit());
  }

  void Tell(const Problem& problem) { Tell(problem, problem.exit()); }
  void Tell(const Problem& problem, int exit) {
    exit_ = std::max(exit_, exit);
    Say("pkc: " + Message(problem) + '\n');
    Report error;
    Describe(problem, &error);
    early_errors_ += ",\n    ";
    AppendJson(error, Layout::kIndented, 2, &early_errors_);
  }
  static void Say(const std::string& text) {
    Output messages(STDERR_FILENO);
    messages.Write(text);
    messages.Flush();
  }

  const Options& options_;
  Style style_;
  Evidence evidence_;
  Reporter names_{false};
  Reader reader_;
  std::vector<Batch> ahead_;  // that were read before the candidates were known
  size_t next_ahead_ = 0;
  std::string early_errors_;  // for the list of errors of a JSON document
  int exit_ = kExitGood;
};

int RunVerify(const Options& options) {
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  return Verify(options).Go();
}

std::string RefuseTime(const std::string& text) {
  int64_t seconds = 0;
  return ParseTime(text, &seconds) ? "" : "neither 2026-01-31T09:00:00Z nor seconds since 1970";
}

}  // namespace

void AddVerify(CLI::App* app, std::function<int()>* run) {
  auto options = std::make_shared<Options>();
  CLI::App* verify = app->add_subcommand("verify", "Check certificates up to one that is trusted");
  verify->footer(
      "Every certificate of CERT is asked about; all certificates given are candidates for the\n"
      "chains, and only those of --trust end one. Of more than 1000 certificates of CERT none is "
      "a\n"
      "candidate. An option takes all files up to the next option.\n"
      "With --crl, each certificate below the trusted one needs a current list of its issuer that\n"
      "does not revoke it.\n"
      "Host names are not compared with certificates. Policies and name constraints are not\n"
      "evaluated: a chain with policyConstraints, policyMappings, inhibitAnyPolicy or\n"
      "nameConstraints below the trusted certificate is a no, and so are delta lists and lists of\n"
      "some reasons; indirect lists revoke, and clear only the certificates of their own issuer.\n"
      "The signature and the path length of a trusted certificate are not checked.\n"
      "Exit status: 0 every answer is yes; 1 an answer is no; 2 wrong usage; 3 some input could\n"
      "not be read; 4 no memory, or the output failed. The highest wins. 128 and the number of\n"
      "the signal that ended the run.");
  AddRunOptions(verify, "CERT", "Certificates to verify, - for standard input", kVerifyFields,
                &options->run);
  const auto add_files = [&](const char* option, std::vector<std::string>* files,
                             const char* description) {
    return verify->add_option(option, *files, description)->type_name("FILE");
  };
  add_files("--trust", &options->trust, "Certificates that are trusted")->required();
  add_files("--issuer", &options->issuers, "Certificates between the two");
  add_files("--crl", &options->lists, "Revocation lists");
  verify
      ->add_option("--at", options->at,
                   "2026-01-31T09:00:00Z or seconds since 1970; now when it is left out")
      ->check(CLI::Validator(RefuseTime, ""))
      ->type_name("TIME");
  std::vector<std::string> usages;
  for (const Usage& usage : kUsages) usages.emplace_back(usage.name);
  verify->add_option("--usage", options->usage, "What the certificate must be allowed to do")
      ->check(CLI::IsMember(usages));
  verify->callback([options, run] {
    CheckRunOptions("CERT", options->run);
    *run = [options] { return RunVerify(*options); };
  });
}

}  // namespace corvid::tool
