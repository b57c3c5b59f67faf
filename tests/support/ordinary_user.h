// Runs a part of a test without root's rights, in a process of its own.
#pragma once

#include <functional>

namespace tsly {

// Root becomes the user "nobody" for the length of `body`, everybody else stays who he is. The result is what `body`
// gives; -1 when the process didn't come to its end. What `body` changes in memory is lost, its test failures too.
int AsOrdinaryUser(const std::function<int()>& body);

}  // namespace tsly
