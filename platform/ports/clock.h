// Time of day, and time that only goes forward. A test moves both by hand.
#pragma once

#include <chrono>

namespace tsly {

// Days since 1899-12-30 00:00 local time; the fraction is the time of day.
using DateTime = double;

// Since some fixed moment; never goes back, whatever is done to the date. For lengths of waits.
using SteadyTime = std::chrono::nanoseconds;

class Clock {
 public:
  virtual ~Clock() = default;
  // In whole seconds, begun ones: texts round to the nearest, and a fraction would put them ahead of the time.
  virtual DateTime Now() = 0;
  virtual SteadyTime Steady() = 0;
};

}  // namespace tsly
