#include "start_arguments.h"

#include <string_view>
#include <utility>

namespace tsly {

StartArguments ReadStartArguments(int count, char** arguments) {
  StartArguments start;
  bool first = true;
  for (int i = 1; i < count; ++i) {
    if (std::string_view(arguments[i]) == "--automation") {
      start.mode = 1;
      continue;
    }
    if (!std::exchange(first, false)) start.command_line += ' ';
    start.command_line += arguments[i];
  }
  return start;
}

}  // namespace tsly
