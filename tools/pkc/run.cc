// The options, the outputs and the end of a run.
#include "run.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include "escape.h"
#include "interrupt.h"

namespace corvid::tool {
namespace {

constexpr unsigned kMostJobs = 1024;

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

}  // namespace

// ---- options -------------------------------------------------------------------------------

void AddRunOptions(CLI::App* app, const char* name, const char* description,
                   std::span<const Field> table, RunOptions* options) {
  InputOptions& input = options->input;
  app->add_option(name, input.paths, description);
  app->add_flag("-r,--recursive", input.recursive, "Read the files in folders and below");
  app->add_option("--files-from", input.list,
                  "Read the paths of more inputs from a file, one a line")
      ->type_name("LIST");
  app->add_flag("--null", input.null_separated,
                "The paths in LIST end with a NUL, not with a line");
  app->add_option("--resume-from", input.resume_from,
                  "Begin with this input, or with its certificate of this number")
      ->type_name("INPUT[:NUMBER]");
  app->add_option("-j,--jobs", options->jobs,
                  "How many threads work; as many as processors if left out")
      ->check(CLI::Range(1U, kMostJobs))
      ->type_name("N");
  CLI::Option* json = app->add_flag("--json", options->json, "Write one JSON document");
  CLI::Option* ndjson = app->add_flag("--ndjson", options->ndjson,
                                      "Write one JSON object a line for each certificate");
  CLI::Option* fields = AddFieldsOption(app, table, &options->fields);
  app->add_flag("--header", options->header, "Write the names of the fields first")->needs(fields);
  app->add_flag("--summary", options->summary, "Say at the end how much was read, and how fast");
  json->excludes(ndjson)->excludes(fields);
  ndjson->excludes(fields);
}

CLI::Option* AddFieldsOption(CLI::App* app, std::span<const Field> table, std::string* fields) {
  const auto check = [table](const std::string& names) {
    std::vector<Field> chosen;
    return ChooseFields(names, table, &chosen);
  };
  return app
      ->add_option("--fields", *fields,
                   "Write a row of tab-separated cells for each certificate, of these fields: " +
                       ListFields(table))
      ->type_name("NAME,...")
      ->check(CLI::Validator(check, ""));
}

void CheckRunOptions(const char* name, const RunOptions& options) {
  if (options.input.paths.empty() && options.input.list.empty()) throw CLI::RequiredError(name);
}

Style MakeStyle(const RunOptions& options, std::span<const Field> table, const char* locale) {
  Style style;
  style.format = options.json              ? Format::kJson
                 : options.ndjson          ? Format::kNdjson
                 : !options.fields.empty() ? Format::kFields
                                           : Format::kText;
  style.locale = locale;
  style.colour = ColourOfOutput();
  if (!options.fields.empty()) ChooseFields(options.fields, table, &style.fields);
  return style;
}

// ---- certificates --------------------------------------------------------------------------

void PieceWorker::Work(Batch* batch, Outcome* outcome) {
  presenter_.SetOutcome(outcome);
  for (const Piece& piece : batch->pieces) {
    const size_t before = outcome->out.size();
    try {
      OnPiece(batch, piece);
    } catch (const std::bad_alloc&) {
      // A certificate that is too large for the memory must not take the others with it.
      outcome->out.resize(before);
      Problem problem;
      problem.input = batch->InputOf(piece);
      problem.certificate = piece.number;
      problem.code = PKC_ERR_MALLOC;
      problem.reason = ReasonOf(problem.code);
      presenter_.Fail(problem);
    }
  }
}

void PieceWorker::OnPiece(Batch* batch, const Piece& piece) {
  pkc::Octets der;
  Problem problem;
  if (!decoder_.Decode(batch, piece, &der, &problem)) return presenter_.Fail(problem);
  OnCertificate(batch->InputOf(piece), piece.number, der);
}

// ---- the run -------------------------------------------------------------------------------

Run::Run(const RunOptions& options, const Style& style, Document document)
    : options_(options),
      style_(style),
      document_(std::move(document)),
      out_(STDOUT_FILENO),
      progress_(IsTerminal(STDERR_FILENO) && !IsTerminal(STDOUT_FILENO)) {}

int Run::Go(Reader* reader, std::function<bool(Batch*)> next,
            std::function<std::unique_ptr<BatchWorker>()> make_worker, int exit) {
  exit_ = exit;
  if (style_.format == Format::kJson) out_.Write(document_.opening);
  if (options_.header) out_.Write(FieldHeader(style_.fields));
  const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
  Pipeline pipeline({std::move(next), [this](const Outcome& outcome) { return Write(outcome); },
                     std::move(make_worker)},
                    options_.jobs != 0 ? options_.jobs : std::min(processors, kMostJobs));
  pipeline.Run();
  return End(reader);
}

bool Run::Write(const Outcome& outcome) {
  const std::string_view out = outcome.out;
  size_t at = 0;
  if (!shown_ && !out.empty()) {
    shown_ = true;
    at = style_.separated() ? 1 : 0;
  }
  for (const Outcome::Message& message : outcome.messages) {
    out_.Write(out.substr(at, message.at - std::min(at, message.at)));
    at = std::max(at, message.at);
    out_.Flush();
    Tell(message.text);
  }
  out_.Write(out.substr(at));
  document_.errors += outcome.errors;
  exit_ = std::max(exit_, outcome.exit);
  progress_.Add(outcome.certificates, outcome.failures, outcome.octets_read);
  return out_.Flush();
}

void Run::Tell(const std::string& text) {
  progress_.Erase();
  Output messages(STDERR_FILENO);
  messages.Write(text);
  messages.Flush();
}

int Run::End(Reader* reader) {
  progress_.Erase();
  if (style_.format == Format::kJson) {
    const std::string& errors = document_.errors;
    out_.Write(shown_ ? "\n  ],\n  \"errors\": " : "],\n  \"errors\": ");
    out_.Write(errors.empty() ? "[]" : '[' + errors.substr(1) + "\n  ]");
    out_.Write("\n}\n");
  }
  if (!out_.Flush()) {
    TellOutputFailure(out_.error());
    return kExitSystem;
  }
  if (options_.summary ||
      (style_.format != Format::kText && IsTerminal(STDERR_FILENO) && !IsTerminal(STDOUT_FILENO))) {
    Tell(progress_.Summary(reader->inputs()));
  }
  if (reader->missed()) {
    Tell("pkc: the input of --resume-from is not among the inputs\n");
    return kExitUsage;
  }
  const std::string point = Interrupt() != 0 ? reader->ResumePoint() : std::string();
  if (point.empty()) return exit_;
  std::string text = "pkc: interrupted; the rest comes with --resume-from ";
  AppendSafeText(point, Backslash::kDouble, &text);
  Tell(text + '\n');
  return 128 + Interrupt();
}

}  // namespace corvid::tool
