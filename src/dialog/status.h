// What the dialog reports to the object that an automation client holds. The one way in which the two meet.
#pragma once

#include <cstdint>

namespace tsly {

enum UpdaterStatus : std::int32_t {
  StatusPending = 0,       // not finished, or an offer is open
  StatusIdle = 1,          // nothing more will happen
  StatusStopRequired = 2,  // an update needs the host product to stop
};

class StatusReceiver {
 public:
  virtual ~StatusReceiver() = default;
  virtual void SetStatus(std::int32_t value) = 0;
};

}  // namespace tsly
