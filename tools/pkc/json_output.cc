// Writes a report as JSON. By hand, because a document of objects to fill, sort and print costs
// more than the certificate's decoding and digests together.
#include <charconv>

#include "escape.h"
#include "report.h"

namespace corvid::tool {
namespace {

class Writer {
 public:
  Writer(const Report& report, Layout layout, size_t depth, std::string* out)
      : report_(report), layout_(layout), outer_(depth), out_(*out) {}

  void Write() {
    for (const Item& item : report_.items()) {
      if (item.kind == Kind::kEnd) {
        Close();
      } else if (item.key != nullptr || open_.empty() || open_.back().kind == Kind::kList) {
        Begin(item);
        Value(item);
      }
    }
  }

 private:
  struct Group {
    Kind kind;
    bool empty;
  };

  void NewLine() {
    if (layout_ == Layout::kLine) return;
    out_.push_back('\n');
    out_.append(2 * (outer_ + open_.size()), ' ');
  }

  void Begin(const Item& item) {
    if (open_.empty()) return;
    if (!open_.back().empty) out_.push_back(',');
    open_.back().empty = false;
    NewLine();
    if (open_.back().kind == Kind::kList) return;
    out_.push_back('"');
    out_ += item.key;
    out_ += layout_ == Layout::kLine ? "\":" : "\": ";
  }

  void Value(const Item& item) {
    const std::string_view octets = report_.octets(item);
    switch (item.kind) {
      case Kind::kObject:
      case Kind::kList:
        out_.push_back(item.kind == Kind::kObject ? '{' : '[');
        open_.push_back({item.kind, true});
        return;
      case Kind::kText:
        return AppendJsonString(octets, Backslash::kDouble, &out_);
      case Kind::kRendered:
        return AppendJsonString(octets, Backslash::kKeep, &out_);
      case Kind::kOctets:
        out_.push_back('"');
        AppendHex(octets, &out_);
        out_.push_back('"');
        return;
      case Kind::kFlag:
        out_ += item.number != 0 ? "true" : "false";
        return;
      case Kind::kNumber: {
        char digits[24];
        out_.append(digits, std::to_chars(digits, digits + sizeof digits, item.number).ptr);
        return;
      }
      case Kind::kEnd:
        return;
    }
  }

  void Close() {
    const Group group = open_.back();
    open_.pop_back();
    if (!group.empty) NewLine();
    out_.push_back(group.kind == Kind::kObject ? '}' : ']');
  }

  const Report& report_;
  Layout layout_;
  size_t outer_;
  std::string& out_;
  std::vector<Group> open_;
};

}  // namespace

void AppendJson(const Report& report, Layout layout, size_t depth, std::string* out) {
  Writer(report, layout, depth, out).Write();
}

}  // namespace corvid::tool
