// `pkc verify`: reads what chains are made of, asks for a chain for each certificate, and prints
// every check with its result.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "chain.h"
#include "input.h"
#include "output.h"
#include "problem.h"
#include "report.h"
#include "reporter.h"
#include "time_text.h"
#include "verb.h"

namespace corvid::tool {
namespace {

struct Usage {
  const char* name;
  int32_t number;  // of CVD_CheckCertUsage
};
constexpr Usage kUsages[] = {
    {"server", 7},    {"client", 8}, {"code", 5}, {"email", 6},
    {"timestamp", 3}, {"ocsp", 4},   {"sign", 2}, {"encipher", 1},
};

struct Options {
  std::vector<std::string> certificates;
  std::vector<std::string> trust;
  std::vector<std::string> issuers;
  std::vector<std::string> lists;
  std::string at;
  std::string usage;
  bool json = false;
};

std::string Place(std::string_view input, uint32_t number) {
  return std::string(input) + ": certificate " + std::to_string(number);
}

class Verify {
 public:
  explicit Verify(const Options& options)
      : options_(options),
        colour_(isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr ? Colour::kTerminal
                                                                                 : Colour::kNever) {
    question_ = {std::time(nullptr), 0, !options.lists.empty()};
    if (!options.at.empty()) ParseTime(options.at, &question_.at);
    for (const Usage& usage : kUsages) {
      if (options.usage == usage.name) question_.usage = usage.number;
    }
    errors_.List(nullptr, nullptr);
  }

  int Run() {
    ReadCertificates(options_.certificates, false, true);
    ReadCertificates(options_.trust, true, false);
    ReadCertificates(options_.issuers, false, false);
    for (const std::string& path : options_.lists) ReadLists(path);
    if (options_.json) Open();
    for (const Target& target : targets_) Answer(target);
    if (options_.json) Close();
    if (out_.Flush()) return exit_;
    TellOutputFailure(out_.error());
    return kExitSystem;
  }

 private:
  struct Target {
    size_t index;
    std::string input;
    uint32_t number;
  };

  // ---- input ---------------------------------------------------------------------------------

  void ReadCertificates(const std::vector<std::string>& paths, bool trusted, bool asked) {
    Finder finder(
        [&](std::string_view input, uint32_t number, pkc::Octets der) {
          size_t index = 0;
          const pkc::Status status = store_.Add(der, trusted, &index);
          if (!status.ok()) {
            Tell(Undecoded(input, number, der, status));
            return true;
          }
          Candidate& candidate = store_.at(index);
          if (candidate.number == 0) {
            candidate.input = input;
            candidate.number = number;
            const CVD_TBSCertificate& tbs = candidate.certificate->tbsCertificate;
            candidate.subject = NameText(tbs.subject);
            candidate.issuer = NameText(tbs.issuer);
          }
          if (asked) targets_.push_back({index, std::string(input), number});
          return true;
        },
        [this](const Problem& problem) {
          Tell(problem);
          return true;
        });
    finder.Read(paths, false);
  }

  std::string NameText(const CVD_Name& name) {
    return name.rdnSequence == nullptr ? "(empty)" : names_.NameText(name);
  }

