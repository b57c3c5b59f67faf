#include "start_arguments.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tsly {

StartArguments ReadStartArguments(int count, char** arguments, std::span<const StartSwitch> switches) {
  StartArguments start;
  bool first = true;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    const auto found = std::find_if(switches.begin(), switches.end(),
                                    [&](const StartSwitch& known) { return known.argument == argument; });
    if (found != switches.end()) {
      start.mode = found->mode;
      continue;
    }
    if (!std::exchange(first, false)) start.command_line += ' ';
    start.command_line += argument;
  }
  return start;
}

}  // namespace tsly
