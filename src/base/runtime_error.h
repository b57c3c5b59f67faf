// The one kind of failure that is raised inside the program. It is deliberately no std::exception: what the standard
// library throws is a bug or the end of memory, and nobody skips over that.
#pragma once

#include <cstdint>
#include <string>

#include "ports/fault.h"

namespace tsly {

inline constexpr std::int32_t kErrorOverflow = 6;
inline constexpr std::int32_t kErrorSubscript = 9;
inline constexpr std::int32_t kErrorTypeMismatch = 13;
inline constexpr std::int32_t kErrorNoControlElement = 340;
inline constexpr std::int32_t kErrorCannotCreateObject = 429;

struct RuntimeError {
  std::int32_t number = 0;
  std::string source;
  std::string description;
};

// Raises what a platform call raised, if it did.
inline void RaiseIf(const Fault& fault) {
  if (fault) throw RuntimeError{fault.number, fault.source, fault.description};
}

}  // namespace tsly
