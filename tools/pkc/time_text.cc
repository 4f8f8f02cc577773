// Instants, written and read.
#include "time_text.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <system_error>

#include "corvid/pkc.hpp"

namespace corvid::tool {
namespace {

bool ParseNumber(std::string_view digits, int64_t* number) {
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, *number);
  return error == std::errc() && stop == end;
}

char* PutDigits(int64_t number, int count, char* out) {
  for (int i = count; i-- > 0; number /= 10) out[i] = static_cast<char>('0' + number % 10);
  return out + count;
}

}  // namespace

// By hand, because gmtime_r takes a lock, and strftime its time.
TimeText::TimeText(int64_t seconds) {
  using namespace std::chrono;
  const sys_seconds time{std::chrono::seconds(seconds)};
  const sys_days day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  struct Part {
    int64_t number;
    int digits;
    char end;
  };
  const Part parts[] = {
      {static_cast<int>(date.year()), 4, '-'},     {static_cast<unsigned>(date.month()), 2, '-'},
      {static_cast<unsigned>(date.day()), 2, 'T'}, {clock.hours().count(), 2, ':'},
      {clock.minutes().count(), 2, ':'},           {clock.seconds().count(), 2, 'Z'}};
  char* out = text_;
  for (const Part& part : parts) {
    out = PutDigits(part.number, part.digits, out);
    *out++ = part.end;
  }
}

bool ParseTime(std::string_view text, int64_t* seconds) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  constexpr int64_t kYear10000 = 253402300800;
  if (std::all_of(text.begin(), text.end(), is_digit)) {
    return ParseNumber(text, seconds) && *seconds < kYear10000;
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
