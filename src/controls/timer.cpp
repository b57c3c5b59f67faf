#include "controls/timer.h"

namespace tsly {

void Timer::Reset(std::int32_t interval_ms) {
  Stop();
  interval_ = std::chrono::milliseconds(interval_ms);
}

void Timer::SetInterval(std::int32_t milliseconds) {
  interval_ = std::chrono::milliseconds(milliseconds);
  if (Enabled()) {
    Stop();
    Start();
  }
}

void Timer::SetEnabled(bool enabled) {
  if (enabled == Enabled()) return;
  enabled ? Start() : Stop();
}

void Timer::Start() { id_ = loop_.StartTimer(interval_, tick_); }

void Timer::Stop() {
  if (id_ != 0) loop_.StopTimer(id_);
  id_ = 0;
}

}  // namespace tsly
