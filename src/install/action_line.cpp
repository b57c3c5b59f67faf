#include "install/action_line.h"

#include "base/runtime_error.h"
#include "base/text.h"

namespace tsly {
namespace {

constexpr ActionVerb kVerbs[] = {
    {"unzip",          ActionWork::Unzip,             fbUnzipping,     fbUnzipFailed     },
    {"run",            ActionWork::Run,               fbExecuting,     fbExecuteFailed   },
    {"execute",        ActionWork::Execute,           fbExecuting,     fbExecuteFailed   },
    {"unregister exe", ActionWork::UnregisterProgram, fbUnregistering, fbUnregisterFailed},
    {"register exe",   ActionWork::RegisterProgram,   fbRegistering,   fbRegisterFailed  },
    {"unregister dll", ActionWork::UnregisterLibrary, fbUnregistering, fbUnregisterFailed},
    {"register dll",   ActionWork::RegisterLibrary,   fbRegistering,   fbRegisterFailed  },
};

}  // namespace

const ActionVerb* VerbOf(const std::string& line) {
  const std::string verb = LowerCase(line.substr(0, line.find(':')));
  for (const ActionVerb& row : kVerbs) {
    if (verb == row.verb) return &row;
  }
  return nullptr;
}

std::string ArgumentOf(const std::string& line) {
  const auto fields = Split(line, ":");
  if (fields.size() < 2) throw RuntimeError{kErrorSubscript, "ApplyUpdateActions", "Subscript out of range"};
  return fields[1];
}

}  // namespace tsly
