// What every service tells about itself: its version and the reasons of its codes. For our own
// libraries; not installed.
#ifndef CORVID_REASON_TABLE_HPP_
#define CORVID_REASON_TABLE_HPP_

#include <cstdint>
#include <span>

namespace corvid {

inline constexpr char kVersionText[] = "1.7.0.0";  // the libraries are released together

struct ReasonRow {
  uint32_t code;
  const char* reason;
};

// The reason of `code`, or "" for a code that `rows` does not document.
inline const char* ReasonOf(std::span<const ReasonRow> rows, uint32_t code) {
  for (const ReasonRow& row : rows) {
    if (row.code == code) return row.reason;
  }
  return "";
}

}  // namespace corvid

#endif  // CORVID_REASON_TABLE_HPP_
