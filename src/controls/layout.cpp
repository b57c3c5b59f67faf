#include "controls/layout.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tsly {
namespace {

bool IsWithinReach(const Control& control) {
  for (const Control* at = &control; at->Parent() != nullptr; at = at->Parent()) {
    if (at->Top() > INT16_MAX + at->Parent()->Height()) return false;
  }
  return true;
}

bool AreInOneRow(const Rect& a, const Rect& b) { return a.top < b.top + b.height && b.top < a.top + a.height; }

}  // namespace

std::vector<const Control*> ControlsWithinReach(const std::vector<Control*>& controls) {
  std::vector<const Control*> within;
  std::copy_if(controls.begin(), controls.end(), std::back_inserter(within),
               [](const Control* control) { return IsWithinReach(*control); });
  return within;
}

Rect DrawnRect(const Control& control, const std::vector<const Control*>& controls) {
  const ControlLook& look = control.Look();
  Rect rect = look.rect;
  const Control* panel = control.Parent();
  if (control.Kind() != ControlKind::Label || !look.auto_size || look.word_wrap || panel == nullptr) return rect;
  Twips end = panel->Width() - kPanelMargin;
  for (const Control* other : controls) {
    if (other->Kind() != ControlKind::Button || other->Parent() != panel || other->Left() <= rect.left) continue;
    if (AreInOneRow(other->Look().rect, rect)) end = std::min(end, other->Left() - kTextGap);
  }
  rect.width = std::clamp<Twips>(end - rect.left, 0, rect.width);
  return rect;
}

int InPixels(Twips twips, Twips twips_per_pixel) {
  return static_cast<int>(std::lround(static_cast<double>(twips) / twips_per_pixel));
}

Rect InPixels(const Rect& rect, Twips twips_per_pixel) {
  const auto pixels = [&](Twips twips) { return InPixels(twips, twips_per_pixel); };
  const Twips left = pixels(rect.left), top = pixels(rect.top);
  return {left, top, pixels(rect.left + rect.width) - left, pixels(rect.top + rect.height) - top};
}

Selection SelectionOf(const ControlLook& look) {
  const auto within = [&](std::int64_t byte) {
    return std::min(static_cast<std::size_t>(std::max<std::int64_t>(byte, 0)), look.text.size());
  };
  return {within(look.selection_start), within(std::int64_t{look.selection_start} + look.selection_length)};
}

}  // namespace tsly
