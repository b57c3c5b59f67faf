// Where the dialog's controls are drawn: the constants of its layout, and the rules that every backend of the toolkit
// applies. Pure functions.
#pragma once

#include <cstddef>
#include <vector>

#include "controls/control.h"

namespace tsly {

inline constexpr Twips kTwipsPerPixel = 15;                         // of the design
inline constexpr Twips kTextGapPixels = 5;                          // between texts, or a text and a button
inline constexpr Twips kTextGap = kTextGapPixels * kTwipsPerPixel;  // the same on a screen of the design's resolution
inline constexpr Twips kButtonMargin = 6 * kTwipsPerPixel;          // on either side of a caption
inline constexpr Twips kPanelMargin = 195;                          // free at a panel's right edge

// The controls that a position of a scroll bar, limited to 16 bits, can show in their panel, in the order of
// `controls`. Avoids native controls for thousands of texts in a long list.
std::vector<const Control*> ControlsWithinReach(const std::vector<Control*>& controls);

// Where the control is drawn, relative to its parent: a label that sizes itself is limited to its panel and to the
// button in its row. `controls` has at least all buttons.
Rect DrawnRect(const Control& control, const std::vector<const Control*>& controls);

// Rounds edges, not sizes, so that adjacent controls stay adjacent in pixels.
Rect InPixels(const Rect& rect, Twips twips_per_pixel);
int InPixels(Twips twips, Twips twips_per_pixel);

// The selection of a text box, kept within its text. Bytes.
struct Selection {
  std::size_t start = 0, end = 0;
  bool operator==(const Selection&) const = default;
};
Selection SelectionOf(const ControlLook& look);

}  // namespace tsly
