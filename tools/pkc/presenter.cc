// The four forms of output.
#include "presenter.h"

#include <string>

#include "output.h"

namespace corvid::tool {

void Presenter::Show(std::string_view input, uint64_t number, const Report& report,
                     const std::vector<Problem>& problems) {
  Show(input, number, report, problems.empty() ? nullptr : &problems.front());
  for (const Problem& problem : problems) Tell(problem);
}

void Presenter::Show(std::string_view input, uint64_t number, const Report& report,
                     const Problem* answer) {
  std::string& out = outcome_->out;
  ++outcome_->certificates;
  switch (style_.format) {
    case Format::kText: {
      std::string text = "\n";
      AppendHeading(Place(input, number), style_.colour, &text);
      AppendText(report, style_.colour, &text);
      out += ToCharset(style_.locale, text);
      return;
    }
    case Format::kJson:
      out += ",\n    ";
      return AppendJson(report, Layout::kIndented, 2, &out);
    case Format::kNdjson:
      AppendJson(report, Layout::kLine, 0, &out);
      return out.push_back('\n');
    case Format::kFields:
      error_.Clear();
      if (answer != nullptr) Describe(*answer, &error_);
      return field_writer_.Append(style_.fields, report, error_, &out);
  }
}

void Presenter::Fail(const Problem& problem) {
  ++outcome_->failures;
  Tell(problem);
  if (style_.format == Format::kText) return;
  error_.Clear();
  Describe(problem, &error_);
  if (style_.format == Format::kJson) {
    outcome_->errors += ",\n    ";
    AppendJson(error_, Layout::kIndented, 2, &outcome_->errors);
  } else if (style_.format == Format::kNdjson) {
    AppendJson(error_, Layout::kLine, 0, &outcome_->out);
    outcome_->out.push_back('\n');
  } else {
    field_writer_.Append(style_.fields, error_, error_, &outcome_->out);
  }
}

// After what was shown so far, for those who see both in one terminal.
void Presenter::Tell(const Problem& problem) {
  Raise(problem.exit());
  outcome_->messages.push_back(
      {outcome_->out.size(), ToCharset(style_.locale, "pkc: " + Message(problem) + '\n')});
}

}  // namespace corvid::tool
