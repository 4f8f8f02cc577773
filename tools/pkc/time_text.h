// Instants as text: RFC 3339 in UTC, made from and read into 64-bit seconds.
#ifndef CORVID_TOOLS_PKC_TIME_TEXT_H_
#define CORVID_TOOLS_PKC_TIME_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvid::tool {

// "2026-01-31T09:00:00Z", of the years 0 to 9999.
class TimeText {
 public:
  explicit TimeText(int64_t seconds);
  std::string_view view() const { return {text_, sizeof text_}; }

 private:
  char text_[20];
};

// Reads that form, or seconds since 1970 in decimal digits. False for anything else, and for a date
// or time that does not exist.
bool ParseTime(std::string_view text, int64_t* seconds);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_TIME_TEXT_H_
