// What the program asks of the system's shell: start a program, open an address, close a window, end.
//
// One thread. Texts are UTF-8 (in paths, bytes that are none pass as they are). Nothing here passes through a command
// interpreter.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "ports/fault.h"

namespace tsly {

class Shell {
 public:
  virtual ~Shell() = default;

  // Starts a program with raised rights and doesn't wait for it. A program that can't be started is told by LastError
  // alone (2, 3, 5, 193, 1223); the fault is for a call that could not even be made.
  virtual Fault StartElevated(const std::string& file, const std::string& parameters, std::int32_t show_command) = 0;

  // Opens a web page in the user's browser. Anything but http, https and mailto opens nothing.
  virtual void OpenAddress(const std::string& url) = 0;

  // Asks a window to close and waits until it has dealt with that. LastError 1400: there is no such window.
  virtual void CloseWindow(std::int32_t window) = 0;

  // The code that the last of the calls above left: 0, or why it failed.
  virtual std::uint32_t LastError() = 0;

  // Ends the process at once with status 0: nothing is unloaded, stored or deleted.
  [[noreturn]] void EndProcess() {
    DoEndProcess();
    std::abort();  // an edition that came back from there would run on in a program that believes it is gone
  }

 private:
  virtual void DoEndProcess() = 0;
};

}  // namespace tsly
