// The system's local date and time, and its monotonic clock.
#pragma once

#include "ports/clock.h"

namespace tsly {

class SystemClock : public Clock {
 public:
  DateTime Now() override;
  SteadyTime Steady() override;
};

}  // namespace tsly
