// The program's only event loop. It delivers clicks, timers, transfer states and clients' calls, on one thread, one at
// a time.
//
// Code that waits calls Wait; long operations call ProcessPendingEvents. Both can be called inside an event.
//
// A modal loop of the system (a message, a menu, dragging a window) counts as a wait inside the event that started it.
// It may deliver posted events and ticks, one at a time, and these may wait too. It must deliver nothing else to the
// core: other reports of the system are posted first. Wait and ProcessPendingEvents calls from before it return only
// after it has ended.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "ports/clock.h"

namespace tsly {

using TimerId = std::uint64_t;  // 0: none

class EventLoop {
 public:
  virtual ~EventLoop() = default;

  // Processes all pending events; those that they post may wait for the next call. Returns whether there was one. Takes
  // about two microseconds if there is none.
  virtual bool ProcessPendingEvents() = 0;

  // Blocks, without using the processor, until at least one event has been processed or the steady clock is past
  // `until`.
  virtual void Wait(SteadyTime until) = 0;

  // Queues an event. The only member that may be called on other threads.
  virtual void Post(std::function<void()> event) = 0;

  // Calls `tick` every `interval` until the timer is stopped. Missed ticks are not repeated. A tick that was due when
  // the timer was stopped is not delivered.
  virtual TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) = 0;
  virtual void StopTimer(TimerId timer) = 0;
};

inline constexpr SteadyTime kForever = SteadyTime::max();

}  // namespace tsly
