// Reporting the answer about a certificate.
#include "verify_worker.h"

#include <algorithm>

#include "time_text.h"

namespace corvid::tool {
namespace {

std::string NameText(const CVD_Name& name, Reporter* names) {
  return name.rdnSequence == nullptr ? "(empty)" : names->NameText(name);
}

const Check* FindNo(const Verdict& verdict) {
  for (const CheckedCertificate& checked : verdict.chain) {
    const auto no = std::find_if(checked.checks.begin(), checked.checks.end(),
                                 [](const Check& check) { return check.result == Result::kNo; });
    if (no != checked.checks.end()) return &*no;
  }
  return nullptr;
}

// "36050 invalid signature, <detail>", as far as there is something to say.
std::string Explain(const Check& check, bool with_code) {
  std::string text;
  if (check.code != 0) {
    if (with_code) text = std::to_string(static_cast<int32_t>(check.code)) + ' ';
    text += ReasonOf(check.code);
  }
  if (!text.empty() && !check.detail.empty()) text += ", ";
  return text + check.detail;
}

}  // namespace

void Describe(std::string_view input, uint64_t number, Reporter* names, Candidate* candidate) {
  const CVD_TBSCertificate& tbs = candidate->certificate->tbsCertificate;
  candidate->input = input;
  candidate->number = number;
  candidate->subject = NameText(tbs.subject, names);
  candidate->issuer = NameText(tbs.issuer, names);
}

// A certificate that was given as another one's issuer, too, may be trusted.
void VerifyWorker::OnCertificate(std::string_view input, uint64_t number, pkc::Octets der) {
  if (const Candidate* stored = evidence_.store.Find(der); stored != nullptr) {
    return Answer(input, number, *stored);
  }
  Candidate target;
  if (const pkc::Status status = target.Load(der); !status.ok()) {
    return presenter().Fail(Undecoded(input, number, der, status));
  }
  Describe(input, number, &names_, &target);
  Answer(input, number, target);
}

void VerifyWorker::Answer(std::string_view input, uint64_t number, const Candidate& target) {
  const Verdict verdict =
      VerifyChain(evidence_.store, evidence_.lists, evidence_.question, target, &cache_);
  const Check* no = FindNo(verdict);
  if (!verdict.valid) presenter().Raise(kExitNo);
  report_.Clear();
  report_.Object(nullptr, nullptr);
  if (style_.format == Format::kNdjson) {
    report_.Text("schema", nullptr, "corvid.answer/1");
    report_.Rendered("at", nullptr, {TimeText(evidence_.question.at).view()});
  }
  report_.Text("input", nullptr, input);
  report_.Number("certificate", nullptr, static_cast<int64_t>(number));
  report_.Rendered("subject", nullptr, {target.subject});
  report_.List("chain", nullptr);
  for (const CheckedCertificate& checked : verdict.chain) {
    Certificate(checked, &checked == &verdict.chain.front());
  }
  report_.End();
  report_.Rendered("answer", "Answer", {verdict.valid ? "yes" : "no"});
  if (no != nullptr) report_.Rendered("failed", nullptr, {no->name});
  report_.End();
  Problem problem;
  if (no != nullptr) {
    problem.code = no->code;
    problem.reason = Explain(*no, false);
  }
  presenter().Show(input, number, report_, no == nullptr ? nullptr : &problem);
}

void VerifyWorker::Certificate(const CheckedCertificate& checked, bool first) {
  const Candidate& given = *checked.given;
  const char* label = given.trusted ? "Trust anchor" : first ? "Certificate" : "Issuer";
  report_.Object(nullptr, label, {given.subject});
  report_.Rendered("subject", nullptr, {given.subject});
  report_.Text("input", nullptr, given.input);
  report_.Number("certificate", nullptr, static_cast<int64_t>(given.number));
  report_.Flag("trusted", nullptr, given.trusted);
  if (!first) report_.Text(nullptr, "input", Place(given.input, given.number));
  report_.List("checks", nullptr);
  for (const Check& check : checked.checks) Line(check);
  report_.End();
  report_.End();
}

void VerifyWorker::Line(const Check& check) {
  constexpr const char* kResults[] = {"ok", "warning", "no"};
  const char* result = kResults[static_cast<size_t>(check.result)];
  const std::string explanation = Explain(check, true);
  report_.Object(nullptr, check.name, {result, explanation.empty() ? "" : ": ", explanation});
  report_.Rendered("check", nullptr, {check.name});
  report_.Rendered("result", nullptr, {result});
  if (check.code != 0) {
    Problem problem;
    problem.code = check.code;
    if (problem.exit() == kExitSystem) presenter().Raise(kExitSystem);
    report_.Number("code", nullptr, static_cast<int32_t>(check.code));
    report_.Rendered("reason", nullptr, {ReasonOf(check.code)});
  }
  if (!check.detail.empty()) report_.Rendered("detail", nullptr, {check.detail});
  report_.End();
}

}  // namespace corvid::tool
