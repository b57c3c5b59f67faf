// The automation object CheckNew, the host product's interface to the program. A client creates it, calls VerifyVersion
// and reads Status. The check itself runs later, in the hidden dialog, which reports here.
//
// Owner: the client, through the automation server, and the dialog as long as it reports here. One thread; calls can
// arrive during a wait of any routine. Tests call it directly, on the memory platform.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "dialog/status.h"
#include "ports/automation.h"

namespace tsly {

class Clock;
class MGlobal;
class MRegistry;
class Shell;
class frmVerify;

class CheckNew final : public AutomationObject, public StatusReceiver, public std::enable_shared_from_this<CheckNew> {
 public:
  struct Needs {
    MGlobal& global;
    MRegistry& registry;
    frmVerify& dialog;
    Clock& clock;
    Shell& shell;
  };

  explicit CheckNew(const Needs& needs) : needs_(needs) {}

  std::int32_t Status = StatusPending;

  // Stores the status. After a failed set-up of the dialog, every status becomes StatusIdle. Invalid values are
  // ignored.
  void SetStatus(std::int32_t value) override;

  std::int32_t GetStatus() override { return Status; }
  void PutStatus(std::int32_t status) override { Status = status; }
  // Decides whether a check is due. If so, it only schedules the check, and Status stays StatusPending.
  void VerifyVersion() override;
  // Opens the dialog with its settings and returns while it is open. Doesn't change Status.
  void ConfigureUpdater() override;
  void Quit() override;

 private:
  bool CheckIsDue();
  void LoadDialogThen(std::function<void()> deed);

  Needs needs_;
};

}  // namespace tsly
