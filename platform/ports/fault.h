// A raised error of a platform call, as an automation call raises it: a value, never an exception. The core turns it
// into its own run-time error where a routine needs that.
#pragma once

#include <cstdint>
#include <string>

namespace tsly {

struct Fault {
  std::int32_t number = 0;  // 0: the call raised nothing
  std::string source;
  std::string description;  // UTF-8, for a person

  explicit operator bool() const { return number != 0; }
};

}  // namespace tsly
