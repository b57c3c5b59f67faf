// When a check for updates is due. Pure rules.
#pragma once

#include <cstdint>

#include "ports/clock.h"

namespace tsly {

// How often to check, as it is stored. Any other number means a check at every start.
inline constexpr std::int32_t kCheckNever = 0;
inline constexpr std::int32_t kCheckAtEveryStart = 1;
inline constexpr std::int32_t kCheckWeekly = 2;
inline constexpr std::int32_t kCheckMonthly = 3;

// Whether a check is due now. Weekly and monthly ones fall due with the day, at 00:00 of the seventh day after the last
// check or of the same day of the next month (its last day if it is shorter), and that moment itself counts. A last
// check that no date-time can hold, or that falls due later than one can, keeps nobody from checking.
bool IsCheckDue(std::int32_t frequency, DateTime last_check, DateTime now);

}  // namespace tsly
