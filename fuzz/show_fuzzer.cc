// What the command says of a certificate. Input: a choice of labels, then DER. Contract: the report
// is one line of JSON that any parser accepts, and text without control characters but line feeds;
// both are UTF-8, also of what does not decode.
#include <nlohmann/json.hpp>

#include "fuzz/input.h"
#include "reporter.h"

namespace {

using corvid::fuzz::IsUtf8;
using corvid::fuzz::Require;

void CheckJson(const std::string& json) {
  Require(IsUtf8(json), "JSON is UTF-8");
  Require(json.find('\n') == std::string::npos, "a report is one line");
  Require(nlohmann::json::accept(json), "JSON parses");
}

void CheckText(const std::string& text) {
  Require(IsUtf8(text), "text is UTF-8");
  Require(std::none_of(
              text.begin(), text.end(),
              [](char c) { return (static_cast<uint8_t>(c) < 0x20 && c != '\n') || c == '\x7F'; }),
          "text holds no control characters");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static corvid::tool::Reporter reporters[] = {corvid::tool::Reporter(false),
                                               corvid::tool::Reporter(true)};
  corvid::fuzz::Input input(data, size);
  const uint32_t choice = input.Below(2);
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  CVD_PKC_SetOption("dncase", choice == 0 ? "lower" : "upper");
  corvid::tool::Reporter& reporter = reporters[choice];
  std::string json;
  std::string text;
  if (reporter.Read({"input\xFF", 1}, input.Rest())) {
    AppendJson(reporter.report(), corvid::tool::Layout::kLine, 0, &json);
    AppendText(reporter.report(), corvid::tool::Colour::kNever, &text);
    CheckJson(json);
    CheckText(text);
  }
  for (const corvid::tool::Problem& problem : reporter.problems()) {
    corvid::tool::Report report;
    Describe(problem, &report);
    json.clear();
    AppendJson(report, corvid::tool::Layout::kLine, 0, &json);
    CheckJson(json);
    CheckText(Message(problem));
  }
  return 0;
}
