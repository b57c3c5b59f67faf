// Date-times as days since 1899-12-30 (ports/clock.h) and their texts. Proleptic Gregorian calendar; a moment before
// day 0 counts its time of day forward from the fraction's absolute value, as such numbers do on the platform
// (-1.25 is 1899-12-29 06:00).
#pragma once

#include <string>

#include "ports/clock.h"

namespace tsly {

struct DateFields {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// Rounded to the nearest second first.
DateFields SplitDateTime(DateTime moment);
DateTime MakeDateTime(const DateFields& fields);

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
