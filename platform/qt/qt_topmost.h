// Keeping a window that is already shown above the others, which Qt offers only before a window is shown.
#pragma once

class QWindow;

namespace tsly {

// Without effect where the window system has no such thing. Place, size and the keyboard's focus stay.
void KeepAbove(QWindow& window);

}  // namespace tsly
