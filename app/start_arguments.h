// What the program's arguments say about how it was started.
#pragma once

#include <cstdint>
#include <string>

namespace tsly {

struct StartArguments {
  std::int32_t mode = 0;     // 0: on its own; 1: for an automation client
  std::string command_line;  // the other arguments joined by one blank, no quotes added
};

// `arguments` as main gets them, the program's name in front. Exactly "--automation", at any place, is the mode.
StartArguments ReadStartArguments(int count, char** arguments);

}  // namespace tsly
