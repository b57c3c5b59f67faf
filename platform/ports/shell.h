// The system's shell: starts programs, opens addresses, closes windows, ends the process.
//
// One thread. Texts are UTF-8 (in paths, other bytes pass unchanged). No command interpreter is used.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "ports/fault.h"

namespace tsly {

class Shell {
 public:
  virtual ~Shell() = default;

  // Starts a program with raised rights and doesn't wait for its end. If the program can't be started, only LastError
  // reports that (2, 3, 5, 193, 1223); the fault means that the call itself failed.
  virtual Fault StartElevated(const std::string& file, const std::string& parameters, std::int32_t show_command) = 0;

  // Opens a web page in the user's browser. Ignores addresses other than http, https and mailto.
  virtual void OpenAddress(const std::string& url) = 0;

  // Asks a window to close and waits until it has handled that. LastError 1400: no such window.
  virtual void CloseWindow(std::int32_t window) = 0;

  // The result code of the last of the calls above; 0: success.
  virtual std::uint32_t LastError() = 0;

  // Ends the process at once with status 0, without unloading, storing or deleting anything.
  [[noreturn]] void EndProcess() {
    DoEndProcess();
    std::abort();  // DoEndProcess must not return
  }

 private:
  virtual void DoEndProcess() = 0;
};

}  // namespace tsly
