// Whether there is a display that a window could be shown on.
#pragma once

namespace tsly {

// Tries what the toolkit would try: the X server and the Wayland compositor that the environment names, or the
// toolkit's platforms in QT_QPA_PLATFORM. The toolkit itself ends the process when none of them works.
bool DisplayIsThere();

}  // namespace tsly
