// Problems as messages and as objects.
#include "problem.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "escape.h"
#include "foreign.h"

namespace corvid::tool {

Exit Problem::exit() const {
  constexpr uint32_t kNoMemory[] = {CVD_ASN_ERR_MALLOC, CVD_CODEC_ERR_MALLOC, CVD_CSP_ERR_MALLOC,
                                    CVD_IO_ERR_MALLOC,  CVD_CRL_ERR_MALLOC,   PKC_ERR_MALLOC};
  const bool no_memory =
      std::find(std::begin(kNoMemory), std::end(kNoMemory), code) != std::end(kNoMemory);
  return no_memory ? kExitSystem : kExitInput;
}

std::string Place(std::string_view input, uint64_t number) {
  return std::string(input) + ": certificate " + std::to_string(number);
}

std::string Message(const Problem& problem) {
  std::string text;
  AppendSafeText(problem.input, Backslash::kDouble, &text);
  const auto out = std::back_inserter(text);
  if (problem.certificate != 0) fmt::format_to(out, ": certificate {}", problem.certificate);
  if (problem.line != 0) fmt::format_to(out, ": line {}", problem.line);
  if (problem.offset >= 0) fmt::format_to(out, ": octet {}", problem.offset);
  if (!problem.path.empty()) {
    text += problem.offset >= 0 ? " (" + problem.path + ')' : ": " + problem.path;
  }
  text += ": ";
  if (problem.code != 0) fmt::format_to(out, "{} ", static_cast<int32_t>(problem.code));
  AppendSafeText(problem.reason, Backslash::kKeep, &text);
  return text;
}

void Describe(const Problem& problem, Report* report) {
  report->Object(nullptr, nullptr);
  report->Text("schema", nullptr, "corvid.error/1");
  report->Text("input", nullptr, problem.input);
  if (problem.certificate != 0)
    report->Number("certificate", nullptr, static_cast<int64_t>(problem.certificate));
  if (problem.line != 0) report->Number("line", nullptr, static_cast<int64_t>(problem.line));
  if (problem.offset >= 0) report->Number("offset", nullptr, problem.offset);
  if (!problem.path.empty()) report->Text("path", nullptr, problem.path);
  if (problem.code != 0) {
    report->Number("code", nullptr, static_cast<int32_t>(problem.code));
  }
  report->Text("reason", nullptr, problem.reason);
  report->End();
}

Problem Undecoded(std::string_view input, uint64_t number, pkc::Octets der, pkc::Status status) {
  const CVD_ASNFailure failure = pkc::DecodeFailure(status);
  Problem problem;
  problem.input = input;
  problem.certificate = number;
  problem.code = status.code();
  const char* foreign = problem.exit() == kExitInput ? NameForeignDer(der) : nullptr;
  if (foreign != nullptr) {
    problem.code = 0;
    problem.reason = std::string("is ") + foreign + ", not a certificate";
    if (number == 1) problem.certificate = 0;
    return problem;
  }
  problem.offset = failure.offset;
  problem.path = failure.path;
  problem.reason = ReasonOf(status);
  return problem;
}

std::string ReasonOf(pkc::Status status) {
  const char* reason = status.reason();
  return *reason != '\0' ? reason : "refused";
}

}  // namespace corvid::tool
