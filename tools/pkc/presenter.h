// Puts reports and problems into the form that the user asked for. One a thread.
#ifndef CORVID_TOOLS_PKC_PRESENTER_H_
#define CORVID_TOOLS_PKC_PRESENTER_H_

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "fields.h"
#include "outcome.h"
#include "problem.h"
#include "report.h"

namespace corvid::tool {

enum class Format : uint8_t { kText, kJson, kNdjson, kFields };

struct Style {
  Format format = Format::kText;
  const char* locale = nullptr;  // of text and messages, as FindCharset tells it
  Colour colour = Colour::kNever;
  std::vector<Field> fields;

  // The items of these forms begin with one octet that separates them from the one before.
  bool separated() const { return format == Format::kText || format == Format::kJson; }
};

class Presenter {
 public:
  // `style` outlives the presenter.
  explicit Presenter(const Style& style) : style_(style) {}
  // What follows goes there.
  void SetOutcome(Outcome* outcome) { outcome_ = outcome; }

  // A certificate, and the problems that its report names. In a row of fields `answer`, when there
  // is one, is the problem that fills the columns of errors.
  void Show(std::string_view input, uint64_t number, const Report& report,
            const std::vector<Problem>& problems);
  void Show(std::string_view input, uint64_t number, const Report& report, const Problem* answer);
  // The exit status is at least that.
  void Raise(int exit) { outcome_->exit = std::max(outcome_->exit, exit); }
  // What stands in place of a certificate.
  void Fail(const Problem& problem);

 private:
  void Tell(const Problem& problem);

  const Style& style_;
  Outcome* outcome_ = nullptr;
  Report error_;
  FieldWriter field_writer_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_PRESENTER_H_
