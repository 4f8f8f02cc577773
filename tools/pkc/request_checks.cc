// The checks of requests and issuers.
#include "request_checks.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "certificate_checks.h"
#include "escape.h"

namespace corvid::tool {
namespace {

// ---- subjects ------------------------------------------------------------------------------

bool IsAscii(char c) { return static_cast<uint8_t>(c) < 0x80; }
bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
// X.680 section 41.4.
bool IsPrintable(char c) {
  return IsLetter(c) || (c >= '0' && c <= '9') ||
         (c != '\0' && std::string_view(" '()+,-./:=?").find(c) != std::string_view::npos);
}

// The attributes that the library stores as they are passed.
struct RawAttribute {
  std::string_view label;
  bool (*allows)(char c);
  size_t most;  // octets; more would be cut, or refused by the library
  const char* complaint;
};
constexpr size_t kAny = SIZE_MAX;
constexpr RawAttribute kRawAttributes[] = {
    {"C", IsLetter, 2, "C must be two letters"},
    {"E", IsAscii, 128, "E must be at most 128 ASCII characters"},
    {"ID", IsAscii, kAny, "ID must be ASCII"},
    {"DC", IsAscii, kAny, "DC must be ASCII"},
    {"DNQUALIFIER", IsPrintable, kAny, "DNQUALIFIER must be PrintableString characters"},
};

struct Attribute {
  Attribute() = default;
  Attribute(const Attribute&) = delete;
  Attribute& operator=(const Attribute&) = delete;
  ~Attribute() {
    CVD_BIN_LIST_Free(types);
    CVD_BIN_LIST_Free(values);
  }
  CVD_BIN_LIST* types = nullptr;
  CVD_BIN_LIST* values = nullptr;
};

std::string_view TextOf(const CVD_BIN_LIST* node) {
  return {reinterpret_cast<const char*>(node->data), node->length};
}

void CheckAttribute(std::string_view text, std::string_view input, std::string_view key,
                    Refusals* refusals) {
  Attribute attribute;
  const pkc::Status status = CVD_GetAttrTypeAndValue(text.data(), static_cast<int32_t>(text.size()),
                                                     &attribute.types, &attribute.values);
  if (!status.ok()) return refusals->Add(input, key, status);
  const std::string_view label = TextOf(attribute.types);
  const std::string_view value = TextOf(attribute.values);
  for (const RawAttribute& row : kRawAttributes) {
    const bool same = std::equal(label.begin(), label.end(), row.label.begin(), row.label.end(),
                                 [](char a, char b) { return (a & ~0x20) == b; });
    if (!same) continue;
    const bool good =
        value.size() <= row.most && std::all_of(value.begin(), value.end(), row.allows);
    if (!good) refusals->Add(input, key, row.complaint);
  }
}

// True for an escaped NUL, which would end the value unseen.
bool HoldsNul(std::string_view text) {
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') continue;
    if (text.substr(at + 1, 2) == "00") return true;
    ++at;
  }
  return false;
}

// ---- texts ---------------------------------------------------------------------------------

bool IsUri(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

// 0 for text that is no UTF-8.
size_t CountCharacters(std::string_view text) {
  size_t count = 0;
  for (size_t at = 0; at < text.size(); ++count) {
    const size_t size = ReadCharacter(text, at).size;
    if (size == 0) return 0;
    at += size;
  }
  return count;
}

class RequestCheck {
 public:
  RequestCheck(const IssueRequest& request, std::string_view input, Refusals* refusals)
      : request_(request), input_(input), refusals_(*refusals) {}

  // The library writes UTCTime, whose years are those (RFC 5280 section 4.1.2.5.1).
  void Validity() {
    constexpr int64_t kFirst = -631152000;  // 1950-01-01T00:00:00Z
    constexpr int64_t kLast = 2524607999;   // 2049-12-31T23:59:59Z
    if (request_.not_before < kFirst || request_.not_after > kLast) {
      Refuse("validity", "must lie in the years 1950 to 2049");
    }
    if (request_.not_before > request_.not_after) Refuse("validity", "ends before it begins");
  }

  // RFC 5280 section 4.2.1.4: a notice has 1 to 200 characters.
  void Policy() {
    constexpr size_t kMostNotice = 200;
    const bool has_policy = request_.policy.has_value();
    if (has_policy) {
      CVD_OID oid{0, nullptr};
      pkc::Text dotted;
      const pkc::Status status = CVD_ASN_DotVal2OID(&oid, request_.policy->c_str());
      const bool plain =
          status.ok() && pkc::DottedText(oid, &dotted).ok() && dotted.view() == *request_.policy;
      CVD_ASN_ResetOID(&oid);
      if (!status.ok()) refusals_.Add(input_, "policy", status);
      if (status.ok() && !plain) Refuse("policy", "has needless zeros");
    }
    Uri("cps", request_.cps);
    if (!has_policy && request_.cps) Refuse("cps", "needs a policy");
    if (!request_.notice) return;
    if (!has_policy) Refuse("notice", "needs a policy");
    const size_t count = CountCharacters(*request_.notice);
    if (count < 1 || count > kMostNotice) Refuse("notice", "must have 1 to 200 characters");
  }

  // The library declares every VID as one of SHA-1.
  void Identity() {
    constexpr size_t kSha1 = 20;
    if (request_.holder_name && !request_.vid) Refuse("holderName", "needs a vid");
    if (request_.vid && !request_.holder_name) Refuse("vid", "needs a holderName");
    if (request_.holder_name && CountCharacters(*request_.holder_name) == 0) {
      Refuse("holderName", "is empty");
    }
    if (request_.vid && request_.vid->size() != kSha1) {
      Refuse("vid", "must have 20 octets, as SHA-1 makes them");
    }
  }

  void Addresses() {
    Uri("crl", request_.crl);
    Uri("ocsp", request_.ocsp);
  }

 private:
  void Uri(std::string_view key, const std::optional<std::string>& uri) {
    if (uri && !IsUri(*uri)) Refuse(key, "must be a URI: ASCII characters without blanks");
  }
  void Refuse(std::string_view key, std::string reason) {
    refusals_.Add(input_, key, std::move(reason));
  }

  const IssueRequest& request_;
  std::string_view input_;
  Refusals& refusals_;
};

}  // namespace

void CheckSubject(const std::string& subject, std::string_view input, std::string_view key,
                  Refusals* refusals) {
  CVD_Name name{0, 0, nullptr};
  const pkc::Status status = CVD_ImplementRDN(nullptr, &name, subject.c_str());
  CVD_NameFree(&name);
  if (!status.ok()) return refusals->Add(input, key, status);
  if (HoldsNul(subject)) refusals->Add(input, key, "holds a NUL");
  // Attributes end at a comma that no backslash escapes, and at every plus sign.
  size_t begin = 0;
  bool escaped = false;
  for (size_t at = 0; at <= subject.size(); ++at) {
    const bool end = at == subject.size();
    if (end || subject[at] == '+' || (subject[at] == ',' && !escaped)) {
      if (at > begin) {
        CheckAttribute(std::string_view(subject).substr(begin, at - begin), input, key, refusals);
      }
      begin = at + 1;
    }
    escaped = !end && subject[at] == '\\' && !escaped;
  }
}

void CheckRequest(const IssueRequest& request, std::string_view input, Refusals* refusals) {
  CheckSubject(request.subject, input, "subject", refusals);
  RequestCheck check(request, input, refusals);
  check.Validity();
  check.Policy();
  check.Identity();
  check.Addresses();
}

void CheckIssuer(const CVD_Certificate& issuer, const IssueRequest& request, std::string_view input,
                 int64_t now, Refusals* refusals) {
  const CVD_TBSCertificate& tbs = issuer.tbsCertificate;
  if (tbs.subject.rdnSequence == nullptr) refusals->Add(input, "subject", "is empty");
  Checks checks;
  CheckIssuing(issuer, false, &checks);
  if (request.ca) CheckPathLength(issuer, 1, &checks);
  for (const Check& check : checks) {
    if (check.result == Result::kNo) refusals->Add(input, check.name, check.detail);
  }

  checks.clear();
  CheckValidity(issuer, now, &checks);
  Problem problem;
  problem.input = input;
  problem.path = "validity";
  if (checks.front().result == Result::kNo) {
    problem.reason = "the issuer is not valid now: " + checks.front().detail;
    TellAside("warning", problem);
  }
  if (request.not_before < pkc::Seconds(tbs.notBefore) ||
      request.not_after > pkc::Seconds(tbs.notAfter)) {
    problem.reason = "the certificate begins before its issuer, or ends after it";
    TellAside("warning", problem);
  }
}

}  // namespace corvid::tool
