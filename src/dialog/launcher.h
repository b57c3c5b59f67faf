// How a command line falls into a program and its parameters.
#pragma once

#include <string>

namespace tsly {

struct CommandParts {
  std::string command;
  std::string parameters;
};

// Only quotes protect a blank. An empty pair of quotes, or an opening quote without a closing one, leaves the command
// whole, quotes included.
CommandParts SplitCommand(const std::string& command_line);

}  // namespace tsly
