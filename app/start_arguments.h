// What the program's arguments say about how it was started.
#pragma once

#include <span>
#include <string>

#include "ports/automation.h"

namespace tsly {

struct StartArguments {
  StartMode mode = StartMode::kOnItsOwn;
  std::string command_line;  // the other arguments joined by one blank, no quotes added
};

// `arguments` as main gets them, the program's name in front. A switch counts at any place; of several the last one.
StartArguments ReadStartArguments(int count, char** arguments, std::span<const StartSwitch> switches);

}  // namespace tsly
