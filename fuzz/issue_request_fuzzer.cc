// The JSON of a request, as `pkc issue` reads it. Input: text. Contract: what no JSON parser
// accepts is refused; each refusal is a message in UTF-8 without line ends; a request that is
// accepted reads as the same request when it is written out.
#include <nlohmann/json.hpp>

#include "fuzz/input.h"
#include "issue_request.h"
#include "request_checks.h"
#include "time_text.h"

namespace {

using corvid::fuzz::Require;
using corvid::tool::IssueRequest;
using corvid::tool::Refusals;
using nlohmann::json;

constexpr int64_t kNow = 1764547200;  // 2025-12-01 00:00:00 UTC

std::string TimeOf(int64_t seconds) { return std::string(corvid::tool::TimeText(seconds).view()); }

std::string Encoded(uint32_t (*encode)(const std::string& octets, char** text),
                    const std::string& octets) {
  corvid::pkc::Text text;
  Require(encode(octets, text.out()) == 0, "octets encode");
  return std::string(text.view());
}
uint32_t Base64(const std::string& octets, char** text) {
  const BIN bin = corvid::pkc::Octets(octets).bin();
  return CVD_BinToBase64(&bin, text);
}
uint32_t Hex(const std::string& octets, char** text) {
  const corvid::pkc::Octets view(octets);
  return CVD_BinToHex(view.data(), static_cast<uint32_t>(view.size()), text);
}

json Written(const IssueRequest& request) {
  json out{{"subject", request.subject},
           {"selfSigned", request.self_signed},
           {"ca", request.ca},
           {"validity",
            {{"notBefore", TimeOf(request.not_before)}, {"notAfter", TimeOf(request.not_after)}}}};
  out["serialNumber"] = "random";
  if (request.serial_number != 0) out["serialNumber"] = request.serial_number;
  if (request.signID != 0) out["signature"] = corvid::tool::SignatureName(request.signID);
  if (request.key_file) out["publicKey"]["file"] = *request.key_file;
  if (request.key_der) out["publicKey"]["der"] = Encoded(Base64, *request.key_der);
  if (request.policy) out["policy"] = *request.policy;
  if (request.cps) out["cps"] = *request.cps;
  if (request.notice) out["notice"] = *request.notice;
  if (request.holder_name) out["holderName"] = *request.holder_name;
  if (request.vid) out["vid"] = Encoded(Hex, *request.vid);
  if (request.crl) out["crl"] = *request.crl;
  if (request.ocsp) out["ocsp"] = *request.ocsp;
  return out;
}

void CheckRefusals(const Refusals& refusals) {
  for (const corvid::tool::Problem& problem : refusals.problems()) {
    const std::string message = Message(problem);
    Require(corvid::fuzz::IsUtf8(message), "a refusal is UTF-8");
    Require(message.find('\n') == std::string::npos, "a refusal is one line");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text = corvid::pkc::Octets(data, size).text();
  CVD_PKC_SetOption("locale", "ko_KR-UTF-8");
  IssueRequest request;
  Refusals refusals;
  ReadRequest(text, "input", kNow, &request, &refusals);
  CheckRefusals(refusals);
  Require(!refusals.empty() || json::accept(text), "what is no JSON is refused");
  if (!refusals.empty()) return 0;
  constexpr size_t kTimeForm = 20;  // a longer one is of the year 10000
  if (TimeOf(request.not_after).size() > kTimeForm) return 0;
  const json written = Written(request);
  IssueRequest again;
  ReadRequest(written.dump(), "input", kNow, &again, &refusals);
  Require(refusals.empty(), "a request that is written out is read");
  Require(Written(again) == written, "as the same request");
  CheckRequest(request, "input", &refusals);
  CheckRefusals(refusals);
  return 0;
}
