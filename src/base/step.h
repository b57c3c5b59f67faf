// Nearly every routine of this program skips a step that fails and continues with the next one. Step is the only way to
// write that. It wraps one statement, not a routine.
#pragma once

#include <optional>
#include <utility>

#include "base/runtime_error.h"

namespace tsly {

// Runs `statement` up to the first run-time error, and returns that error.
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
