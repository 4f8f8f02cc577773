// Instants, written and read.
#include "time_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <system_error>

#include "corvid/pkc.hpp"

namespace corvid::tool {
namespace {

bool ParseNumber(std::string_view digits, int64_t* number) {
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, *number);
  return error == std::errc() && stop == end;
}

}  // namespace

TimeText::TimeText(int64_t seconds) {
  const time_t time = seconds;
  tm fields{};
  gmtime_r(&time, &fields);
  size_ = fmt::format_to_n(text_, sizeof text_, "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z",
                           fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                           fields.tm_min, fields.tm_sec)
              .size;
}

bool ParseTime(std::string_view text, int64_t* seconds) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  constexpr size_t kMostDigits = 12;  // of seconds before the year 10000
  if (!text.empty() && text.size() <= kMostDigits &&
      std::all_of(text.begin(), text.end(), is_digit)) {
    return ParseNumber(text, seconds);
  }
  const bool formed =
      std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                 [&](char c, char form) { return form == 'd' ? is_digit(c) : c == form; });
  if (!formed) return false;
  int64_t numbers[6] = {};
  constexpr size_t kStarts[] = {0, 5, 8, 11, 14, 17};
  for (size_t i = 0; i < std::size(numbers); ++i) {
    if (!ParseNumber(text.substr(kStarts[i], i == 0 ? 4 : 2), &numbers[i])) return false;
  }
  CVD_TimeFields fields{};
  int16_t* const places[] = {&fields.year, &fields.month,  &fields.day,
                             &fields.hour, &fields.minute, &fields.second};
  for (size_t i = 0; i < std::size(numbers); ++i) *places[i] = static_cast<int16_t>(numbers[i]);
  if (fields.month < 1 || fields.month > 12) return false;
  *seconds = CVD_ASN_General2Time(&fields);
  return TimeText(*seconds).view() == text;  // a day that does not exist comes back as another
}

}  // namespace corvid::tool
