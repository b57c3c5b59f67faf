// Time of day, and a monotonic time. Tests set both.
#pragma once

#include <chrono>

namespace tsly {

// Days since 1899-12-30 00:00 local time; the fraction is the time of day.
using DateTime = double;

// Time since a fixed point; never goes back, whatever happens to the date. For the length of waits.
using SteadyTime = std::chrono::nanoseconds;

class Clock {
 public:
  virtual ~Clock() = default;
  // In whole seconds, rounded down: texts round to the nearest second, and a fraction would make them fast.
  virtual DateTime Now() = 0;
  virtual SteadyTime Steady() = 0;
};

}  // namespace tsly
