// Writes a report as JSON. By hand, because a document of objects to fill, sort and print costs
// more than the certificate's decoding and digests together; and into room that was made for the
// whole report, because a string that grows by each bracket costs half as much again.
#include <charconv>
#include <cstring>

#include "escape.h"
#include "report.h"

namespace corvid::tool {
namespace {

class Writer {
 public:
  Writer(const Report& report, Layout layout, size_t depth, std::string* out)
      : report_(report), layout_(layout), outer_(depth), all_(*out) {}

  void Write() {
    const size_t before = all_.size();
    all_.resize(before + Bound());
    out_ = all_.data() + before;
    for (const Item& item : report_.items()) {
      if (item.kind == Kind::kEnd) {
        Close();
      } else if (item.key.exists() || open_.empty() || open_.back().kind == Kind::kList) {
        Begin(item);
        Value(item);
      }
    }
    all_.resize(static_cast<size_t>(out_ - all_.data()));
  }

 private:
  static constexpr size_t kNumber = 20;  // digits and sign

  struct Group {
    Kind kind;
    bool empty;
  };

  // As many octets as the report can take.
  size_t Bound() const {
    constexpr size_t kAround = 8;  // comma, quotes, colon, brackets
    size_t bound = 0;
    size_t depth = outer_ + 1;
    for (const Item& item : report_.items()) {
      const bool text = item.kind == Kind::kText || item.kind == Kind::kRendered;
      if (IsGroup(item)) ++depth;
      if (layout_ == Layout::kIndented) bound += 2 * depth;
      if (item.kind == Kind::kNumber) bound += kNumber;
      bound += kAround + item.key.view().size() + item.size * (text ? kMostJsonAnOctet : 2);
      if (item.kind == Kind::kEnd) --depth;
    }
    return bound;
  }

  void Put(char c) { *out_++ = c; }
  void Put(std::string_view text) {
    std::memcpy(out_, text.data(), text.size());
    out_ += text.size();
  }

  void NewLine() {
    if (layout_ == Layout::kLine) return;
    const size_t blanks = 2 * (outer_ + open_.size());
    Put('\n');
    std::memset(out_, ' ', blanks);
    out_ += blanks;
  }

  void Begin(const Item& item) {
    if (open_.empty()) return;
    if (!open_.back().empty) Put(',');
    open_.back().empty = false;
    NewLine();
    if (open_.back().kind == Kind::kList) return;
    Put('"');
    Put(item.key.view());
    Put('"');
    Put(':');
    if (layout_ == Layout::kIndented) Put(' ');
  }

  void Value(const Item& item) {
    const std::string_view octets = report_.octets(item);
    switch (item.kind) {
      case Kind::kObject:
      case Kind::kList:
        Put(item.kind == Kind::kObject ? '{' : '[');
        open_.push_back({item.kind, true});
        return;
      case Kind::kText:
        out_ = PutJsonString(octets, Backslash::kDouble, out_);
        return;
      case Kind::kRendered:
        out_ = PutJsonString(octets, Backslash::kKeep, out_);
        return;
      case Kind::kKnown:
        Put('"');
        Put(octets);
        Put('"');
        return;
      case Kind::kOctets:
        Put('"');
        out_ = PutHex(octets, out_);
        Put('"');
        return;
      case Kind::kFlag:
        return Put(item.number != 0 ? "true" : "false");
      case Kind::kNumber:
        out_ = std::to_chars(out_, out_ + kNumber, item.number).ptr;
        return;
      case Kind::kEnd:
        return;
    }
  }

  void Close() {
    const Group group = open_.back();
    open_.pop_back();
    if (!group.empty) NewLine();
    Put(group.kind == Kind::kObject ? '}' : ']');
  }

  const Report& report_;
  Layout layout_;
  size_t outer_;
  std::string& all_;
  char* out_ = nullptr;
  std::vector<Group> open_;
};

}  // namespace

void AppendJson(const Report& report, Layout layout, size_t depth, std::string* out) {
  Writer(report, layout, depth, out).Write();
}

}  // namespace corvid::tool
