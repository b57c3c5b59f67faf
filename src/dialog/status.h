// What the dialog reports to an automation client's object, which it knows only through this interface.
#pragma once

#include <cstdint>

namespace tsly {

enum UpdaterStatus : std::int32_t {
  StatusPending = 0,       // not finished, or the list of updates is open
  StatusIdle = 1,          // finished
  StatusStopRequired = 2,  // an update needs the host product to stop
};

class StatusReceiver {
 public:
  virtual ~StatusReceiver() = default;
  virtual void SetStatus(std::int32_t value) = 0;
};

}  // namespace tsly
