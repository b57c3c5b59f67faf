// Runs a part of a test without root's rights, in a child process.
#pragma once

#include <functional>

namespace tsly {

// Runs `body` in a child process, as the user "nobody" if the test runs as root. Returns the result of `body`, or -1 if
// the process didn't end normally. Changes in memory and test failures of `body` are lost.
int AsOrdinaryUser(const std::function<int()>& body);

}  // namespace tsly
