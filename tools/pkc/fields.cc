// Looking up fields in a report's flat items, and writing them as cells.
#include "fields.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "escape.h"

namespace corvid::tool {
namespace {

constexpr size_t kNone = SIZE_MAX;

// Splits off what stands before the separator.
std::string_view TakeStep(std::string_view* path, char separator) {
  const size_t end = std::min(path->find(separator), path->size());
  const std::string_view step = path->substr(0, end);
  path->remove_prefix(std::min(end + 1, path->size()));
  return step;
}

}  // namespace

std::string ChooseFields(std::string_view names, std::span<const Field> table,
                         std::vector<Field>* chosen) {
  chosen->clear();
  do {
    const std::string_view name = TakeStep(&names, ',');
    const auto row = std::find_if(table.begin(), table.end(),
                                  [name](const Field& field) { return field.name == name; });
    if (row == table.end()) return "there is no field \"" + std::string(name) + '"';
    chosen->push_back(*row);
  } while (!names.empty());
  return {};
}

std::string ListFields(std::span<const Field> table) {
  std::string list;
  for (const Field& field : table) list += (list.empty() ? "" : ", ") + std::string(field.name);
  return list;
}

std::string FieldHeader(const std::vector<Field>& fields) {
  std::string header;
  for (const Field& field : fields)
    header += (header.empty() ? "" : "\t") + std::string(field.name);
  return header + '\n';
}

void FieldWriter::Append(const std::vector<Field>& fields, const Report& report,
                         const Report& problem, std::string* out) {
  IndexGroups(report, &report_ends_);
  IndexGroups(problem, &problem_ends_);
  out_ = out;
  for (const Field& field : fields) {
    if (&field != fields.data()) out->push_back('\t');
    first_ = true;
    report_ = field.of_problem ? &problem : &report;
    ends_ = field.of_problem ? &problem_ends_ : &report_ends_;
    if (!report_->items().empty()) Select(0, field.path);
  }
  out->push_back('\n');
}

void FieldWriter::IndexGroups(const Report& report, std::vector<size_t>* ends) {
  const std::vector<Item>& items = report.items();
  ends->resize(items.size());
  for (size_t at = 0; at < items.size(); ++at) {
    (*ends)[at] = at;
    if (IsGroup(items[at])) open_.push_back(at);
    if (items[at].kind != Kind::kEnd) continue;
    (*ends)[open_.back()] = at;
    open_.pop_back();
  }
}

// Writes what the path leads to from the item on.
void FieldWriter::Select(size_t at, std::string_view path) {
  if (path.empty()) return Value(at);
  const std::string_view step = TakeStep(&path, '.');
  const Item& item = report_->items()[at];
  if (item.kind == Kind::kList) return SelectIn(at, step, path);
  if (item.kind != Kind::kObject) return;
  const size_t child = Child(at, step);
  if (child != kNone) Select(child, path);
}

void FieldWriter::SelectIn(size_t group, std::string_view step, std::string_view rest) {
  const std::vector<Item>& items = report_->items();
  for (size_t at = group + 1; at < (*ends_)[group]; at = Next(at)) {
    if (step == "*") {
      Select(at, rest);
      continue;
    }
    const size_t name = items[at].kind == Kind::kObject ? Child(at, "name") : kNone;
    if (name != kNone && report_->octets(items[name]) == step) Select(at, rest);
  }
}

size_t FieldWriter::Child(size_t group, std::string_view key) const {
  const std::vector<Item>& items = report_->items();
  for (size_t at = group + 1; at < (*ends_)[group]; at = Next(at)) {
    if (items[at].key.view() == key) return at;
  }
  return kNone;
}

void FieldWriter::Value(size_t at) {
  if (report_->items()[at].kind == Kind::kList) return SelectIn(at, "*", {});
  if (!first_) out_->push_back(',');
  first_ = false;
  Show(at);
}

// A general name shows its type before its value.
void FieldWriter::Show(size_t at) {
  constexpr std::string_view kShown[] = {"text", "value", "contents", "octets", "name", "oid"};
  if (report_->items()[at].kind != Kind::kObject) return Scalar(report_->items()[at]);
  if (const size_t type = Child(at, "type"); type != kNone) {
    Scalar(report_->items()[type]);
    out_->push_back(':');
  }
  for (const std::string_view key : kShown) {
    if (const size_t child = Child(at, key); child != kNone) return Show(child);
  }
}

void FieldWriter::Scalar(const Item& item) {
  const std::string_view octets = report_->octets(item);
  char digits[24];
  switch (item.kind) {
    case Kind::kText:
      return AppendCell(octets, Backslash::kDouble, out_);
    case Kind::kRendered:
      return AppendCell(octets, Backslash::kKeep, out_);
    case Kind::kKnown:
      *out_ += octets;
      return;
    case Kind::kOctets:
      return AppendHex(octets, out_);
    case Kind::kFlag:
      *out_ += item.number != 0 ? "true" : "false";
      return;
    case Kind::kNumber:
      out_->append(digits, std::to_chars(digits, digits + sizeof digits, item.number).ptr);
      return;
    default:
      return;
  }
}

}  // namespace corvid::tool
