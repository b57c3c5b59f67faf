// One run of the process: the modules and the dialog on a platform. main and all tests use the same class; two objects
// on one memory platform act like two processes.
#pragma once

#include <cstdint>
#include <string>

#include "dialog/MGlobal.h"
#include "dialog/frmVerify.h"
#include "localization/MLocalization.h"
#include "ports/platform.h"
#include "services/MRegistry.h"
#include "services/MTempFiles.h"

namespace tsly {

class Program {
 public:
  // `start_mode` 0: a process on its own; anything else: started for an automation client. `command_line`: the
  // arguments joined by one blank.
  Program(const Platform& platform, std::int32_t start_mode, std::string command_line);

  // Starts up, then processes events: without clients until the dialog is closed; for clients until none has an object
  // and the dialog is idle. False: clients can't be served, for instance without a bus.
  bool Run();

  MGlobal global;
  MRegistry registry;
  MTempFiles temp_files;
  MLocalization localization;
  frmVerify dialog;

 private:
  void ServeClients();
  bool IsNeeded() const;

  AutomationServer& automation_;
  Clock& clock_;
  EventLoop& loop_;
  Shell& shell_;
};

}  // namespace tsly
