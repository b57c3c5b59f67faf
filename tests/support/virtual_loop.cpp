#include "support/virtual_loop.h"

#include <algorithm>
#include <utility>

namespace tsly {

using std::chrono::milliseconds;

void VirtualLoop::After(milliseconds delay, std::function<void()> deed) {
  timers_[++last_id_] = {clock_.Steady() + delay, delay, std::move(deed), true};
}

TimerId VirtualLoop::StartTimer(milliseconds interval, std::function<void()> tick) {
  timers_[++last_id_] = {clock_.Steady() + interval, interval, std::move(tick), false};
  return last_id_;
}

void VirtualLoop::Post(std::function<void()> event) { events_.push_back(std::move(event)); }

// Runs the oldest event, or else the first timer that is due by `latest`, after moving the clock to its time.
bool VirtualLoop::ServeOne(SteadyTime latest) {
  if (!events_.empty()) {
    const auto event = std::move(events_.front());
    events_.pop_front();
    event();
    return true;
  }
  const auto next = std::min_element(timers_.begin(), timers_.end(),
                                     [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
  if (next == timers_.end() || next->second.due > latest) return false;
  if (next->second.due > clock_.Steady()) clock_.Advance(next->second.due - clock_.Steady());
  const auto tick = next->second.tick;  // a copy: the tick may stop its own timer
  if (next->second.once) {
    timers_.erase(next);
  } else {
    next->second.due = clock_.Steady() + next->second.interval;
  }
  tick();
  return true;
}

void VirtualLoop::Wait(SteadyTime until) {
  ++waits;
  if (ServeOne(until)) return;
  if (until == kForever) throw StuckWait{};
  if (clock_.Steady() <= until) clock_.Advance(until - clock_.Steady() + SteadyTime(1));
}

void VirtualLoop::RunFor(milliseconds time) {
  const SteadyTime end = clock_.Steady() + time;
  while (ServeOne(end)) continue;
  if (clock_.Steady() < end) clock_.Advance(end - clock_.Steady());
}

// Processes the events pending now; those that they post wait for the next turn.
bool VirtualLoop::ProcessPendingEvents() {
  bool served = false;
  for (std::size_t left = events_.size(); left > 0 && !events_.empty(); --left) served = ServeOne(clock_.Steady());
  if (events_.empty()) served = ServeOne(clock_.Steady()) || served;
  return served;
}

}  // namespace tsly
