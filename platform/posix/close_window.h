// Asks an X11 window to close, as its close button would.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tsly {

// Waits until the window is gone, at most `longest`, and calls `repaint` about every 50 ms; processes no events.
// Returns the platform's code: 0, also for a window that doesn't support closing or stays open; 1400 without such a
// window or a display.
int AskWindowToClose(std::uint32_t window, std::chrono::milliseconds longest, const std::function<void()>& repaint);

}  // namespace tsly
