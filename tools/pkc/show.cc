// `pkc show`: what certificates say, as text, JSON or rows of fields.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "as_request.h"
#include "input.h"
#include "interrupt.h"
#include "output.h"
#include "reporter.h"
#include "run.h"
#include "show_fields.h"
#include "verb.h"

namespace corvid::tool {
namespace {

struct Options {
  RunOptions run;
  std::string charset = "utf-8";
  std::string dn_case = "lower";
  bool as_request = false;
};

class ShowWorker : public PieceWorker {
 public:
  ShowWorker(const Style& style, bool upper_labels) : PieceWorker(style), reporter_(upper_labels) {}

 private:
  void OnCertificate(std::string_view input, uint64_t number, pkc::Octets der) override {
    if (!reporter_.Read({input, number}, der)) {
      return presenter().Fail(reporter_.problems().front());
    }
    presenter().Show(input, number, reporter_.report(), reporter_.problems());
  }

  Reporter reporter_;
};

int RunShow(const Options& options) {
  // All texts come in UTF-8; --charset applies to what is written at the end.
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  CVD_PKC_SetOption("dncase", options.dn_case.c_str());
  if (options.as_request) {
    return ShowRequests(options.run.input.paths, options.run.input.recursive);
  }
  CatchInterrupts();
  const Style style = MakeStyle(options.run, kShowFields, FindCharset(options.charset));
  Reader reader(options.run.input);
  Run run(options.run, style,
          {"{\n  \"schema\": \"corvid.certificates/1\",\n  \"certificates\": [", ""});
  const bool upper_labels = options.dn_case == "upper";
  return run.Go(
      &reader, [&](Batch* batch) { return reader.Next(batch); },
      [&] { return std::make_unique<ShowWorker>(style, upper_labels); }, kExitGood);
}

}  // namespace

void AddShow(CLI::App* app, std::function<int()>* run) {
  auto options = std::make_shared<Options>();
  CLI::App* show = app->add_subcommand("show", "Show what certificates say");
  show->footer(
      "Inputs hold DER, PEM (every certificate of a bundle) or base64 lines, and may be of any\n"
      "size. Nothing of a certificate is left out but with --fields. Fields that cannot be read "
      "say\n"
      "why in their place, inputs on standard error, with certificate number, octet offset and\n"
      "field; --ndjson and --fields have a row for each of them, too.\n"
      "Exit status: 0 all was shown; 2 wrong usage; 3 some input or field could not be read;\n"
      "4 no memory, or the output failed; 128 and the number of the signal that ended the run.");
  AddRunOptions(show, "input", "Files, pipes, folders (with -r), - for standard input", kShowFields,
                &options->run);
  CLI::Option* as_request =
      show->add_flag("--as-request", options->as_request,
                     "Write requests for such certificates, which pkc issue reads");
  for (const char* other : {"--json", "--ndjson", "--fields", "--files-from", "--resume-from"}) {
    as_request->excludes(show->get_option(other));
  }
  show->add_option("--charset", options->charset, "Character set of the text output")
      ->capture_default_str()
      ->check(CLI::IsMember({"utf-8", "euc-kr", "euc-jp", "shift-jis"}));
  show->add_option("--dn-case", options->dn_case, "Case of the labels in names")
      ->capture_default_str()
      ->check(CLI::IsMember({"lower", "upper"}));
  show->callback([options, run] {
    CheckRunOptions("input", options->run);
    *run = [options] { return RunShow(*options); };
  });
}

}  // namespace corvid::tool
