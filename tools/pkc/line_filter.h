// The answers of `pkc filter`: one line for each line, whatever it holds.
#ifndef CORVID_TOOLS_PKC_LINE_FILTER_H_
#define CORVID_TOOLS_PKC_LINE_FILTER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "outcome.h"
#include "presenter.h"
#include "reporter.h"

namespace corvid::tool {

class LineFilter {
 public:
  // `style` outlives the filter.
  LineFilter(const Style& style, bool upper_labels) : presenter_(style), reporter_(upper_labels) {
    presenter_.SetOutcome(&outcome_);
  }
  LineFilter(const LineFilter&) = delete;
  LineFilter& operator=(const LineFilter&) = delete;

  // What was read and not yet answered; more is appended.
  std::string& text() { return text_; }
  // Answers the lines that are whole, and at the end of the input the last one, too.
  void Answer(bool end);
  Outcome& outcome() { return outcome_; }

 private:
  void Line(std::string_view line);
  void Certificate(std::string_view line);
  void Show(pkc::Octets der);
  void Refuse(std::string reason, uint32_t code);

  Outcome outcome_;
  Presenter presenter_;
  Reporter reporter_;
  std::string text_;
  size_t searched_ = 0;    // octets of it that have no line's end
  bool overlong_ = false;  // the line at hand, whose beginning is gone
  uint64_t number_ = 0;
  pkc::Bin decoded_;
  std::string octets_;
  std::string padded_;
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_LINE_FILTER_H_
