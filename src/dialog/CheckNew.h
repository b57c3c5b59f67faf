// The automation object CheckNew: the program as the host product sees it. A client makes it, calls VerifyVersion and
// reads Status; the check itself runs later, in the hidden dialog, which reports here.
//
// Owner: the client, through the automation server, and the dialog for as long as it reports to it. One thread; calls
// can arrive inside a wait of any routine. Tests call it as the server does, on the memory platform.
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

  // Once the set-up of the dialog has failed, every status becomes StatusIdle. A value that is none is dropped.
  void SetStatus(std::int32_t value) override;

  std::int32_t GetStatus() override { return Status; }
  void PutStatus(std::int32_t status) override { Status = status; }
  // Decides whether a check is due. If so, it is only armed here, and Status stays StatusPending.
  void VerifyVersion() override;
  // Brings up the dialog with its settings. Returns while it is open, and leaves Status alone.
  void ConfigureUpdater() override;
  void Quit() override;

 private:
  bool CheckIsDue();
  void LoadDialogThen(std::function<void()> deed);

  Needs needs_;
};

}  // namespace tsly
