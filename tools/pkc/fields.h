// Rows of tab-separated cells: fields that a report holds, chosen by name.
#ifndef CORVID_TOOLS_PKC_FIELDS_H_
#define CORVID_TOOLS_PKC_FIELDS_H_

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "report.h"

namespace corvid::tool {

// The path goes through keys ("subject.text"); in a list a step chooses the elements of that name,
// or with * all of them. Several values come in one cell, with commas between them. A group at the
// path's end shows as its name, else as its identifier.
struct Field {
  const char* name;
  const char* path;
  bool of_problem = false;  // is looked for in the problem instead
};

// What went wrong; for the end of every table of fields.
constexpr Field kCodeField{"code", "code", true};
constexpr Field kReasonField{"reason", "reason", true};
constexpr Field kOffsetField{"offset", "offset", true};
constexpr Field kPathField{"path", "path", true};
constexpr Field kLineField{"line", "line", true};

// Finds the fields of "subject,notAfter". When one does not exist, "" is the answer no more, but
// what to tell the user.
std::string ChooseFields(std::string_view names, std::span<const Field> table,
                         std::vector<Field>* chosen);
// "subject, notAfter, ...", to be shown.
std::string ListFields(std::span<const Field> table);

// The line of the fields' names.
std::string FieldHeader(const std::vector<Field>& fields);

class FieldWriter {
 public:
  // Appends a row. A field that is not there is an empty cell.
  void Append(const std::vector<Field>& fields, const Report& report, const Report& problem,
              std::string* out);

 private:
  void IndexGroups(const Report& report, std::vector<size_t>* ends);
  void Select(size_t at, std::string_view path);
  void SelectIn(size_t group, std::string_view step, std::string_view rest);
  size_t Child(size_t group, std::string_view key) const;
  size_t Next(size_t at) const { return (*ends_)[at] + 1; }
  void Value(size_t at);
  void Show(size_t at);
  void Scalar(const Item& item);

  const Report* report_ = nullptr;             // that is searched
  const std::vector<size_t>* ends_ = nullptr;  // by item: where it ends, itself for a scalar
  std::vector<size_t> report_ends_;
  std::vector<size_t> problem_ends_;
  std::vector<size_t> open_;
  std::string* out_ = nullptr;
  bool first_ = true;  // value of the cell at hand
};

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_FIELDS_H_
