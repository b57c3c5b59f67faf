#include "base/date_time.h"

#include <gtest/gtest.h>

namespace tsly {
namespace {

TEST(DateTime, ReadsMomentsBack) {
  const struct {
    DateTime moment;
    const char* stamp;
  } kCases[] = {
      {0,                "1899-12-30 00:00:00"},
      {0.25,             "1899-12-30 06:00:00"},
      {-1.25,            "1899-12-29 06:00:00"},
      {2,                "1900-01-01 00:00:00"},
      {41708.7708333333, "2014-03-10 18:30:00"},
      {41708.99999999,   "2014-03-11 00:00:00"}, // rounded to the second before it is split
      {36585,            "2000-02-29 00:00:00"},
      {45350.5,          "2024-02-28 12:00:00"},
      {1e12,             "9999-12-31 00:00:00"},
  };
  for (const auto& row : kCases) EXPECT_EQ(LogStamp(row.moment), row.stamp);
}

TEST(DateTime, AMomentOfWholeMinutesIsStoredExactly) {
  const DateTime moment = MakeDateTime({.year = 2014, .month = 3, .day = 10, .hour = 18, .minute = 30});
  EXPECT_DOUBLE_EQ(moment * 1440, 60060630);
  EXPECT_EQ(MakeDateTime({.year = 1899, .month = 12, .day = 29, .hour = 6}), -1.25);
}

TEST(DateTime, TextsTakeTheUsersSeparators) {
  const DateTime moment = MakeDateTime({.year = 2014, .month = 3, .day = 9, .hour = 8, .minute = 5, .second = 7});
  EXPECT_EQ(MonthDayYear(moment, "/"), "03/09/2014");
  EXPECT_EQ(DayMonthYear(moment, "."), "09.03.2014");
  EXPECT_EQ(HourMinute(moment, "."), "08.05");
  EXPECT_EQ(GeneralDate(moment, "/", ":"), "03/09/2014 08:05:07");
  EXPECT_EQ(GeneralDate(41708, "/", ":"), "03/10/2014");
  EXPECT_EQ(GeneralDate(0.5, "/", ":"), "12:00:00");
}

}  // namespace
}  // namespace tsly
