// The platform's result codes for the system's error numbers, in one table for all backends.
#pragma once

namespace tsly {

// The code for an errno value; 0 for 0, `otherwise` for unknown ones.
int CodeOf(int error, int otherwise);

}  // namespace tsly
