// The commands of tslyReg, on any registry. Takes the arguments after the program's name, returns its exit status.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "ports/registry.h"

namespace tsly {

enum class ToolStatus { kDone = 0, kNotThere = 1, kUsage = 2, kRefused = 3 };

struct ToolStreams {
  std::istream& in;
  std::ostream& out;
  std::ostream& error;
};

ToolStatus RunTool(RegistryEditor& registry, const std::vector<std::string>& words, const ToolStreams& streams);

}  // namespace tsly
