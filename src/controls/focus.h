// Keyboard focus and scrolling: which controls get the focus and in which order, and how far keys, the wheel and a new
// focus scroll. Pure functions on the models; a backend of the toolkit only reports keys, wheel turns and focus
// changes.
#pragma once

#include <cstdint>
#include <vector>

#include "controls/control.h"

namespace tsly {

enum class FocusAccess { kNone, kByPointer, kByTab };
enum class FocusCause { kTab, kPointer, kProgram, kWindow };  // kWindow: the window became active again

// The keys that a form handles.
enum class Key : std::int32_t { kPress, kUp, kDown, kPageUp, kPageDown, kHome, kEnd };

// Whether a label is a link: it shows the hand or an underline.
bool IsLink(ControlKind kind, const ControlLook& look);

// A scroll bar gets the focus only by pointer: the form passes it on at once, which would trap users of the Tab key.
FocusAccess FocusAccessOf(ControlKind kind, const ControlLook& look);

// The control that Tab moves to from `current`, or Shift+Tab if not `forward`; `current` 0: from the window. Panel by
// panel, each from its first control to its last, then from the start again. Null if no other control can be reached.
const Control* NextFocus(const std::vector<const Control*>& controls, ControlId current, bool forward);

// Whether a control shows that it has the focus: not after a click. A window that is activated again restores what was
// shown before.
bool ShowsFocus(ControlKind kind, FocusCause cause, bool shown_before);

// The first scroll bar in a panel that the user can reach; null: there is none.
ScrollBar* ReachableScrollBar(const std::vector<Control*>& controls);
// The same for the panel that contains `control`, at any depth.
ScrollBar* ScrollBarAround(const std::vector<Control*>& controls, const Control& control);
// The value that a scroll bar takes, within its range.
std::int32_t WithinRange(const ControlLook& bar, std::int64_t value);
std::int32_t ScrolledBy(const ScrollBar& bar, Key key);
// How far the bar has to scroll to show the list item of `control` (the direct child of the scrolled panel), or the
// control itself if the item is higher than the panel; 0: it is visible.
Twips DistanceIntoView(const ScrollBar& bar, const Control& control);

// Twips for a turn of the mouse wheel: three lines of text for each notch of 120 units. Positive: upwards.
Twips WheelDistance(std::int32_t units);

}  // namespace tsly
