// When a check for updates is due. Pure rules.
#pragma once

#include <cstdint>

#include "ports/clock.h"

namespace tsly {

// How often to check, as stored in the settings. Any other number means at every start.
inline constexpr std::int32_t kCheckNever = 0;
inline constexpr std::int32_t kCheckAtEveryStart = 1;
inline constexpr std::int32_t kCheckWeekly = 2;
inline constexpr std::int32_t kCheckMonthly = 3;

// Whether a check is due at `now`. Weekly checks are due from 00:00 of the seventh day after the last check, monthly
// checks from 00:00 of the same day of the next month (its last day if it is shorter). If the last check or the due
// time is outside the range of date-times, a check is due.
bool IsCheckDue(std::int32_t frequency, DateTime last_check, DateTime now);

}  // namespace tsly
