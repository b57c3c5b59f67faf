// Thrown by the tests' shells instead of ending the process. Only the harness around a run catches it: no Step or guard
// does, because it isn't a RuntimeError.
#pragma once

namespace tsly {

struct ProcessEnded {};

}  // namespace tsly
