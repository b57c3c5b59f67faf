// The event loop's interface for backends that wait on descriptors. One thread; callbacks come from the loop, never
// inside a call of this interface.
#pragma once

#include <chrono>
#include <functional>

namespace tsly {

class DescriptorWatch {
 public:
  virtual ~DescriptorWatch() = default;

  // Calls `ready` whenever the descriptor is readable or writable, as requested, or has failed. A second call for the
  // same descriptor replaces the first; a call with neither ends it.
  virtual void Watch(int descriptor, bool readable, bool writable,
                     std::function<void(bool readable, bool writable)> ready) = 0;

  // Calls `tick` once, after `delay`. A second call replaces the first; one timer per `owner`.
  virtual void StartOneShot(const void* owner, std::chrono::milliseconds delay, std::function<void()> tick) = 0;
  virtual void StopOneShot(const void* owner) = 0;
};

}  // namespace tsly
