// Splits a command line into a program and its parameters.
#pragma once

#include <string>

namespace tsly {

struct CommandParts {
  std::string command;
  std::string parameters;
};

// Only quotes protect a blank. With an empty pair of quotes, or an opening quote without a closing one, the whole
// command is the program, quotes included.
CommandParts SplitCommand(const std::string& command_line);

}  // namespace tsly
