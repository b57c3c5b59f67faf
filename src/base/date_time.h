// Date-times as days since 1899-12-30 (ports/clock.h) and their texts. Proleptic Gregorian calendar; a moment before
// day 0 counts its time of day forward from the fraction's absolute value, as such numbers do on the platform
// (-1.25 is 1899-12-29 06:00).
#pragma once

#include <optional>
#include <string>

#include "ports/clock.h"

namespace tsly {

struct DateFields {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// Rounded to the nearest second first.
DateFields SplitDateTime(DateTime moment);
DateTime MakeDateTime(const DateFields& fields);

// 00:00 of the day that comes some days, or one calendar month, after the day of a moment. The month keeps the day of
// the month, or takes the last one of a shorter month. None where no date-time reaches (years 100 to 9999).
std::optional<DateTime> DaysAfter(DateTime moment, int days);
std::optional<DateTime> MonthAfter(DateTime moment);

// "yyyy-mm-dd hh:mm:ss".
std::string LogStamp(DateTime moment);

// "mm/dd/yyyy", "dd/mm/yyyy" and "hh:mm" with the given separators in the places of the slash and the colon.
std::string MonthDayYear(DateTime moment, const std::string& date_separator);
std::string DayMonthYear(DateTime moment, const std::string& date_separator);
std::string HourMinute(DateTime moment, const std::string& time_separator);

// The form of "General date": date and time with those separators, without a time of 00:00:00, and the time alone on
// day 0.
std::string GeneralDate(DateTime moment, const std::string& date_separator, const std::string& time_separator);

}  // namespace tsly
