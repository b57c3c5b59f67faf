#include "dialog/check_schedule.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

#include "base/date_time.h"

namespace tsly {
namespace {

// "yyyy-mm-dd", and the time behind it or 00:00.
DateTime At(const char* text) {
  DateFields at;
  at.hour = at.minute = at.second = 0;
  EXPECT_GE(std::sscanf(text, "%d-%d-%d %d:%d:%d", &at.year, &at.month, &at.day, &at.hour, &at.minute, &at.second), 3);
  return MakeDateTime(at);
}

TEST(CheckSchedule, FallsDueWithTheDay) {
  const DateTime evening = At("2014-03-10 18:30");
  EXPECT_EQ(std::lround(evening * 1440), 60060630);
  const struct {
    std::int32_t frequency;
    const char *last, *still_early, *due;
  } kCases[] = {
      {kCheckWeekly,  "2014-03-10 18:30", "2014-03-16 23:59:59", "2014-03-17"},
      {kCheckWeekly,  "2014-03-10",       "2014-03-16 23:59:59", "2014-03-17"},
      {kCheckWeekly,  "2014-12-29 23:00", "2015-01-04 23:59:59", "2015-01-05"},
      {kCheckMonthly, "2014-01-31 12:00", "2014-02-27 23:59:59", "2014-02-28"},
      {kCheckMonthly, "2016-01-30 12:00", "2016-02-28 23:59:59", "2016-02-29"},
      {kCheckMonthly, "2014-02-28 23:59", "2014-03-27 23:59:59", "2014-03-28"},
      {kCheckMonthly, "2014-12-15",       "2015-01-14 23:59:59", "2015-01-15"},
      {kCheckMonthly, "1899-12-30",       "1900-01-29 23:59:59", "1900-01-30"},
      {kCheckWeekly,  "1899-12-29 06:00", "1900-01-04 23:59:59", "1900-01-05"},
  };
  for (const auto& row : kCases) {
    EXPECT_FALSE(IsCheckDue(row.frequency, At(row.last), At(row.still_early))) << row.last;
    EXPECT_TRUE(IsCheckDue(row.frequency, At(row.last), At(row.due))) << row.last;
    EXPECT_FALSE(IsCheckDue(kCheckNever, At(row.last), At(row.due)));
    EXPECT_TRUE(IsCheckDue(kCheckAtEveryStart, At(row.last), At(row.last)));
  }
  for (const std::int32_t other : {-1, 4, 7}) EXPECT_TRUE(IsCheckDue(other, evening, evening));
  EXPECT_FALSE(IsCheckDue(kCheckWeekly, evening + 10, evening)) << "a last check in the future";
  const DateTime not_a_number = std::numeric_limits<double>::quiet_NaN();
  for (const DateTime moment : {1e300, -1e300, At("9999-12-31 12:00"), not_a_number}) {
    EXPECT_TRUE(IsCheckDue(kCheckWeekly, moment, evening)) << moment;
    EXPECT_TRUE(IsCheckDue(kCheckMonthly, moment, evening)) << moment;
  }
}

TEST(CheckSchedule, AgreesWithTheLibrarysCalendar) {
  using namespace std::chrono;
  std::mt19937 random(20260);
  const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  for (int i = 0; i < 20000; ++i) {
    const bool weekly = i % 2 == 0;
    const sys_days origin = sys_days(1899y / 12 / 30), last = origin + days(pick(1, 80000));
    year_month_day due = weekly ? year_month_day(last + weeks(1)) : year_month_day(last) + months(1);
    if (!due.ok()) due = due.year() / due.month() / std::chrono::last;
    const DateTime midnight = static_cast<DateTime>((sys_days(due) - origin).count());
    const DateTime moment = static_cast<DateTime>((last - origin).count()) + pick(0, 86399) / 86400.0;
    // Around the moment itself as often as far from it, at any second and at the ends of days.
    const DateTime now = midnight + pick(-2, 2) * (i % 3) + pick(-1, 1) * pick(0, 86399) / 86400.0;
    EXPECT_EQ(IsCheckDue(weekly ? kCheckWeekly : kCheckMonthly, moment, now), now >= midnight)
        << LogStamp(moment) << " " << LogStamp(now);
  }
}

}  // namespace
}  // namespace tsly
