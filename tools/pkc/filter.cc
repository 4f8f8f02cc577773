// `pkc filter`: a line of base64 or hexadecimal in, a line out, for programs that hand their rows
// to a command: whatever a line holds, exactly one line answers it, as soon as it was read.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "output.h"
#include "presenter.h"
#include "problem.h"
#include "reporter.h"
#include "run.h"
#include "show_fields.h"
#include "verb.h"

namespace corvid::tool {
namespace {

constexpr size_t kChunk = 1U << 16;
constexpr size_t kLongestLine = 1U << 20;
constexpr std::string_view kBlanks = " \t\r";
// How columns of octets are written: by databases, and the same in a file with escapes.
constexpr std::string_view kHexPrefixes[] = {"\\x", "\\\\x", "0x"};

struct Options {
  bool json = false;
  std::string fields;
  std::string dn_case = "lower";
  bool strict = false;
};

// The digits of a line that is hexadecimal. DER of a certificate begins with the octet 30, which is
// "30" in hexadecimal and "M" in base64, so that the first character decides.
bool IsHex(std::string_view* line) {
  for (const std::string_view prefix : kHexPrefixes) {
    if (line->substr(0, prefix.size()) != prefix) continue;
    line->remove_prefix(prefix.size());
    return true;
  }
  return line->front() == '3';
}

// Without a branch or a table, so that the compiler does many digits at once.
bool DecodeHex(std::string_view digits, std::string* octets) {
  octets->resize(digits.size() / 2);
  uint8_t bad = digits.size() % 2;
  const auto value_of = [&bad](char c) {
    const auto number = static_cast<uint8_t>(c - '0');
    const auto letter = static_cast<uint8_t>((c | 0x20) - 'a');
    bad = static_cast<uint8_t>(bad | ((number > 9) & (letter > 5)));
    return static_cast<uint8_t>(number > 9 ? letter + 10 : number);
  };
  char* out = octets->data();
  for (size_t i = 0; i < digits.size() / 2; ++i) {
    const uint8_t high = value_of(digits[2 * i]);
    out[i] = static_cast<char>(high << 4 | value_of(digits[2 * i + 1]));
  }
  return bad == 0;
}

class Filter {
 public:
  Filter(const Style& style, const Options& options)
      : options_(options), presenter_(style), reporter_(options.dn_case == "upper") {
    presenter_.SetOutcome(&outcome_);
  }

  // Reads as much as there is, and answers it before it waits for more.
  int Run() {
    for (;;) {
      const size_t size = text_.size();
      text_.resize(size + kChunk);
      const ssize_t count = read(STDIN_FILENO, text_.data() + size, kChunk);
      text_.resize(size + static_cast<size_t>(std::max<ssize_t>(count, 0)));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) failed_ = true;
      Lines();
      if (count <= 0 && (!text_.empty() || overlong_)) Line(text_);
      if (!Write()) {
        TellOutputFailure(out_.error());
        return kExitSystem;
      }
      if (count <= 0) break;
    }
    if (failed_ || outcome_.exit == kExitSystem) return kExitSystem;
    return options_.strict ? outcome_.exit : kExitGood;
  }

 private:
  // Of a line that is too long only its end is waited for.
  void Lines() {
    size_t begin = 0;
    for (size_t end; (end = text_.find('\n', std::max(begin, searched_))) != std::string::npos;) {
      Line(std::string_view(text_).substr(begin, end - begin));
      begin = searched_ = end + 1;
    }
    text_.erase(0, begin);
    searched_ = text_.size();
    if (searched_ <= kLongestLine) return;
    overlong_ = true;
    text_.clear();
    searched_ = 0;
  }

  void Line(std::string_view line) {
    const size_t before = outcome_.out.size();
    ++number_;
    try {
      if (std::exchange(overlong_, false) || line.size() > kLongestLine) {
        return Refuse("is longer than 1 MiB", 0);
      }
      Certificate(line);
    } catch (const std::bad_alloc&) {
      outcome_.out.resize(before);
      Refuse(ReasonOf(PKC_ERR_MALLOC), PKC_ERR_MALLOC);
    }
  }

  void Certificate(std::string_view line) {
    const size_t first = std::min(line.find_first_not_of(kBlanks), line.size());
    line = line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
    if (line.empty()) return Refuse("is empty", 0);
    if (IsHex(&line)) {
      if (!DecodeHex(line, &octets_)) return Refuse("is not hexadecimal", 0);
      return Show(std::string_view(octets_));
    }
    padded_ = line;
    // Padding may be left out.
    if (line.size() % 4 != 0 && line.find_first_of(kBlanks) == std::string_view::npos) {
      padded_.append(4 - line.size() % 4, '=');
    }
    const pkc::Status status = line.find('\0') == std::string_view::npos
                                   ? pkc::DecodeBase64(padded_.c_str(), &decoded_)
                                   : pkc::Status(CVD_CODEC_ERR_BASE64);
    if (!status.ok()) return Refuse(ReasonOf(status), status.code());
    Show(decoded_.octets());
  }

  void Show(pkc::Octets der) {
    if (reporter_.Read({"-", number_}, der)) {
      return presenter_.Show("-", number_, reporter_.report(), reporter_.problems());
    }
    Problem problem = reporter_.problems().front();
    problem.certificate = number_;
    presenter_.Fail(problem);
  }

  void Refuse(std::string reason, uint32_t code) {
    Problem problem;
    problem.input = "-";
    problem.certificate = number_;
    problem.code = code;
    problem.reason = std::move(reason);
    presenter_.Fail(problem);
  }

  // What the rows say is not said twice.
  bool Write() {
    out_.Write(outcome_.out);
    outcome_.out.clear();
    outcome_.messages.clear();
    return out_.Flush();
  }

  const Options& options_;
  Outcome outcome_;
  Presenter presenter_;
  Reporter reporter_;
  Output out_{STDOUT_FILENO};
  std::string text_;
  size_t searched_ = 0;    // octets of it that have no line's end
  bool overlong_ = false;  // the line at hand, whose beginning is gone
  bool failed_ = false;    // the input
  uint64_t number_ = 0;
  pkc::Bin decoded_;
  std::string octets_;
  std::string padded_;
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
