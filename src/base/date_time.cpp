#include "base/date_time.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace tsly {
namespace {

constexpr std::chrono::sys_days kDayZero = std::chrono::year{1899} / 12 / 30;
constexpr double kSecondsPerDay = 86400.0;
// The valid years, 100 to 9999.
constexpr double kFirstDay = -657434;
constexpr double kLastDay = 2958465;

template <typename... Values>
std::string Print(const char* format, Values... values) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), format, values...);
  return std::string(text.data(), static_cast<std::size_t>(length));
}

std::optional<DateTime> InRange(double day) {
  if (day >= kFirstDay && day <= kLastDay) return day;
  return std::nullopt;
}

std::string DatePart(int first, int second, int year, const std::string& separator) {
  return Print("%02d", first) + separator + Print("%02d", second) + separator + Print("%04d", year);
}

}  // namespace

DateFields SplitDateTime(DateTime when) {
  double day = std::trunc(when);
  double seconds = std::round(std::fabs(when - day) * kSecondsPerDay);
  if (seconds >= kSecondsPerDay) {
    seconds -= kSecondsPerDay;
    day += 1;
  }
  // Shows a date outside the range as the nearest valid day.
  day = std::fmin(std::fmax(day, kFirstDay), kLastDay);
  const std::chrono::year_month_day date{kDayZero + std::chrono::days(static_cast<int>(day))};
  const int whole = static_cast<int>(seconds);
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          whole / 3600,
          whole / 60 % 60,
          whole % 60};
}

DateTime MakeDateTime(const DateFields& fields) {
  const std::chrono::sys_days date = std::chrono::year{fields.year} / fields.month / fields.day;
  const auto day = static_cast<double>((date - kDayZero).count());
  const double time = (fields.hour * 3600 + fields.minute * 60 + fields.second) / kSecondsPerDay;
  return day < 0 ? day - time : day + time;
}

std::optional<DateTime> DaysAfter(DateTime when, int days) {
  const auto day = InRange(std::trunc(when));
  return day ? InRange(*day + days) : std::nullopt;
}

std::optional<DateTime> MonthAfter(DateTime when) {
  const auto day = InRange(std::trunc(when));
  if (!day) return std::nullopt;
  const std::chrono::year_month_day from{kDayZero + std::chrono::days(static_cast<int>(*day))};
  const std::chrono::year_month month = std::chrono::year_month(from.year(), from.month()) + std::chrono::months(1);
  const std::chrono::day last = (month / std::chrono::last).day();
  const std::chrono::sys_days to = month / std::min(from.day(), last);
  return InRange(static_cast<double>((to - kDayZero).count()));
}

std::string LogStamp(DateTime when) {
  const DateFields at = SplitDateTime(when);
  return Print("%04d-%02d-%02d %02d:%02d:%02d", at.year, at.month, at.day, at.hour, at.minute, at.second);
}

std::string MonthDayYear(DateTime when, const std::string& date_separator) {
  const DateFields at = SplitDateTime(when);
  return DatePart(at.month, at.day, at.year, date_separator);
}

std::string DayMonthYear(DateTime when, const std::string& date_separator) {
  const DateFields at = SplitDateTime(when);
  return DatePart(at.day, at.month, at.year, date_separator);
}

std::string HourMinute(DateTime when, const std::string& time_separator) {
  const DateFields at = SplitDateTime(when);
  return Print("%02d", at.hour) + time_separator + Print("%02d", at.minute);
}

std::string GeneralDate(DateTime when, const std::string& date_separator, const std::string& time_separator) {
  const DateFields at = SplitDateTime(when);
  const std::string time = HourMinute(when, time_separator) + time_separator + Print("%02d", at.second);
  const bool midnight = at.hour == 0 && at.minute == 0 && at.second == 0;
  if (std::trunc(when) == 0 && !midnight) return time;
  const std::string date = MonthDayYear(when, date_separator);
  return midnight ? date : date + " " + time;
}

}  // namespace tsly
