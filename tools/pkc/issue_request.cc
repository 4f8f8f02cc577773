// Reading requests: the JSON is taken apart into values by path ("validity.days"), each of a type
// that a table allows there; then each value is read as what it means.
#include "issue_request.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "escape.h"
#include "secret.h"
#include "time_text.h"

namespace corvid::tool {
namespace {

using nlohmann::json;

// ---- the JSON ------------------------------------------------------------------------------

enum Type : uint8_t { kOther = 0, kText = 1, kNumber = 2, kFlag = 4, kObject = 8 };

struct Form {
  uint8_t types;
  const char* text;
};
constexpr Form kForms[] = {{kText, "text"},
                           {kNumber, "a whole number"},
                           {kNumber | kText, "a whole number or text"},
                           {kFlag, "true or false"},
                           {kObject, "an object"}};

struct KeyRow {
  std::string_view path;
  uint8_t types;
};
constexpr KeyRow kKeys[] = {
    {"schema", kText},
    {"subject", kText},
    {"serialNumber", kNumber | kText},
    {"validity", kObject},
    {"validity.days", kNumber},
    {"validity.notBefore", kText},
    {"validity.notAfter", kText},
    {"signature", kText},
    {"publicKey", kObject},
    {"publicKey.file", kText},
    {"publicKey.der", kText},
    {"selfSigned", kFlag},
    {"ca", kFlag},
    {"policy", kText},
    {"cps", kText},
    {"notice", kText},
    {"holderName", kText},
    {"vid", kText},
    {"crl", kText},
    {"ocsp", kText},
};
constexpr size_t kMostNested = 16;

struct Value {
  uint8_t type;
  std::string text;
  int64_t number;
};
using Values = std::map<std::string, Value, std::less<>>;

// The parser's events. What stands below an unknown key or in a list is passed over.
class Events : public nlohmann::json_sax<json> {
 public:
  Events(std::string_view text, std::string_view input, Refusals* refusals)
      : text_(text), input_(input), refusals_(*refusals) {}

  Values Release() { return std::move(values_); }

  bool null() override { return Add({kOther, {}, 0}); }
  bool boolean(bool value) override { return Add({kFlag, {}, value ? 1 : 0}); }
  bool number_integer(int64_t value) override { return Add({kNumber, {}, value}); }
  bool number_unsigned(uint64_t value) override {
    constexpr uint64_t kMost = std::numeric_limits<int64_t>::max();
    return Add({kNumber, {}, static_cast<int64_t>(std::min(value, kMost))});
  }
  bool number_float(double /*value*/, const std::string& /*text*/) override {
    return Add({kOther, {}, 0});
  }
  bool string(std::string& value) override {
    if (value.find('\0') != std::string::npos && passed_ == 0) Refuse(Path(), "holds a NUL");
    return Add({kText, value, 0});
  }
  bool binary(json::binary_t& /*value*/) override { return Add({kOther, {}, 0}); }

  bool start_object(size_t /*elements*/) override { return Open({kObject, {}, 0}); }
  bool end_object() override { return Close(); }
  bool start_array(size_t /*elements*/) override { return Open({kOther, {}, 0}); }
  bool end_array() override { return Close(); }

  bool key(std::string& name) override {
    key_ = name;
    return true;
  }

  // "... while parsing object - unexpected string literal; last read: '...'; expected '}'"
  bool parse_error(size_t position, const std::string& /*token*/,
                   const json::exception& error) override {
    const std::string_view before = text_.substr(0, position == 0 ? 0 : position - 1);
    Problem problem;
    problem.input = input_;
    problem.line = 1 + static_cast<uint32_t>(std::count(before.begin(), before.end(), '\n'));
    const size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    constexpr int kNumberOverflow = 406;
    std::string reason = error.id == kNumberOverflow ? "number is too large" : error.what();
    reason.erase(0, reason.find(" - ") == std::string::npos ? 0 : reason.find(" - ") + 3);
    const size_t last = reason.find("; last read: ");
    const size_t expected = reason.rfind("; expected ");
    if (last != std::string::npos) {
      reason.erase(last, expected == std::string::npos ? expected : expected - last);
    }
    problem.reason = "column " + std::to_string(column) + ": " + reason;
    refusals_.Add(std::move(problem));
    return false;
  }

 private:
  std::string Path() const { return outer_.empty() ? key_ : outer_ + '.' + key_; }

