#include "dialog/CheckNew.h"

#include <cmath>
#include <limits>

#include "dialog/MGlobal.h"
#include "dialog/check_schedule.h"
#include "dialog/frmVerify.h"
#include "ports/clock.h"
#include "ports/shell.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

// Rounds to the nearest whole number, halves to even. Anything but a number of 32 bits counts as 0.
std::int32_t FrequencyOf(const RegData& data) {
  const double number = std::nearbyint(MRegistry::NumberOf(data).value_or(0));
  using Limits = std::numeric_limits<std::int32_t>;
  return number >= Limits::min() && number <= Limits::max() ? static_cast<std::int32_t>(number) : 0;
}

}  // namespace

void CheckNew::SetStatus(std::int32_t value) {
  if (needs_.global.StartupFailed) {
    Status = StatusIdle;
  } else if (value >= StatusPending && value <= StatusStopRequired) {
    Status = value;
  }
}

void CheckNew::VerifyVersion() {
  needs_.dialog.RunHandler([this] {
    needs_.global.WriteLog(1, "Entering VerifyVersion()");
    const bool due = CheckIsDue();
    SetStatus(StatusPending);
    if (!due) SetStatus(StatusIdle);
    if (Status != StatusPending) {
      needs_.global.WriteLog(1, "No search for updates.");
    } else {
      needs_.global.WriteLog(1, "Searching for updates.");
      LoadDialogThen([this] { needs_.dialog.PrepareVerifyVersion(); });
    }
    needs_.global.WriteLog(1, "Exiting VerifyVersion()");
  });
}

void CheckNew::ConfigureUpdater() {
  needs_.dialog.RunHandler([this] { LoadDialogThen([this] { needs_.dialog.DisplayWindow(); }); });
}

void CheckNew::Quit() { needs_.shell.EndProcess(); }

bool CheckNew::CheckIsDue() {
  bool failed = false;
  const auto read = [&](const char* name, std::int32_t fallback) {
    const RegData data = needs_.registry.GetRegSubkeyValue(kLocalMachine, SettingsKey, VersionSubkey, name, fallback);
    failed = failed || needs_.registry.FailedForNow();
    return data;
  };
  const std::int32_t frequency = FrequencyOf(read(kValueCheckedEvery, kDefaultFrequency));
  const DateTime last_check = MRegistry::NumberOf(read(kValueCheckedOn, 0)).value_or(0) / kMinutesPerDay;
  // The user may have said "never", or a check may have just ended; the client's next call decides.
  return !failed && IsCheckDue(frequency, last_check, needs_.clock.Now());
}

// After a failed load, nothing more happens for this client's call. The messages of a load process events: this call
// may arrive during the load of another one, and its client may release the object meanwhile.
void CheckNew::LoadDialogThen(std::function<void()> deed) {
  needs_.dialog.LoadThen([self = shared_from_this(), deed = std::move(deed)] {
    if (self->needs_.global.StartupFailed || !self->needs_.dialog.Loaded()) return self->SetStatus(StatusIdle);
    self->needs_.dialog.UpdaterObject = self;
    deed();
  });
}

}  // namespace tsly
