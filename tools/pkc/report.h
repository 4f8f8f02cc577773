// The neutral document that every verb builds and that text and JSON are written from: a flat
// sequence of items, whose octets lie in one buffer. Cleared, it keeps its memory, so that a run
// over many certificates allocates next to nothing.
//
// An item has a JSON key and a text label, both literals or otherwise longer-lived than the report.
// Without a label it is left out of the text, without a key out of the JSON (elements of a list
// have no keys). A group may have a headline, which only the text shows.
#ifndef CORVID_TOOLS_PKC_REPORT_H_
#define CORVID_TOOLS_PKC_REPORT_H_

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "corvid/pkc.hpp"

namespace corvid::tool {

enum class Kind : uint8_t {
  kObject,    // a group; its items follow, up to its kEnd
  kList,      // the same, of elements without keys
  kEnd,       // of the innermost open group
  kText,      // octets of unknown origin, meant as UTF-8
  kRendered,  // text with escapes of its own
  kKnown,     // text of ours, in which nothing has to be escaped
  kOctets,    // shown in hexadecimal
  kNumber,
  kFlag
};

// A literal, or null. Its length is known where it is written.
class Key {
 public:
  // NOLINTBEGIN(google-explicit-constructor)
  constexpr Key(std::nullptr_t) : text_(nullptr), size_(0) {}
  constexpr Key(const char* text)
      : text_(text), size_(static_cast<uint32_t>(std::char_traits<char>::length(text))) {}
  // NOLINTEND(google-explicit-constructor)
  constexpr bool exists() const { return text_ != nullptr; }
  constexpr std::string_view view() const { return {text_, size_}; }

 private:
  const char* text_;
  uint32_t size_;
};

struct Item {
  Kind kind;
  Key key;
  const char* label;
  size_t begin;  // in the report's buffer; of a group its headline
  size_t size;
  int64_t number;
};

inline bool IsGroup(const Item& item) {
  return item.kind == Kind::kObject || item.kind == Kind::kList;
}

class Report {
 public:
  using Parts = std::initializer_list<std::string_view>;

  void Clear() {
    items_.clear();
    octets_.clear();
  }
  void Object(Key key, const char* label, Parts headline = {}) {
    Add(Kind::kObject, key, label, headline);
  }
  void List(Key key, const char* label, Parts headline = {}) {
    Add(Kind::kList, key, label, headline);
  }
  void End() { Add(Kind::kEnd, nullptr, nullptr, {}); }
  void Text(Key key, const char* label, std::string_view octets) {
    Add(Kind::kText, key, label, {octets});
  }
  void Rendered(Key key, const char* label, Parts text) { Add(Kind::kRendered, key, label, text); }
  void Known(Key key, const char* label, std::string_view text) {
    Add(Kind::kKnown, key, label, {text});
  }
  void Octets(Key key, const char* label, pkc::Octets octets) {
    Add(Kind::kOctets, key, label, {octets.text()});
  }
  void Number(Key key, const char* label, int64_t number) {
    Add(Kind::kNumber, key, label, {}, number);
  }
  void Flag(Key key, const char* label, bool value) {
    Add(Kind::kFlag, key, label, {}, value ? 1 : 0);
  }

  const std::vector<Item>& items() const { return items_; }
  std::string_view octets(const Item& item) const {
    return std::string_view(octets_).substr(item.begin, item.size);
  }

 private:
  void Add(Kind kind, Key key, const char* label, Parts parts, int64_t number = 0) {
    const size_t begin = octets_.size();
    for (const std::string_view part : parts) octets_ += part;
    items_.push_back({kind, key, label, begin, octets_.size() - begin, number});
  }

  std::vector<Item> items_;
  std::string octets_;
};

// Appends the report's objects as JSON: in one line, or indented by two blanks a level, beginning
// at `depth`.
enum class Layout { kLine, kIndented };
void AppendJson(const Report& report, Layout layout, size_t depth, std::string* out);

// Appends the report as aligned lines, indented by two blanks below a heading of the caller's.
enum class Colour { kNever, kTerminal };
// kTerminal when standard output is one, unless the environment says NO_COLOR.
Colour ColourOfOutput();
void AppendHeading(std::string_view heading, Colour colour, std::string* out);
void AppendText(const Report& report, Colour colour, std::string* out);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_REPORT_H_