  void Refuse(std::string_view path, std::string reason) {
    std::string safe;
    AppendSafeText(path, Backslash::kDouble, &safe);
    refusals_.Add(input_, safe, std::move(reason));
  }

  // Keeps a value where one of its type may stand. False ends the reading.
  bool Add(Value value) {
    if (passed_ > 0) return true;
    if (depth_ == 0) {
      Refuse("", "is no JSON object");
      return false;
    }
    const std::string path = Path();
    const auto* row = std::find_if(std::begin(kKeys), std::end(kKeys),
                                   [&](const KeyRow& key) { return key.path == path; });
    if (row == std::end(kKeys)) {
      Refuse(path, "is unknown");
    } else if ((row->types & value.type) == 0) {
      const auto* form = std::find_if(std::begin(kForms), std::end(kForms),
                                      [&](const Form& f) { return f.types == row->types; });
      Refuse(path, std::string("must be ") + form->text);
    } else if (!values_.emplace(path, std::move(value)).second) {
      Refuse(path, "occurs more than once");
    } else {
      return true;
    }
    refused_ = true;
    return true;
  }

  bool Open(Value group) {
    const bool object = group.type == kObject;
    refused_ = false;
    if (!(depth_ == 0 && object) && !Add(std::move(group))) return false;
    if (passed_ > 0 || refused_) {
      ++passed_;
    } else if (depth_ > 0) {
      outer_ = key_;  // groups stand at the top alone
    }
    if (++depth_ <= kMostNested) return true;
    Refuse("", "is nested too deeply");
    return false;
  }

  bool Close() {
    --depth_;
    if (passed_ > 0) {
      --passed_;
    } else {
      outer_.clear();
    }
    return true;
  }

  std::string_view text_;
  std::string_view input_;
  Refusals& refusals_;
  Values values_;
  std::string outer_;  // the group at hand
  std::string key_;
  size_t depth_ = 0;
  size_t passed_ = 0;     // groups that are open and passed over
  bool refused_ = false;  // the last value
};

// ---- the meaning ---------------------------------------------------------------------------

struct Signature {
  int32_t signID;
  int32_t pkeyID;
  const char* name;
};
#define CORVID_SIGNATURE(number, name, oid, older, key, hash, text) {number, CVD_PKEY_##key, text},
constexpr Signature kSignatures[] = {CVD_SIGN_ALGORITHMS(CORVID_SIGNATURE)};
#undef CORVID_SIGNATURE

const Signature* FindSignature(int32_t signID) {
  const auto* row = std::find_if(std::begin(kSignatures), std::end(kSignatures),
                                 [signID](const Signature& s) { return s.signID == signID; });
  return row == std::end(kSignatures) ? nullptr : row;
}

// Names are compared without case and blanks.
std::string Folded(std::string_view name) {
  std::string folded;
  for (const char c : name) {
    if (c != ' ') folded.push_back(static_cast<char>(std::tolower(static_cast<uint8_t>(c))));
  }
  return folded;
}

struct TextRow {
  std::string_view path;
  std::optional<std::string> IssueRequest::*field;
};
constexpr TextRow kTexts[] = {
    {"publicKey.file", &IssueRequest::key_file},
    {"policy", &IssueRequest::policy},
    {"cps", &IssueRequest::cps},
    {"notice", &IssueRequest::notice},
    {"holderName", &IssueRequest::holder_name},
    {"crl", &IssueRequest::crl},
    {"ocsp", &IssueRequest::ocsp},
};

class Interpreter {
 public:
  Interpreter(Values values, std::string_view input, IssueRequest* request, Refusals* refusals)
      : values_(std::move(values)), input_(input), request_(*request), refusals_(*refusals) {}

  void Read(int64_t now) {
    const Value* schema = Find("schema");
    if (schema != nullptr && schema->text != kRequestSchema) Refuse("schema", "is another form");
    if (const Value* subject = Required("subject")) request_.subject = subject->text;
    for (const TextRow& row : kTexts) {
      if (const Value* value = Find(row.path)) request_.*row.field = value->text;
    }
    if (const Value* flag = Find("selfSigned")) request_.self_signed = flag->number != 0;
    if (const Value* flag = Find("ca")) request_.ca = flag->number != 0;
    SerialNumber();
    Validity(now);
    SignatureAlgorithm();
    PublicKey();
    Vid();
  }

