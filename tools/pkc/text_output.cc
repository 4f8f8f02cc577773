// Writes a report as text for people: one line an item, values in one column, hexadecimal wrapped.
#include <unistd.h>

#include <charconv>
#include <cstdlib>

#include "escape.h"
#include "report.h"

namespace corvid::tool {
namespace {

constexpr size_t kValueColumn = 30;
constexpr size_t kOctetsALine = 32;
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kLabelColour = "\x1b[36m";
constexpr std::string_view kPlain = "\x1b[0m";

class Writer {
 public:
  Writer(const Report& report, Colour colour, std::string* out)
      : report_(report), colour_(colour == Colour::kTerminal), out_(*out) {}

  void Write() {
    for (const Item& item : report_.items()) {
      switch (item.kind) {
        case Kind::kObject:
        case Kind::kList:
          Open(item);
          break;
        case Kind::kEnd:
          if (indents_.back()) depth_--;
          indents_.pop_back();
          break;
        default:
          if (item.label != nullptr) Line(item);
      }
    }
  }

 private:
  // A group with neither label nor headline has no line, and its items no level of their own.
  void Open(const Item& item) {
    const bool shown = item.label != nullptr || item.size > 0;
    if (shown) Line(item);
    indents_.push_back(shown);
    if (shown) depth_++;
  }

  void Line(const Item& item) {
    const size_t indent = 2 * depth_;
    const std::string_view label = item.label != nullptr ? item.label : "";
    out_.append(indent, ' ');
    if (colour_ && !label.empty()) out_ += kLabelColour;
    AppendSafeText(label, Backslash::kKeep, &out_);
    if (colour_ && !label.empty()) out_ += kPlain;
    if (!label.empty() && HasValue(item)) {
      const size_t column = indent + label.size();
      out_.append(column + 2 <= kValueColumn ? kValueColumn - column : 2, ' ');
    }
    Value(item);
    out_.push_back('\n');
  }

  static bool HasValue(const Item& item) {
    return item.size > 0 || item.kind == Kind::kNumber || item.kind == Kind::kFlag;
  }

  void Value(const Item& item) {
    const std::string_view octets = report_.octets(item);
    char digits[24];
    switch (item.kind) {
      case Kind::kNumber:
        out_.append(digits, std::to_chars(digits, digits + sizeof digits, item.number).ptr);
        return;
      case Kind::kFlag:
        out_ += item.number != 0 ? "yes" : "no";
        return;
      case Kind::kOctets:
        return Hex(octets);
      case Kind::kText:
        return AppendSafeText(octets, Backslash::kDouble, &out_);
      default:
        return AppendSafeText(octets, Backslash::kKeep, &out_);
    }
  }

  void Hex(pkc::Octets octets) {
    for (size_t at = 0; at < octets.size(); at += kOctetsALine) {
      if (at > 0) {
        out_.push_back('\n');
        out_.append(kValueColumn, ' ');
      }
      AppendHex(octets.Slice(at, kOctetsALine), &out_);
    }
  }

  const Report& report_;
  bool colour_;
  std::string& out_;
  size_t depth_ = 0;
  std::vector<bool> indents_;
};

}  // namespace

Colour ColourOfOutput() {
  const bool shown = isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
  return shown ? Colour::kTerminal : Colour::kNever;
}

void AppendHeading(std::string_view heading, Colour colour, std::string* out) {
  if (colour == Colour::kTerminal) *out += kBold;
  AppendSafeText(heading, Backslash::kDouble, out);
  if (colour == Colour::kTerminal) *out += kPlain;
  out->push_back('\n');
}

void AppendText(const Report& report, Colour colour, std::string* out) {
  Writer(report, colour, out).Write();
}

}  // namespace corvid::tool
