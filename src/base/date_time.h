// Date-times as days since 1899-12-30 (ports/clock.h) and their texts. Proleptic Gregorian calendar. Before day 0 the
// fraction's absolute value is the time of day, as usual for such numbers (-1.25 is 1899-12-29 06:00).
#pragma once

#include <optional>
#include <string>

#include "ports/clock.h"

namespace tsly {

struct DateFields {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// Rounds to the nearest second first.
DateFields SplitDateTime(DateTime when);
DateTime MakeDateTime(const DateFields& fields);

// 00:00 of the day some days, or one calendar month, after the day of a date-time. The day of the month stays, or
// becomes the last one of a shorter month. Nothing if the result is outside the years 100 to 9999.
std::optional<DateTime> DaysAfter(DateTime when, int days);
std::optional<DateTime> MonthAfter(DateTime when);

// "yyyy-mm-dd hh:mm:ss".
std::string LogStamp(DateTime when);

// "mm/dd/yyyy", "dd/mm/yyyy" and "hh:mm" with the given separators instead of slash and colon.
std::string MonthDayYear(DateTime when, const std::string& date_separator);
std::string DayMonthYear(DateTime when, const std::string& date_separator);
std::string HourMinute(DateTime when, const std::string& time_separator);

// The "General date" format with these separators: without a time of 00:00:00, and without the date on day 0.
std::string GeneralDate(DateTime when, const std::string& date_separator, const std::string& time_separator);

}  // namespace tsly
