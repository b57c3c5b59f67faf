// A shell that starts nothing and records its calls. A test sets `next_error` and `next_fault` for the next call and
// reads the records; the end of the process throws ProcessEnded.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ports/shell.h"
#include "support/process_ended.h"

namespace tsly {

class RecordingShell : public Shell {
 public:
  struct Launch {
    std::string file;
    std::string parameters;
    std::int32_t show = 0;
    bool operator==(const Launch&) const = default;
  };

  std::vector<Launch> launched;  // including failed attempts
  std::vector<std::string> opened_urls;
  std::vector<std::int32_t> closed_windows;
  int ends = 0;                       // how often the process was ended
  std::uint32_t next_error = 0;       // the error of the next call; then 0 again
  Fault next_fault;                   // the fault of the next StartElevated
  std::function<void()> at_end;       // runs just before the end is thrown
  std::function<void()> during_call;  // runs inside each call, for actions of the user meanwhile

  Fault StartElevated(const std::string& file, const std::string& parameters, std::int32_t show_command) override {
    launched.push_back({file, parameters, show_command});
    Called();
    return std::exchange(next_fault, {});
  }

  void OpenAddress(const std::string& url) override {
    opened_urls.push_back(url);
    Called();
  }

  void CloseWindow(std::int32_t window) override {
    closed_windows.push_back(window);
    Called();
  }

  std::uint32_t LastError() override { return last_error_; }

 private:
  void Called() {
    last_error_ = std::exchange(next_error, 0);
    if (during_call) during_call();
  }

  void DoEndProcess() override {
    ++ends;
    if (at_end) at_end();
    throw ProcessEnded{};
  }

  std::uint32_t last_error_ = 0;
};

}  // namespace tsly
