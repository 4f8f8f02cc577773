// `pkc filter`: a line of base64 or hexadecimal in, a line out, for programs that hand their rows
// to a command: whatever a line holds, exactly one line answers it, as soon as it was read.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "line_filter.h"
#include "output.h"
#include "problem.h"
#include "run.h"
#include "show_fields.h"
#include "verb.h"

namespace corvid::tool {
namespace {

constexpr size_t kChunk = 1U << 16;

struct Options {
  bool json = false;
  std::string fields;
  std::string dn_case = "lower";
  bool strict = false;
};

class Filter {
 public:
  Filter(const Style& style, const Options& options)
      : options_(options), lines_(style, options.dn_case == "upper") {}

  // Reads as much as there is, and answers it before it waits for more.
  int Run() {
    bool failed = false;
    for (;;) {
      std::string& text = lines_.text();
      const size_t size = text.size();
      text.resize(size + kChunk);
      const ssize_t count = read(STDIN_FILENO, text.data() + size, kChunk);
      text.resize(size + static_cast<size_t>(std::max<ssize_t>(count, 0)));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) failed = true;
      lines_.Answer(count <= 0);
      if (!Write()) {
        TellOutputFailure(out_.error());
        return kExitSystem;
      }
      if (count <= 0) break;
    }
    const int exit = lines_.outcome().exit;
    if (failed || exit == kExitSystem) return kExitSystem;
    return options_.strict ? exit : kExitGood;
  }

 private:
  // What the rows say is not said twice.
  bool Write() {
    Outcome& outcome = lines_.outcome();
    out_.Write(outcome.out);
    outcome.out.clear();
    outcome.messages.clear();
    return out_.Flush();
  }

  const Options& options_;
  LineFilter lines_;
  Output out_{STDOUT_FILENO};
};

int RunFilter(const Options& options) {
  CVD_PKC_SetOption("locale", FindCharset("utf-8"));
  CVD_PKC_SetOption("dncase", options.dn_case.c_str());
  Style style;
  style.format = options.fields.empty() ? Format::kNdjson : Format::kFields;
  style.locale = FindCharset("utf-8");
  if (!options.fields.empty()) ChooseFields(options.fields, kShowFields, &style.fields);
  return Filter(style, options).Run();
}

}  // namespace

void AddFilter(CLI::App* app, std::function<int()>* run) {
  auto options = std::make_shared<Options>();
  CLI::App* filter =
      app->add_subcommand("filter", "Answer each line of standard input with a line");
  filter->footer(
      "A line holds the DER of one certificate in base64 (padding may be left out) or in\n"
      "hexadecimal (\\x or 0x may stand before it). The answer is one line, too, whatever the "
      "line\n"
      "holds: what pkc show --ndjson or --fields says of the certificate, or an error with code,\n"
      "reason, octet offset and field. \"certificate\" is the number of the line. Answers are\n"
      "written before more input is waited for. A line of more than 1 MiB is an error.\n"
      "Exit status: 0 every line was answered; 2 wrong usage; 3 with --strict, some line or field\n"
      "could not be read; 4 no memory, or input or output failed.");
  CLI::Option* json =
      filter->add_flag("--json", options->json, "Answer in JSON, as without --fields");
  AddFieldsOption(filter, kShowFields, &options->fields)->excludes(json);
  filter->add_option("--dn-case", options->dn_case, "Case of the labels in names")
      ->capture_default_str()
      ->check(CLI::IsMember({"lower", "upper"}));
  filter->add_flag("--strict", options->strict, "Exit with 3 when some line or field was not read");
  filter->callback([options, run] { *run = [options] { return RunFilter(*options); }; });
}

}  // namespace corvid::tool
