// A run over any number of certificates, from its options to its exit status: what several verbs
// share.
#ifndef CORVID_TOOLS_PKC_RUN_H_
#define CORVID_TOOLS_PKC_RUN_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "fields.h"
#include "input.h"
#include "output.h"
#include "pipeline.h"
#include "presenter.h"
#include "progress.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace corvid::tool {

struct RunOptions {
  InputOptions input;
  unsigned jobs = 0;  // 0: one a processor
  bool summary = false;
  bool json = false;
  bool ndjson = false;
  std::string fields;
  bool header = false;
};
// `name` is that of the positional argument, `table` has the fields that can be chosen.
void AddRunOptions(CLI::App* app, const char* name, const char* description,
                   std::span<const Field> table, RunOptions* options);
// The option --fields alone.
CLI::Option* AddFieldsOption(CLI::App* app, std::span<const Field> table, std::string* fields);
// Throws what CLI11 throws when no input is named.
void CheckRunOptions(const char* name, const RunOptions& options);
Style MakeStyle(const RunOptions& options, std::span<const Field> table, const char* locale);

// Works on the pieces of a batch, one after the other. One a thread.
class PieceWorker : public BatchWorker {
 public:
  explicit PieceWorker(const Style& style) : presenter_(style) {}
  void Work(Batch* batch, Outcome* outcome) override;

 protected:
  // Shows one certificate, or says why not.
  virtual void OnCertificate(std::string_view input, uint64_t number, pkc::Octets der) = 0;
  Presenter& presenter() { return presenter_; }

 private:
  void OnPiece(Batch* batch, const Piece& piece);

  PieceDecoder decoder_;
  Presenter presenter_;
};

// A JSON document begins with `opening`, which ends inside its list of certificates; then come its
// errors, of which some may be known before, each after a comma.
struct Document {
  std::string opening;
  std::string errors;
};

class Run {
 public:
  // The options outlive the run.
  Run(const RunOptions& options, const Style& style, Document document);

  // Works on all that `next` gives, which reads from the reader. Returns the exit status, at least
  // `exit`.
  int Go(Reader* reader, std::function<bool(Batch*)> next,
         std::function<std::unique_ptr<BatchWorker>()> make_worker, int exit);

 private:
  bool Write(const Outcome& outcome);
  void Tell(const std::string& text);
  int End(Reader* reader);

  const RunOptions& options_;
  const Style& style_;
  Document document_;
  Output out_;
  Progress progress_;
  bool shown_ = false;
  int exit_ = 0;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_RUN_H_
