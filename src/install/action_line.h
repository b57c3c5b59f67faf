// The grammar of an action line: fields separated by ":". The first is the verb, the second its argument; the rest is
// ignored.
#pragma once

#include <cstdint>
#include <string>

#include "install/transcript.h"

namespace tsly {

enum class ActionWork { Unzip, Run, Execute, UnregisterProgram, RegisterProgram, UnregisterLibrary, RegisterLibrary };

struct ActionVerb {
  const char* verb;  // lower case
  ActionWork work;
  std::int32_t started_state;  // feedback states
  std::int32_t failed_state;
};

// The verb of a line, in any letter case, without trimming; null if unknown.
const ActionVerb* VerbOf(const std::string& line);

// The argument of a line. A line without a second field throws error 9.
std::string ArgumentOf(const std::string& line);

// The current action line: its verb decides which state reports a fault.
struct ActionRun {
  std::int32_t failed_state = fbUnzipFailed;
  std::string path;  // expanded
};

}  // namespace tsly
