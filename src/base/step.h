// A failed step is skipped and the next one runs: that is how nearly every routine of this program treats failures, and
// this is the one way in which it is written. A Step is one statement that may be abandoned, not a routine.
#pragma once

#include <optional>
#include <utility>

#include "base/runtime_error.h"

namespace tsly {

// Runs `statement`; a run-time error in it ends it there and is handed back.
template <typename Statement>
std::optional<RuntimeError> Step(Statement&& statement) {
  try {
    std::forward<Statement>(statement)();
  } catch (const RuntimeError& error) {
    return error;
  }
  return std::nullopt;
}

}  // namespace tsly
