// The shell port with processes, pkexec, xdg-open and X11. One thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "ports/shell.h"

namespace tsly {

class PosixShell : public Shell {
 public:
  struct Options {
    std::function<void()> repaint;            // called about every 50 ms during a wait; must process no events
    std::string elevation_helper = "pkexec";  // a name in $PATH, or a path
    std::chrono::milliseconds longest_close{30'000};
  };

  PosixShell() = default;
  explicit PosixShell(Options options) : options_(std::move(options)) {}

  // If $TSLY_RUNAS is set, its words precede the program; empty means none. Otherwise root starts the program directly,
  // other users through the elevation helper; the call waits for the user's answer to it.
  Fault StartElevated(const std::string& file, const std::string& parameters, std::int32_t show_command) override;
  void OpenAddress(const std::string& url) override;
  void CloseWindow(std::int32_t window) override;
  std::uint32_t LastError() override { return last_error_; }

 private:
  [[noreturn]] void DoEndProcess() override;

  Fault Start(const std::vector<std::string>& argv, bool await_helper);
  int AwaitElevationHelper(pid_t id);
  void ReapChildren();

  Options options_;
  std::uint32_t last_error_ = 0;
  std::vector<pid_t> children_;  // started and not reaped yet
};

}  // namespace tsly
