#include "dialog/check_schedule.h"

#include <optional>

#include "base/date_time.h"

namespace tsly {

bool IsCheckDue(std::int32_t frequency, DateTime last_check, DateTime now) {
  std::optional<DateTime> due_from;
  switch (frequency) {
    case kCheckNever:
      return false;
    case kCheckWeekly:
      due_from = DaysAfter(last_check, 7);
      break;
    case kCheckMonthly:
      due_from = MonthAfter(last_check);
      break;
    default:
      return true;
  }
  return !due_from || *due_from <= now;
}

}  // namespace tsly
