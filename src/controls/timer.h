// A repeating timer of a form. Setting the interval of a running timer or enabling a stopped one restarts the interval;
// enabling a running timer changes nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "ports/event_loop.h"

namespace tsly {

class Timer {
 public:
  Timer(EventLoop& loop, std::function<void()> tick) : loop_(loop), tick_(std::move(tick)) {}
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  ~Timer() { Stop(); }

  void Reset(std::int32_t interval_ms);  // off, as at design
  void SetInterval(std::int32_t milliseconds);
  void SetEnabled(bool enabled);
  bool Enabled() const { return id_ != 0; }
  std::int32_t Interval() const { return static_cast<std::int32_t>(interval_.count()); }

 private:
  void Start();
  void Stop();

  EventLoop& loop_;
  std::function<void()> tick_;
  std::chrono::milliseconds interval_{0};
  TimerId id_ = 0;
};

}  // namespace tsly
