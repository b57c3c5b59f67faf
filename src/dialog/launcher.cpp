#include "dialog/launcher.h"

#include <chrono>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "ports/clock.h"
#include "ports/event_loop.h"
#include "ports/shell.h"

namespace tsly {
namespace {

// How long an action line waits after it has started a program.
constexpr std::chrono::seconds kTimeToSettle{5};

}  // namespace

CommandParts SplitCommand(const std::string& command_line) {
  const std::string command = Trim(command_line);
  if (command.starts_with('"')) {
    const auto closing = command.find('"', 1);
    if (closing == std::string::npos || closing == 1) return {command, ""};
    return {command.substr(1, closing - 1), Trim(command.substr(closing + 1))};
  }
  const auto blank = command.find(' ');
  if (blank == std::string::npos) return {command, ""};
  return {command.substr(0, blank), Trim(command.substr(blank))};
}

Fault MGlobal::RunElevated(std::string command, std::optional<std::string> parameters, std::int32_t show_command) {
  if (!parameters) {
    CommandParts parts = SplitCommand(command);
    command = std::move(parts.command);
    parameters = std::move(parts.parameters);
  }
  WriteLog(1, "Command line: " + command);
  WriteLog(1, "Parameters: " + *parameters);
  Fault fault = needs_.shell.StartElevated(command, *parameters, show_command);
  const std::uint32_t last_error = needs_.shell.LastError();
  if (fault) WriteLog(1, "Error occured: " + std::to_string(fault.number) + ": " + fault.description);
  WriteLog(1, "Return code: " + std::to_string(last_error));

  const SteadyTime end = needs_.clock.Steady() + kTimeToSettle;
  while (needs_.clock.Steady() <= end) needs_.loop.Wait(end);
  return fault;
}

}  // namespace tsly
