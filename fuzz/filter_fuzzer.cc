// The lines of `pkc filter`. Input: the form of the answers, the size of the parts in which the
// lines arrive, then the lines. Contract: every line has one answer, in UTF-8, whatever the parts
// are: an object that any JSON parser accepts, or a row with every field in its cell.
#include <nlohmann/json.hpp>

#include "fuzz/input.h"
#include "line_filter.h"
#include "output.h"
#include "show_fields.h"

namespace {

using corvid::fuzz::Require;
using corvid::tool::Format;
using corvid::tool::Style;

std::string Answers(const Style& style, std::string_view text, size_t part) {
  corvid::tool::LineFilter filter(style, false);
  while (!text.empty()) {
    filter.text() += text.substr(0, part);
    text.remove_prefix(std::min(part, text.size()));
    filter.Answer(false);
  }
  filter.Answer(true);
  return filter.outcome().out;
}

void CheckAnswer(const Style& style, std::string_view answer) {
  Require(corvid::fuzz::IsUtf8(answer), "an answer is UTF-8");
  if (style.format == Format::kNdjson) {
    Require(nlohmann::json::accept(answer), "an answer is JSON");
  } else {
    const auto tabs = static_cast<size_t>(std::count(answer.begin(), answer.end(), '\t'));
    Require(tabs + 1 == style.fields.size(), "a row has a cell for each field");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  CVD_PKC_SetOption("dncase", "lower");
  Style style;
  style.locale = corvid::tool::FindCharset("utf-8");
  style.format = input.Below(2) == 0 ? Format::kNdjson : Format::kFields;
  style.fields.assign(std::begin(corvid::tool::kShowFields), std::end(corvid::tool::kShowFields));
  const size_t part = 1 + input.Octet();
  const std::string_view text = input.Rest().text();
  const auto line_ends = std::count(text.begin(), text.end(), '\n');
  const auto lines = line_ends + (text.empty() || text.back() == '\n' ? 0 : 1);
  const std::string answers = Answers(style, text, text.size());
  Require(std::count(answers.begin(), answers.end(), '\n') == lines, "each line has an answer");
  Require(answers.empty() || answers.back() == '\n', "answers end");
  Require(Answers(style, text, part) == answers, "parts do not matter");
  for (std::string_view rest = answers; !rest.empty(); rest.remove_prefix(rest.find('\n') + 1)) {
    CheckAnswer(style, rest.substr(0, rest.find('\n')));
  }
  return 0;
}
