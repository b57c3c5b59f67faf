// Reads the program's arguments.
#pragma once

#include <span>
#include <string>

#include "ports/automation.h"

namespace tsly {

struct StartArguments {
  StartMode mode = StartMode::kOnItsOwn;
  std::string command_line;  // the other arguments joined by blanks, without quotes
};

// `arguments` are those of main, including the program's name. Switches are recognised at any position; the last one
// counts.
StartArguments ReadStartArguments(int count, char** arguments, std::span<const StartSwitch> switches);

}  // namespace tsly
