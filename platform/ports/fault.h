// The error of a platform call, like that of an automation call: a value, never an exception. The core converts it to
// its own run-time error where necessary.
#pragma once

#include <cstdint>
#include <string>

namespace tsly {

struct Fault {
  std::int32_t number = 0;  // 0: no error
  std::string source;
  std::string description;  // UTF-8, for the user

  explicit operator bool() const { return number != 0; }
};

}  // namespace tsly
