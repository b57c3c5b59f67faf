// Keeps a shown window above the others, which Qt supports only before a window is shown.
#pragma once

class QWindow;

namespace tsly {

// No effect if the window system doesn't support it. Position, size and keyboard focus don't change.
void KeepAbove(QWindow& window);

}  // namespace tsly
