// The program's one event loop: clicks, timers, states of a transfer and calls of a client all arrive from here, on one
// thread, one at a time.
//
// Whoever waits calls Wait; whoever only wants to stay alive calls ProcessPendingEvents. Both can be called inside an
// event.
//
// A modal loop of the system (a message, a menu, a window that is being dragged) counts as a wait inside the event that
// opened it. It may deliver posted events and ticks, one at a time, and these may wait in turn; it may deliver nothing
// else to the core: what the system reports in its own way meanwhile is posted first. A Wait or ProcessPendingEvents
// that was called before it returns after it has ended, however late that is.
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

  // Serves all events that wait and returns; what these bring about may wait for the next call. Whether one was served.
  // Costs about two microseconds when none waits.
  virtual bool ProcessPendingEvents() = 0;

  // Blocks, without using the processor, until at least one event has been served or the steady clock is later than
  // `until`.
  virtual void Wait(SteadyTime until) = 0;

  // Queues an event. The only member that other threads may call.
  virtual void Post(std::function<void()> event) = 0;

  // Calls `tick` every `interval` until it is stopped. Ticks that nobody served are not made up for. A tick that was
  // due when the timer was stopped is not delivered.
  virtual TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) = 0;
  virtual void StopTimer(TimerId timer) = 0;
};

inline constexpr SteadyTime kForever = SteadyTime::max();

}  // namespace tsly