  // One DER list, or every list of a PEM file.
  void ReadLists(const std::string& path) {
    constexpr std::string_view kBegin = "-----BEGIN X509 CRL-----";
    constexpr std::string_view kEnd = "-----END X509 CRL-----";
    pkc::Bin file;
    if (const pkc::Status status = pkc::ReadFile(path.c_str(), &file); !status.ok()) {
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
    if (list.list || list.refused) lists_.push_back(std::move(list));
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
    messages_.Write("pkc: " + Message(problem) + '\n');
    messages_.Flush();
    if (options_.json) Describe(problem, &errors_);
  }

  // ---- output --------------------------------------------------------------------------------

  void Open() {
    out_.Write("{\n  \"schema\": \"corvid.verification/1\",\n  \"at\": \"");
    out_.Write(TimeText(question_.at).view());
    out_.Write("\",\n  \"certificates\": [");
  }

  void Close() {
    std::string text = answered_ == 0 ? "],\n  \"errors\": " : "\n  ],\n  \"errors\": ";
    errors_.End();
    AppendJson(errors_, Layout::kIndented, 1, &text);
    out_.Write(text + "\n}\n");
  }

  void Answer(const Target& target) {
    const Verdict verdict = VerifyChain(store_, lists_, question_, target.index);
    if (!verdict.valid) exit_ = std::max<int>(exit_, kExitNo);
    report_.Clear();
    report_.Object(nullptr, nullptr);
    report_.Text("input", nullptr, target.input);
    report_.Number("certificate", nullptr, target.number);
    report_.Rendered("subject", nullptr, {store_.at(target.index).subject});
    report_.List("chain", nullptr);
    for (const CheckedCertificate& checked : verdict.chain) {
      Certificate(checked, &checked == &verdict.chain.front());
    }
    report_.End();
    report_.Rendered("answer", "Answer", {verdict.valid ? "yes" : "no"});
    report_.End();
    Write(target);
  }

  void Write(const Target& target) {
    std::string text;
    if (options_.json) {
      text = answered_ == 0 ? "\n    " : ",\n    ";
      AppendJson(report_, Layout::kIndented, 2, &text);
    } else {
      if (answered_ > 0) text = "\n";
      AppendHeading(Place(target.input, target.number), colour_, &text);
      AppendText(report_, colour_, &text);
    }
    ++answered_;
    out_.Write(text);
  }

  void Certificate(const CheckedCertificate& checked, bool first) {
    const Candidate& given = store_.at(checked.index);
    const char* label = given.trusted ? "Trust anchor" : first ? "Certificate" : "Issuer";
    report_.Object(nullptr, label, {given.subject});
    report_.Rendered("subject", nullptr, {given.subject});
    report_.Text("input", nullptr, given.input);
    report_.Number("certificate", nullptr, given.number);
    report_.Flag("trusted", nullptr, given.trusted);
    if (!first) report_.Text(nullptr, "input", Place(given.input, given.number));
    report_.List("checks", nullptr);
    for (const Check& check : checked.checks) Line(check);
    report_.End();
    report_.End();
  }

  // "no: 36050 invalid signature, <detail>".
  void Line(const Check& check) {
    constexpr const char* kResults[] = {"ok", "warning", "no"};
    const char* result = kResults[static_cast<size_t>(check.result)];
    Problem problem;
    problem.code = check.code;
    std::string reason;
    if (check.code != 0) {
      reason = ReasonOf(check.code);
      exit_ = std::max<int>(exit_, problem.exit() == kExitSystem ? kExitSystem : kExitGood);
    }
    const std::string code =
        check.code == 0 ? "" : std::to_string(static_cast<int32_t>(check.code)) + ' ';
    const std::string_view colon = reason.empty() && check.detail.empty() ? "" : ": ";
    const std::string_view comma = reason.empty() || check.detail.empty() ? "" : ", ";
    report_.Object(nullptr, check.name, {result, colon, code, reason, comma, check.detail});
    report_.Rendered("check", nullptr, {check.name});
    report_.Rendered("result", nullptr, {result});
    if (check.code != 0) {
      report_.Number("code", nullptr, static_cast<int32_t>(check.code));
      report_.Rendered("reason", nullptr, {reason});
    }
    if (!check.detail.empty()) report_.Rendered("detail", nullptr, {check.detail});
    report_.End();
  }

  const Options& options_;
  Colour colour_;
  Question question_{};
  Reporter names_{false};
  CertificateStore store_;
  std::vector<GivenList> lists_;
  std::vector<Target> targets_;
  Output out_{STDOUT_FILENO};
  Output messages_{STDERR_FILENO};
  Report report_;
  Report errors_;
  size_t answered_ = 0;
  int exit_ = kExitGood;
};

int RunVerify(const Options& options) {
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  return Verify(options).Run();
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
      "chains, and only those of --trust end one. An option takes all files up to the next "
      "option.\n"
      "With --crl, each certificate below the trusted one needs a current list of its issuer that\n"
      "does not revoke it.\n"
      "Host names are not compared with certificates. Policies and name constraints are not\n"
      "evaluated: a chain with policyConstraints, policyMappings, inhibitAnyPolicy or\n"
      "nameConstraints below the trusted certificate is a no, and so are delta lists and lists of\n"
      "some reasons; indirect lists revoke, and clear only the certificates of their own issuer.\n"
      "The signature and the path length of a trusted certificate are not checked.\n"
      "Exit status: 0 every answer is yes; 1 an answer is no; 2 wrong usage; 3 some input could\n"
      "not be read; 4 no memory, or the output failed. The highest wins.");
  const auto add_files = [&](const char* option, std::vector<std::string>* files,
                             const char* description) {
    return verify->add_option(option, *files, description)->type_name("FILE");
  };
  add_files("CERT", &options->certificates, "Certificates to verify, - for standard input")
      ->required();
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
  verify->add_flag("--json", options->json, "Write one JSON document");
  verify->callback([options, run] { *run = [options] { return RunVerify(*options); }; });
}

}  // namespace corvid::tool
