#include "support/poll_loop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>

namespace tsly {
namespace {

SteadyTime Now() { return std::chrono::steady_clock::now().time_since_epoch(); }

}  // namespace

PollLoop::PollLoop() {
  if (::pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0) std::abort();
}

PollLoop::~PollLoop() {
  ::close(wake_[0]);
  ::close(wake_[1]);
}

bool PollLoop::RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const SteadyTime end = Now() + limit;
  while (!done()) {
    if (Now() > end) return false;
    Wait(end);
  }
  return true;
}

void PollLoop::RunFor(std::chrono::milliseconds length) {
  RunUntil([] { return false; }, length);
}

void PollLoop::Wait(SteadyTime until) {
  while (Turn(until) == 0 && Now() <= until) {
  }
}

void PollLoop::RunWaitingEvents() { Turn(Now()); }

int PollLoop::Turn(SteadyTime until) {
  const int served = ServePosted() + ServeAlarms();
  return served + ServeDescriptors(served > 0 ? Now() : NextDue(until));
}

void PollLoop::Post(std::function<void()> event) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(event));
  // A full pipe wakes just as well.
  if (::write(wake_[1], "", 1) < 0) return;
}

int PollLoop::ServePosted() {
  std::unique_lock lock(mutex_);
  // Those that are posted meanwhile wait for the next turn; an event that turns the loop itself may take ours.
  std::size_t count = posted_.size();
  int served = 0;
  for (; count > 0 && !posted_.empty(); --count, ++served) {
    const auto event = std::move(posted_.front());
    posted_.pop_front();
    lock.unlock();
    event();
    lock.lock();
  }
  return served;
}

TimerId PollLoop::StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) {
  alarms_[++last_timer_] = {Now() + interval, std::max(interval, std::chrono::milliseconds(1)), std::move(tick)};
  return last_timer_;
}

void PollLoop::SetAlarm(const void* owner, std::chrono::milliseconds delay, std::function<void()> alarm) {
  ClearAlarm(owner);
  alarms_[++last_timer_] = {Now() + delay, {}, std::move(alarm)};
  owners_[owner] = last_timer_;
}

void PollLoop::ClearAlarm(const void* owner) {
  const auto found = owners_.find(owner);
  if (found == owners_.end()) return;
  alarms_.erase(found->second);
  owners_.erase(found);
}

int PollLoop::ServeAlarms() {
  const SteadyTime now = Now();
  std::vector<TimerId> due;
  for (const auto& [id, alarm] : alarms_) {
    if (alarm.due <= now) due.push_back(id);
  }
  int served = 0;
  for (const TimerId id : due) {
    const auto found = alarms_.find(id);
    if (found == alarms_.end()) continue;  // ended by one before it
    const auto call = found->second.call;
    if (found->second.interval.count() > 0) {
      found->second.due = now + found->second.interval;
    } else {
      alarms_.erase(found);
    }
    call();
    ++served;
  }
  return served;
}

SteadyTime PollLoop::NextDue(SteadyTime until) {
  for (const auto& [id, alarm] : alarms_) until = std::min(until, alarm.due);
  return until;
}

void PollLoop::Watch(int descriptor, bool readable, bool writable, Ready ready) {
  if (!readable && !writable) {
    watched_.erase(descriptor);
    return;
  }
  const int events = (readable ? POLLIN : 0) | (writable ? POLLOUT : 0);
  watched_[descriptor] = {static_cast<short>(events), std::make_shared<Ready>(std::move(ready))};
}

int PollLoop::ServeDescriptors(SteadyTime until) {
  std::vector<pollfd> polled{
      {wake_[0], POLLIN, 0}
  };
  std::vector<std::shared_ptr<Ready>> callbacks{nullptr};
  for (const auto& [descriptor, watched] : watched_) {
    polled.push_back({descriptor, watched.events, 0});
    callbacks.push_back(watched.ready);
  }
  // Up, so that a turn for a deadline does not come just before it.
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(std::max(until - Now(), SteadyTime(0)));
  const auto most = std::min(left, std::chrono::milliseconds(60000));
  if (::poll(polled.data(), polled.size(), static_cast<int>(most.count())) <= 0) return 0;
  char drained[256];
  while (::read(wake_[0], drained, sizeof drained) > 0) {
  }
  int served = 0;
  for (std::size_t i = 1; i < polled.size(); ++i) {
    const auto found = watched_.find(polled[i].fd);
    // One before it may have ended the watch, and the number may stand for another descriptor by now.
    if (polled[i].revents == 0 || found == watched_.end() || found->second.ready != callbacks[i]) continue;
    const bool failed = polled[i].revents & (POLLERR | POLLHUP);
    (*callbacks[i])(polled[i].revents & POLLIN || failed, polled[i].revents & POLLOUT || failed);
    ++served;
  }
  return served;
}

}  // namespace tsly
