// `pkc show`: what certificates say, as text or JSON.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "input.h"
#include "output.h"
#include "problem.h"
#include "report.h"
#include "reporter.h"
#include "verb.h"

namespace corvid::tool {
namespace {

struct Options {
  std::vector<std::string> inputs;
  bool recursive = false;
  bool json = false;
  bool ndjson = false;
  std::string charset = "utf-8";
  std::string dn_case = "lower";
};

class Show {
 public:
  explicit Show(const Options& options)
      : options_(options),
        locale_(FindCharset(options.charset)),
        colour_(isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr ? Colour::kTerminal
                                                                                 : Colour::kNever),
        reporter_(options.dn_case == "upper") {
    errors_.List(nullptr, nullptr);
  }

  int Run() {
    Finder finder(
        [this](std::string_view input, uint32_t number, pkc::Octets der) {
          return TryCertificate({input, number}, der);
        },
        [this](const Problem& problem) { return OnProblem(problem); });
    if (options_.json)
      out_.Write("{\n  \"schema\": \"corvid.certificates/1\",\n  \"certificates\": [");
    finder.Read(options_.inputs, options_.recursive);
    if (options_.json) Close();
    if (out_.Flush()) return exit_;
    TellOutputFailure(out_.error());
    return kExitSystem;
  }

 private:
  // A certificate that is too large for the memory must not take the others with it.
  bool TryCertificate(const Reporter::Origin& origin, pkc::Octets der) try {
    return OnCertificate(origin, der);
  } catch (const std::bad_alloc&) {
    Problem problem;
    problem.input = origin.input;
    problem.certificate = origin.certificate;
    problem.code = PKC_ERR_MALLOC;
    problem.reason = ReasonOf(problem.code);
    return OnProblem(problem);
  }

  bool OnCertificate(const Reporter::Origin& origin, pkc::Octets der) {
    if (!reporter_.Read(origin, der)) return OnUndecoded(der);
    buffer_.clear();
    if (options_.json) {
      buffer_ += shown_ == 0 ? "\n    " : ",\n    ";
      AppendJson(reporter_.report(), Layout::kIndented, 2, &buffer_);
    } else if (options_.ndjson) {
      AppendJson(reporter_.report(), Layout::kLine, 0, &buffer_);
      buffer_.push_back('\n');
    } else {
      ShowText(origin);
    }
    ++shown_;
    const bool go_on = out_.Write(buffer_);
    for (const Problem& problem : reporter_.problems()) Tell(problem);
    return go_on;
  }

  void ShowText(const Reporter::Origin& origin) {
    if (shown_ > 0) buffer_.push_back('\n');
    AppendHeading(std::string(origin.input) + ": certificate " + std::to_string(origin.certificate),
                  colour_, &buffer_);
    AppendText(reporter_.report(), colour_, &buffer_);
    buffer_ = ToCharset(locale_, buffer_);
  }

  // What is no certificate may be some other well-known thing, which says more than where decoding
  // stopped.
  bool OnUndecoded(pkc::Octets der) {
    Problem problem = reporter_.problems().front();
    const char* foreign = problem.exit() == kExitInput ? NameForeignDer(der) : nullptr;
    if (foreign == nullptr) return OnProblem(problem);
    Problem other;
    other.input = problem.input;
    other.reason = std::string("is ") + foreign + ", not a certificate";
    return OnProblem(other);
  }

  bool OnProblem(const Problem& problem) {
    Tell(problem);
    if (options_.json) {
      Describe(problem, &errors_);
    } else if (options_.ndjson) {
      Report line;
      Describe(problem, &line);
      buffer_.clear();
      AppendJson(line, Layout::kLine, 0, &buffer_);
      buffer_.push_back('\n');
      out_.Write(buffer_);
    }
    return out_.error() == 0;
  }

  // After what was shown so far, for those who see both in one terminal.
  void Tell(const Problem& problem) {
    exit_ = std::max<int>(exit_, problem.exit());
    out_.Flush();
    messages_.Write(ToCharset(locale_, "pkc: " + Message(problem) + '\n'));
    messages_.Flush();
  }

  // The list of certificates ends; that of the errors follows.
  void Close() {
    buffer_ = shown_ == 0 ? "],\n  \"errors\": " : "\n  ],\n  \"errors\": ";
    errors_.End();
    AppendJson(errors_, Layout::kIndented, 1, &buffer_);
    out_.Write(buffer_ + "\n}\n");
  }

  const Options& options_;
  const char* locale_;
  Colour colour_;
  Reporter reporter_;
  Output out_{STDOUT_FILENO};
  Output messages_{STDERR_FILENO};
  Report errors_;
  std::string buffer_;
  size_t shown_ = 0;
  int exit_ = kExitGood;
};

int RunShow(const Options& options) {
  // All texts come in UTF-8; --charset applies to what is written at the end.
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  CVD_PKC_SetOption("dncase", options.dn_case.c_str());
  return Show(options).Run();
}

}  // namespace

void AddShow(CLI::App* app, std::function<int()>* run) {
  auto options = std::make_shared<Options>();
  CLI::App* show = app->add_subcommand("show", "Show what certificates say");
  show->footer(
      "Inputs hold DER, PEM (every certificate of a bundle) or base64 lines. Nothing of a\n"
      "certificate is left out. Fields that cannot be read say why in their place, inputs on\n"
      "standard error, with certificate number, octet offset and field.\n"
      "Exit status: 0 all was shown; 2 wrong usage; 3 some input or field could not be read;\n"
      "4 no memory, or the output failed.");
  show->add_option("input", options->inputs,
                   "Files, pipes, folders (with -r), - for standard input")
      ->required();
  show->add_flag("-r,--recursive", options->recursive, "Read the files in folders and below");
  CLI::Option* json = show->add_flag("--json", options->json, "Write one JSON document");
  show->add_flag("--ndjson", options->ndjson, "Write one JSON object a line for each certificate")
      ->excludes(json);
  show->add_option("--charset", options->charset, "Character set of the text output")
      ->capture_default_str()
      ->check(CLI::IsMember({"utf-8", "euc-kr", "euc-jp", "shift-jis"}));
  show->add_option("--dn-case", options->dn_case, "Case of the labels in names")
      ->capture_default_str()
      ->check(CLI::IsMember({"lower", "upper"}));
  show->callback([options, run] { *run = [options] { return RunShow(*options); }; });
}

}  // namespace corvid::tool
