#include "dialog/check_schedule.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

#include "base/date_time.h"

namespace tsly {
namespace {

// "yyyy-mm-dd" with an optional time.
DateTime At(const char* text) {
  DateFields at;
  at.hour = at.minute = at.second = 0;
  EXPECT_GE(std::sscanf(text, "%d-%d-%d %d:%d:%d", &at.year, &at.month, &at.day, &at.hour, &at.minute, &at.second), 3);
  return MakeDateTime(at);
}

TEST(CheckSchedule, IsDueFromMidnight) {
  const DateTime evening = At("2014-03-10 18:30");
  const std::tuple<std::int32_t, const char*, const char*, const char*> rows[] = {
      {kCheckWeekly,  "2014-03-10 18:30", "2014-03-16 23:59:59", "2014-03-17"         },
      {kCheckWeekly,  "2014-03-10",       "2014-03-16 23:59:59", "2014-03-17 00:00:01"},
      {kCheckWeekly,  "2014-12-29 23:00", "2015-01-04 12:00",    "2015-01-05"         },
      {kCheckMonthly, "2014-01-31 12:00", "2014-02-27 23:59:59", "2014-02-28"         },
      {kCheckMonthly, "2014-03-31",       "2014-04-29 23:59:59", "2014-04-30"         },
      {kCheckMonthly, "2016-01-30 12:00", "2016-02-28 23:59:59", "2016-02-29"         },
      {kCheckMonthly, "2014-02-28 23:59", "2014-03-27 23:59:59", "2014-03-28"         },
      {kCheckMonthly, "2014-12-15",       "2015-01-14 23:59:59", "2015-01-15"         },
      {kCheckMonthly, "2100-01-31",       "2100-02-27 23:59:59", "2100-02-28"         },
      {kCheckMonthly, "1899-12-30",       "1900-01-29 23:59:59", "1900-01-30"         },
      {kCheckWeekly,  "1899-12-29 06:00", "1900-01-04 23:59:59", "1900-01-05"         },
  };
  for (const auto& [frequency, last, still_early, due] : rows) {
    EXPECT_FALSE(IsCheckDue(frequency, At(last), At(still_early))) << last;
    EXPECT_TRUE(IsCheckDue(frequency, At(last), At(due))) << last;
    EXPECT_FALSE(IsCheckDue(kCheckNever, At(last), At(due)));
    EXPECT_TRUE(IsCheckDue(kCheckAtEveryStart, At(last), At(last)));
  }
  for (const std::int32_t other : {-1, 4, 7}) EXPECT_TRUE(IsCheckDue(other, evening, evening));
  EXPECT_FALSE(IsCheckDue(kCheckWeekly, evening + 10, evening)) << "a last check in the future";
  const DateTime not_a_number = std::numeric_limits<double>::quiet_NaN();
  for (const DateTime when : {1e300, -1e300, At("9999-12-31 12:00"), not_a_number}) {
    for (const auto frequency : {kCheckWeekly, kCheckMonthly})
      EXPECT_TRUE(IsCheckDue(frequency, when, evening)) << when;
  }
}

}  // namespace
}  // namespace tsly
