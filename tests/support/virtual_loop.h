// Virtual time and events for tests. Only a wait moves the clock, to the next timer or to the end of the wait. A wait
// that nothing can end fails the test instead of hanging.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>

#include "ports/clock.h"
#include "ports/event_loop.h"

namespace tsly {

class ManualClock : public Clock {
 public:
  DateTime now = 45000.5;  // moves with Advance
  DateTime Now() override { return now; }
  SteadyTime Steady() override { return steady_; }
  void Advance(SteadyTime by) {
    steady_ += by;
    now += std::chrono::duration<double>(by).count() / 86400.0;
  }

 private:
  SteadyTime steady_ = std::chrono::hours(1);
};

// Thrown by a wait that nothing can end; caught by the harness, which fails the test.
struct StuckWait {};

class VirtualLoop : public EventLoop {
 public:
  explicit VirtualLoop(ManualClock& clock) : clock_(clock) {}

  int waits = 0;

  // Schedules an action of a user or another process.
  void After(std::chrono::milliseconds delay, std::function<void()> deed);
  // Processes everything that happens within `time`.
  void RunFor(std::chrono::milliseconds time);

  void Wait(SteadyTime until) override;
  bool ProcessPendingEvents() override;
  void Post(std::function<void()> event) override;
  TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) override;
  void StopTimer(TimerId timer) override { timers_.erase(timer); }
  std::size_t RunningTimers() const { return timers_.size(); }

 private:
  struct RunningTimer {
    SteadyTime due;
    std::chrono::milliseconds interval;
    std::function<void()> tick;
    bool once;
  };

  bool ServeOne(SteadyTime latest);

  ManualClock& clock_;
  std::deque<std::function<void()>> events_;
  std::map<TimerId, RunningTimer> timers_;
  TimerId last_id_ = 0;
};

}  // namespace tsly