 private:
  const Value* Find(std::string_view path) const {
    const auto found = values_.find(path);
    return found == values_.end() ? nullptr : &found->second;
  }

  const Value* Required(std::string_view path) {
    const Value* value = Find(path);
    if (value == nullptr) Refuse(path, "is missing");
    return value;
  }

  void Refuse(std::string_view path, std::string reason) {
    refusals_.Add(input_, path, std::move(reason));
  }

  // RFC 5280 section 4.1.2.2: positive.
  void SerialNumber() {
    const Value* value = Required("serialNumber");
    if (value == nullptr || (value->type == kText && value->text == "random")) return;
    if (value->type == kText || value->number < 1 || value->number > UINT32_MAX) {
      return Refuse("serialNumber", "must be 1 to 4294967295, or \"random\"");
    }
    request_.serial_number = static_cast<uint32_t>(value->number);
  }

  void Validity(int64_t now) {
    constexpr int64_t kMostDays = 36525;
    constexpr int64_t kDay = 86400;
    if (Required("validity") == nullptr) return;
    request_.not_before = now;
    Time("validity.notBefore", &request_.not_before);
    const Value* days = Find("validity.days");
    if ((days != nullptr) == (Find("validity.notAfter") != nullptr)) {
      return Refuse("validity", "must have one of days and notAfter");
    }
    if (days == nullptr) return Time("validity.notAfter", &request_.not_after);
    if (days->number < 1 || days->number > kMostDays) {
      return Refuse("validity.days", "must be 1 to " + std::to_string(kMostDays));
    }
    request_.not_after = request_.not_before + days->number * kDay;
  }

  void Time(std::string_view path, int64_t* seconds) {
    const Value* value = Find(path);
    if (value == nullptr) return;
    const bool formed = value->text.find('Z') != std::string::npos;  // else a mere number
    if (!formed || !ParseTime(value->text, seconds)) {
      Refuse(path, "must be a time like 2026-01-31T09:00:00Z");
    }
  }

  void SignatureAlgorithm() {
    const Value* value = Find("signature");
    if (value == nullptr) return;
    const auto* row =
        std::find_if(std::begin(kSignatures), std::end(kSignatures),
                     [&](const Signature& s) { return Folded(s.name) == Folded(value->text); });
    if (row == std::end(kSignatures)) return Refuse("signature", "is unknown");
    request_.signID = row->signID;
  }

  void PublicKey() {
    const Value* der = Find("publicKey.der");
    if (der != nullptr) {
      pkc::Bin octets;
      if (pkc::DecodeBase64(der->text.c_str(), &octets).ok()) {
        request_.key_der = octets.octets().text();
      } else {
        Refuse("publicKey.der", "is not base64");
      }
    }
    if (Find("publicKey") == nullptr) {
      if (!request_.self_signed) Refuse("publicKey", "is missing");
    } else if ((der != nullptr) == request_.key_file.has_value()) {
      Refuse("publicKey", "must have one of file and der");
    }
  }

  void Vid() {
    const Value* value = Find("vid");
    if (value == nullptr) return;
    Secret octets;
    if (!DecodeHex(value->text, &octets)) return Refuse("vid", "is not hexadecimal");
    request_.vid = octets.view();
  }

  Values values_;
  std::string_view input_;
  IssueRequest& request_;
  Refusals& refusals_;
};

}  // namespace

bool ReadRequest(std::string_view text, std::string_view input, int64_t now, IssueRequest* request,
                 Refusals* refusals) {
  const size_t before = refusals->problems().size();
  Events events(text, input, refusals);
  if (!json::sax_parse(text, &events) || refusals->problems().size() != before) return false;
  Interpreter(events.Release(), input, request, refusals).Read(now);
  return refusals->problems().size() == before;
}

const char* SignatureName(int32_t signID) {
  const Signature* row = FindSignature(signID);
  return row == nullptr ? nullptr : row->name;
}

int32_t KeyOfSignature(int32_t signID) {
  const Signature* row = FindSignature(signID);
  return row == nullptr ? int32_t{CVD_PKEY_UNKNOWN} : row->pkeyID;
}

int32_t DefaultSignature(int32_t pkeyID) {
  if (pkeyID == CVD_PKEY_RSA) return CVD_SIGN_SHA256_RSA;
  return pkeyID == CVD_PKEY_DSA ? int32_t{CVD_SIGN_SHA1_DSA} : 0;
}

}  // namespace corvid::tool
