// The only exception of the program's own. Deliberately no std::exception: exceptions of the standard library are bugs
// or mean that memory is exhausted, and no step may skip them.
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

// Throws if a platform call reported a fault.
inline void RaiseIf(const Fault& fault) {
  if (fault) throw RuntimeError{fault.number, fault.source, fault.description};
}

}  // namespace tsly
