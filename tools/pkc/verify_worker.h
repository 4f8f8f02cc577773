// Answers for one certificate after the other: looks for its chain and reports every check.
#ifndef CORVID_TOOLS_PKC_VERIFY_WORKER_H_
#define CORVID_TOOLS_PKC_VERIFY_WORKER_H_

#include <string>
#include <string_view>
#include <vector>

#include "chain.h"
#include "report.h"
#include "reporter.h"
#include "run.h"

namespace corvid::tool {

// What all answers rest on. Nobody changes it once the workers are there.
struct Evidence {
  CertificateStore store;
  std::vector<GivenList> lists;
  Question question{};
};

class VerifyWorker : public PieceWorker {
 public:
  VerifyWorker(const Style& style, const Evidence& evidence)
      : PieceWorker(style), style_(style), evidence_(evidence) {}

 private:
  void OnCertificate(std::string_view input, uint64_t number, pkc::Octets der) override;
  void Answer(std::string_view input, uint64_t number, const Candidate& target);
  void Certificate(const CheckedCertificate& checked, bool first);
  void Line(const Check& check);

  const Style& style_;
  const Evidence& evidence_;
  SignatureCache cache_;
  Reporter names_{false};
  Report report_;
};

// Where the certificate comes from, and its names, for those who read the answer.
void Describe(std::string_view input, uint64_t number, Reporter* names, Candidate* candidate);

// The fields of an answer that a row may have. `failed` is the first check that says no.
constexpr Field kVerifyFields[] = {
    {"input", "input"},
    {"certificate", "certificate"},
    {"subject", "subject"},
    {"answer", "answer"},
    {"failed", "failed"},
    kCodeField,
    kReasonField,
    kOffsetField,
    kPathField,
    kLineField,
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_VERIFY_WORKER_H_
