// Times: their DER form, and conversion to seconds since 1970 (proleptic Gregorian, UTC).
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "corvid/asn.h"
#include "services/asn/der.h"

namespace corvid::asn {

// X.509 reads years of UTCTime from 50 on as 19xx (RFC 5280 section 4.1.2.5.1).
static int32_t FullYear(int32_t year) { return year < 50 ? 2000 + year : 1900 + year; }

static bool IsLeap(int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

static bool Exists(int32_t full_year, const CVD_TimeFields& fields) {
  static constexpr int8_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (fields.month < 1 || fields.month > 12) return false;
  const int32_t days =
      kDays[fields.month - 1] + static_cast<int32_t>(fields.month == 2 && IsLeap(full_year));
  return fields.day >= 1 && fields.day <= days && fields.hour >= 0 && fields.hour <= 23 &&
         fields.minute >= 0 && fields.minute <= 59 && fields.second >= 0 && fields.second <= 59;
}

// Two digits as a number, or over 99 when one is no digit.
static int16_t TwoDigits(const uint8_t* digits) {
  const uint32_t tens = digits[0] - uint32_t{'0'};
  const uint32_t ones = digits[1] - uint32_t{'0'};
  return static_cast<int16_t>(tens > 9 || ones > 9 ? 10000 : tens * 10 + ones);
}

uint32_t ReadTime(uint16_t kind, const uint8_t* octets, size_t length, CVD_TimeFields* fields) {
  const size_t year_digits = kind == CVD_TIME_UTC ? 2 : 4;
  if (Rare(length != year_digits + 11 || octets[length - 1] != 'Z')) return CVD_ASN_ERR_TIME;
  const uint8_t* at = octets + year_digits;
  const int32_t high = kind == CVD_TIME_UTC ? 0 : TwoDigits(octets);
  const int32_t low = TwoDigits(at - 2);
  if (Rare(high > 99 || low > 99)) return CVD_ASN_ERR_TIME;
  *fields = {static_cast<int16_t>(high * 100 + low),
             TwoDigits(at),
             TwoDigits(at + 2),
             TwoDigits(at + 4),
             TwoDigits(at + 6),
             TwoDigits(at + 8),
             {}};
  const int32_t full_year = kind == CVD_TIME_UTC ? FullYear(fields->year) : fields->year;
  return Exists(full_year, *fields) ? 0 : static_cast<uint32_t>(CVD_ASN_ERR_TIME);
}

size_t WriteTime(const CVD_Time& time, uint8_t out[15]) {
  const bool utc = time.kind == CVD_TIME_UTC;
  const CVD_TimeFields& fields = time.fields;
  if (!utc && time.kind != CVD_TIME_GENERALIZED) return 0;
  if (fields.year < 0 || fields.year > (utc ? 99 : 9999)) return 0;
  if (!Exists(utc ? FullYear(fields.year) : fields.year, fields)) return 0;
  size_t length = 0;
  const auto put = [&](int32_t number) {
    out[length++] = static_cast<uint8_t>('0' + number / 10);
    out[length++] = static_cast<uint8_t>('0' + number % 10);
  };
  if (!utc) put(fields.year / 100);
  for (const int32_t number : {fields.year % 100, +fields.month, +fields.day, +fields.hour,
                               +fields.minute, +fields.second}) {
    put(number);
  }
  out[length++] = 'Z';
  return length;
}

// Days from 1970-01-01 to the first of March of the era's year, counted in years that begin in
// March.
static int64_t DaysFromCivil(int64_t year, int64_t month, int64_t day) {
  year -= static_cast<int64_t>(month <= 2);
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const int64_t year_of_era = year - era * 400;
  const int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

static int64_t Seconds(int64_t full_year, const CVD_TimeFields& fields) {
  const int64_t days = DaysFromCivil(full_year, fields.month, fields.day);
  return ((days * 24 + fields.hour) * 60 + fields.minute) * 60 + fields.second;
}

}  // namespace corvid::asn

int64_t CVD_ASN_UTC2Time(const CVD_TimeFields* fields) {
  if (fields == nullptr) return 0;
  return corvid::asn::Seconds(corvid::asn::FullYear(fields->year), *fields);
}

int64_t CVD_ASN_General2Time(const CVD_TimeFields* fields) {
  if (fields == nullptr) return 0;
  return corvid::asn::Seconds(fields->year, *fields);
}

void CVD_ASN_Time2UTC(CVD_TimeFields* fields, int64_t time) {
  if (fields == nullptr) return;
  constexpr int64_t kDay = 86400;
  int64_t days = time / kDay;
  int64_t second = time % kDay;
  if (second < 0) {
    second += kDay;
    --days;
  }
  // The inverse of DaysFromCivil.
  const int64_t shifted = days + 719468;
  const int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
  const int64_t day_of_era = shifted - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t march_month = (5 * day_of_year + 2) / 153;
  const int64_t month = march_month + (march_month < 10 ? 3 : -9);
  const int64_t year = year_of_era + era * 400 + static_cast<int64_t>(month <= 2);
  *fields = {static_cast<int16_t>((year % 100 + 100) % 100),
             static_cast<int16_t>(month),
             static_cast<int16_t>(day_of_year - (153 * march_month + 2) / 5 + 1),
             static_cast<int16_t>(second / 3600),
             static_cast<int16_t>(second / 60 % 60),
             static_cast<int16_t>(second % 60),
             {}};
}
