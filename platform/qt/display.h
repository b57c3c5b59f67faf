// Checks for a display that can show windows.
#pragma once

namespace tsly {

// Tries what the toolkit would try: the X server and the Wayland compositor in the environment, or the toolkit's
// platforms in QT_QPA_PLATFORM. The toolkit itself would end the process if none of them works.
bool DisplayIsThere();

}  // namespace tsly
