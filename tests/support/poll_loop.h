// An event loop in real time on poll(2), with the descriptors that backends wait on: for suites that talk to real
// sockets without a toolkit. Belongs to the test and lives on its thread; only Post may come from others.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ports/event_loop.h"
#include "posix/descriptor_watch.h"

namespace tsly {

class PollLoop : public EventLoop, public DescriptorWatch {
 public:
  PollLoop();
  ~PollLoop() override;
  PollLoop(const PollLoop&) = delete;
  PollLoop& operator=(const PollLoop&) = delete;

  // Serves events until `done`; false when `limit` has passed without it.
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(10));
  // Serves events for that long, for what must not happen.
  void RunFor(std::chrono::milliseconds length);

  void Wait(SteadyTime until) override;
  void BeginBusy() override {}
  void EndBusy() override {}
  void Post(std::function<void()> event) override;
  TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) override;
  void StopTimer(TimerId timer) override { alarms_.erase(timer); }

  void Watch(int descriptor, bool readable, bool writable, std::function<void(bool, bool)> ready) override;
  void SetAlarm(const void* owner, std::chrono::milliseconds delay, std::function<void()> alarm) override;
  void ClearAlarm(const void* owner) override;

 protected:
  void RunWaitingEvents() override;

 private:
  using Ready = std::function<void(bool, bool)>;
  struct Alarm {
    SteadyTime due;
    std::chrono::milliseconds interval;  // 0: once
    std::function<void()> call;
  };
  struct Watched {
    short events;
    std::shared_ptr<Ready> ready;
  };

  // Each serves what is there now and gives the number of events.
  int ServePosted();
  int ServeAlarms();
  int ServeDescriptors(SteadyTime until);
  int Turn(SteadyTime until);
  SteadyTime NextDue(SteadyTime until);

  std::mutex mutex_;  // of the posted events
  std::deque<std::function<void()>> posted_;
  int wake_[2];
  TimerId last_timer_ = 0;
  std::map<TimerId, Alarm> alarms_;  // timers and alarms alike
  std::map<const void*, TimerId> owners_;
  std::map<int, Watched> watched_;
};

}  // namespace tsly
