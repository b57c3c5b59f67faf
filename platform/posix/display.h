// Whether there is a display that a window could be shown on.
#pragma once

namespace tsly {

// Tries the X server, unless the environment names a platform of the toolkit that needs none.
bool DisplayIsThere();

}  // namespace tsly
