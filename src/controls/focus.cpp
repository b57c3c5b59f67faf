#include "controls/focus.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

#include "ports/toolkit.h"

namespace tsly {
namespace {

constexpr Twips kLine = 195;
constexpr Twips kTwipsPerNotch = 3 * kLine;
constexpr std::int32_t kUnitsPerNotch = 120;

// List items are created after the buttons that follow the list: the order of creation is not the reading order.
std::vector<const Control*> InReadingOrder(const std::vector<const Control*>& controls) {
  std::unordered_map<const Control*, std::vector<const Control*>> children;
  for (const Control* control : controls) children[control->Parent()].push_back(control);
  std::vector<const Control*> order;
  const std::function<void(const Control*)> walk = [&](const Control* parent) {
    for (const Control* control : children[parent]) {
      order.push_back(control);
      walk(control);
    }
  };
  walk(nullptr);
  return order;
}

bool IsTabStop(const Control& control) {
  return FocusAccessOf(control.Kind(), control.Look()) == FocusAccess::kByTab && control.Reachable();
}

bool IsUsableBar(const Control* control) {
  return control->Kind() == ControlKind::ScrollBar && control->Parent() != nullptr && control->Reachable();
}

}  // namespace

bool IsLink(ControlKind kind, const ControlLook& look) {
  return kind == ControlKind::Label && (look.mouse_pointer == kPointerCustom || look.font.underline);
}

FocusAccess FocusAccessOf(ControlKind kind, const ControlLook& look) {
  const bool by_tab = kind == ControlKind::Button || (kind == ControlKind::TextBox && look.multi_line);
  if (by_tab || IsLink(kind, look)) return FocusAccess::kByTab;
  return kind == ControlKind::ScrollBar ? FocusAccess::kByPointer : FocusAccess::kNone;
}

const Control* NextFocus(const std::vector<const Control*>& controls, ControlId current, bool forward) {
  std::vector<const Control*> order = InReadingOrder(controls);
  if (!forward) std::ranges::reverse(order);
  const auto at = std::ranges::find(order, current, &Control::Id);
  if (at != order.end()) std::rotate(order.begin(), at + 1, order.end());
  const auto next = std::ranges::find_if(order, [](const Control* control) { return IsTabStop(*control); });
  return next == order.end() || (*next)->Id() == current ? nullptr : *next;
}

bool ShowsFocus(ControlKind kind, FocusCause cause, bool shown_before) {
  if (cause == FocusCause::kWindow) return shown_before;
  return kind == ControlKind::TextBox ? cause == FocusCause::kTab : cause != FocusCause::kPointer;
}

ScrollBar* ReachableScrollBar(const std::vector<Control*>& controls) {
  const auto bar = std::ranges::find_if(controls, IsUsableBar);
  return bar == controls.end() ? nullptr : static_cast<ScrollBar*>(*bar);
}

ScrollBar* ScrollBarAround(const std::vector<Control*>& controls, const Control& control) {
  for (const Control* panel = &control; panel != nullptr; panel = panel->Parent()) {
    const auto bar =
        std::ranges::find_if(controls, [&](const Control* at) { return at->Parent() == panel && IsUsableBar(at); });
    if (bar != controls.end()) return static_cast<ScrollBar*>(*bar);
  }
  return nullptr;
}

std::int32_t WithinRange(const ControlLook& bar, std::int64_t value) {
  const std::int64_t maximum = std::max(bar.minimum, bar.maximum);
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, bar.minimum, maximum));
}

std::int32_t ScrolledBy(const ScrollBar& bar, Key key) {
  const ControlLook& look = bar.Look();
  const Twips page = bar.Parent()->Height();
  switch (key) {
    case Key::kUp:
      return WithinRange(look, look.value - kLine);
    case Key::kDown:
      return WithinRange(look, look.value + kLine);
    case Key::kPageUp:
      return WithinRange(look, look.value - page);
    case Key::kPageDown:
      return WithinRange(look, look.value + page);
    case Key::kHome:
      return WithinRange(look, INT16_MIN);
    case Key::kEnd:
      return WithinRange(look, INT16_MAX);
    case Key::kPress:
      break;
  }
  return look.value;
}

Twips DistanceIntoView(const ScrollBar& bar, const Control& control) {
  const Control* panel = bar.Parent();
  Twips top = 0, part_top = 0;
  const Control* part = &control;
  for (const Control* at = &control; at != panel; at = at->Parent()) {
    part = at;
    part_top = at->Top();
    top += part_top;
  }
  const bool whole = part->Height() <= panel->Height();
  const Twips first = whole ? part_top : top;
  const Twips below = first + (whole ? part : &control)->Height() - panel->Height();
  return first < 0 ? first : std::max(below, 0);
}

Twips WheelDistance(std::int32_t units) { return units * kTwipsPerNotch / kUnitsPerNotch; }

}  // namespace tsly
