// Asks an X11 window to close, as its close button would.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tsly {

// Waits until the window is gone, `longest` at most, calling `repaint` about every 50 ms and letting nothing else in.
// Gives the platform's code: 0, also for a window that can't be asked and one that stays; 1400 if there is no such
// window, or no display.
int AskWindowToClose(std::uint32_t window, std::chrono::milliseconds longest, const std::function<void()>& repaint);

}  // namespace tsly
