#include "posix/system_clock.h"

#include <algorithm>
#include <ctime>

#include "base/date_time.h"

namespace tsly {

DateTime SystemClock::Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  tzset();  // the time zone may change during a long run
  localtime_r(&now.tv_sec, &local);
  const int second = std::min(local.tm_sec, 59);  // a leap second counts as the previous one
  return MakeDateTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, second});
}

SteadyTime SystemClock::Steady() { return std::chrono::steady_clock::now().time_since_epoch(); }

}  // namespace tsly
