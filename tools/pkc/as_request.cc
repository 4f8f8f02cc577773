// Writing requests.
#include "as_request.h"

#include <unistd.h>

#include <algorithm>
#include <optional>

#include "input.h"
#include "output.h"
#include "problem.h"
#include "refusals.h"
#include "report.h"
#include "time_text.h"

namespace corvid::tool {
namespace {

void Optional(const char* key, const std::optional<std::string>& text, Report* report) {
  if (text) report->Rendered(key, nullptr, {*text});
}

void Describe(const IssueRequest& request, Report* report) {
  report->Object(nullptr, nullptr);
  report->Rendered("schema", nullptr, {kRequestSchema});
  report->Rendered("subject", nullptr, {request.subject});
  if (request.serial_number != 0) {
    report->Number("serialNumber", nullptr, request.serial_number);
  } else {
    report->Rendered("serialNumber", nullptr, {"random"});
  }
  report->Object("validity", nullptr);
  report->Rendered("notBefore", nullptr, {TimeText(request.not_before).view()});
  report->Rendered("notAfter", nullptr, {TimeText(request.not_after).view()});
  report->End();
  const char* signature = SignatureName(request.signID);
  if (signature != nullptr) report->Rendered("signature", nullptr, {signature});
  pkc::Text base64;
  if (request.key_der && pkc::EncodeBase64(pkc::Octets(*request.key_der), &base64).ok()) {
    report->Object("publicKey", nullptr);
    report->Rendered("der", nullptr, {base64.view()});
    report->End();
  }
  report->Flag("selfSigned", nullptr, request.self_signed);
  report->Flag("ca", nullptr, request.ca);
  Optional("policy", request.policy, report);
  Optional("cps", request.cps, report);
  Optional("notice", request.notice, report);
  Optional("holderName", request.holder_name, report);
  if (request.vid) report->Octets("vid", nullptr, pkc::Octets(*request.vid));
  Optional("crl", request.crl, report);
  Optional("ocsp", request.ocsp, report);
  report->End();
}

class Writer {
 public:
  int Run(const std::vector<std::string>& inputs, bool recursive) {
    Finder finder([this](std::string_view input, uint64_t number,
                         pkc::Octets der) { return OnCertificate(input, number, der); },
                  [this](const Problem& problem) { return OnProblem(problem); });
    finder.Read(inputs, recursive);
    if (first_) Write(*first_, Layout::kIndented);
    if (out_.Flush()) return exit_;
    TellOutputFailure(out_.error());
    return kExitSystem;
  }

 private:
  bool OnCertificate(std::string_view input, uint64_t number, pkc::Octets der) {
    pkc::Certificate certificate;
    if (const pkc::Status status = certificate.Decode(der); !status.ok()) {
      return OnProblem(Undecoded(input, number, der, status));
    }
    std::vector<RequestNote> notes;
    Report report;
    Describe(MakeRequest(*certificate, der, &notes), &report);
    Problem note;
    note.input = input;
    note.certificate = number;
    for (RequestNote& line : notes) {
      note.path = std::move(line.key);
      note.reason = std::move(line.text);
      TellAside("note", note);
    }
    return Keep(std::move(report));
  }

  // The first one waits until it is known whether there are more.
  bool Keep(Report report) {
    if (!several_ && !first_) {
      first_ = std::move(report);
      return true;
    }
    several_ = true;
    if (first_) Write(*first_, Layout::kLine);
    first_.reset();
    return Write(report, Layout::kLine);
  }

  bool Write(const Report& report, Layout layout) {
    std::string text;
    AppendJson(report, layout, 0, &text);
    return out_.Write(text + '\n');
  }

  bool OnProblem(const Problem& problem) {
    Refusals refusals;
    refusals.Add(problem, kExitInput);
    exit_ = std::max(exit_, refusals.Tell());
    return out_.error() == 0;
  }

  Output out_{STDOUT_FILENO};
  std::optional<Report> first_;
  bool several_ = false;
  int exit_ = kExitGood;
};

}  // namespace

int ShowRequests(const std::vector<std::string>& inputs, bool recursive) {
  return Writer().Run(inputs, recursive);
}

}  // namespace corvid::tool
