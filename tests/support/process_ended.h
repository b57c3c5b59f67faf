// Thrown in place of the end of the process by the shells of the tests; passes every Step and every guard, and is
// caught by the harness round a run alone. Not a RuntimeError, so that nobody skips over it.
#pragma once

namespace tsly {

struct ProcessEnded {};

}  // namespace tsly
