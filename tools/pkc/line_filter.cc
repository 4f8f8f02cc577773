// Reading lines of base64 and hexadecimal.
#include "line_filter.h"

#include <algorithm>
#include <new>
#include <utility>

#include "problem.h"

namespace corvid::tool {
namespace {

constexpr size_t kLongestLine = 1U << 20;
constexpr std::string_view kBlanks = " \t\r";
// How columns of octets are written: by databases, and the same in a file with escapes.
constexpr std::string_view kHexPrefixes[] = {"\\x", "\\\\x", "0x"};

// The digits of a line that is hexadecimal. DER of a certificate begins with the octet 30, which is
// "30" in hexadecimal and "M" in base64, so that the first character decides.
bool IsHex(std::string_view* line) {
  for (const std::string_view prefix : kHexPrefixes) {
    if (line->substr(0, prefix.size()) != prefix) continue;
    line->remove_prefix(prefix.size());
    return true;
  }
  return line->front() == '3';
}

// Without a branch or a table, so that the compiler does many digits at once.
bool DecodeHex(std::string_view digits, std::string* octets) {
  octets->resize(digits.size() / 2);
  uint8_t bad = digits.size() % 2;
  const auto value_of = [&bad](char c) {
    const auto number = static_cast<uint8_t>(c - '0');
    const auto letter = static_cast<uint8_t>((c | 0x20) - 'a');
    bad = static_cast<uint8_t>(bad | ((number > 9) & (letter > 5)));
    return static_cast<uint8_t>(number > 9 ? letter + 10 : number);
  };
  char* out = octets->data();
  for (size_t i = 0; i < digits.size() / 2; ++i) {
    const uint8_t high = value_of(digits[2 * i]);
    out[i] = static_cast<char>(high << 4 | value_of(digits[2 * i + 1]));
  }
  return bad == 0;
}

}  // namespace

// Of a line that is too long only its end is waited for.
void LineFilter::Answer(bool end) {
  size_t begin = 0;
  for (size_t at; (at = text_.find('\n', std::max(begin, searched_))) != std::string::npos;) {
    Line(std::string_view(text_).substr(begin, at - begin));
    begin = searched_ = at + 1;
  }
  text_.erase(0, begin);
  searched_ = text_.size();
  if (end && (!text_.empty() || overlong_)) return Line(text_);
  if (searched_ <= kLongestLine) return;
  overlong_ = true;
  text_.clear();
  searched_ = 0;
}

void LineFilter::Line(std::string_view line) {
  const size_t before = outcome_.out.size();
  ++number_;
  try {
    if (std::exchange(overlong_, false) || line.size() > kLongestLine) {
      return Refuse("is longer than 1 MiB", 0);
    }
    Certificate(line);
  } catch (const std::bad_alloc&) {
    outcome_.out.resize(before);
    Refuse(ReasonOf(PKC_ERR_MALLOC), PKC_ERR_MALLOC);
  }
}

void LineFilter::Certificate(std::string_view line) {
  const size_t first = std::min(line.find_first_not_of(kBlanks), line.size());
  line = line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
  if (line.empty()) return Refuse("is empty", 0);
  if (IsHex(&line)) {
    if (!DecodeHex(line, &octets_)) return Refuse("is not hexadecimal", 0);
    return Show(std::string_view(octets_));
  }
  padded_ = line;
  // Padding may be left out.
  if (line.size() % 4 != 0 && line.find_first_of(kBlanks) == std::string_view::npos) {
    padded_.append(4 - line.size() % 4, '=');
  }
  const pkc::Status status = line.find('\0') == std::string_view::npos
                                 ? pkc::DecodeBase64(padded_.c_str(), &decoded_)
                                 : pkc::Status(CVD_CODEC_ERR_BASE64);
  if (!status.ok()) return Refuse(ReasonOf(status), status.code());
  Show(decoded_.octets());
}

void LineFilter::Show(pkc::Octets der) {
  if (reporter_.Read({"-", number_}, der)) {
    return presenter_.Show("-", number_, reporter_.report(), reporter_.problems());
  }
  Problem problem = reporter_.problems().front();
  problem.certificate = number_;
  presenter_.Fail(problem);
}

void LineFilter::Refuse(std::string reason, uint32_t code) {
  Problem problem;
  problem.input = "-";
  problem.certificate = number_;
  problem.code = code;
  problem.reason = std::move(reason);
  presenter_.Fail(problem);
}

}  // namespace corvid::tool
