#include "controls/control.h"

#include <algorithm>
#include <utility>

#include "base/runtime_error.h"
#include "controls/form.h"

namespace tsly {
namespace {

ControlId NextId() {
  static ControlId last = 0;
  return ++last;
}

std::int16_t To16Bit(std::int32_t number) {
  if (number < INT16_MIN || number > INT16_MAX) throw RuntimeError{kErrorOverflow, "ScrollBar", "Overflow"};
  return static_cast<std::int16_t>(number);
}

}  // namespace

Control::Control(Form& form, Control* parent, ControlKind kind, std::string name, int index)
    : form_(form), id_(NextId()), kind_(kind), name_(std::move(name)), index_(index), parent_(parent) {
  form_.controls_.push_back(this);
  form_.CountChange();
}

Control::~Control() {
  // In reverse order of creation.
  auto& controls = form_.controls_;
  controls.erase(std::find(controls.rbegin(), controls.rend(), this).base() - 1);
  form_.CountChange();
}

void Control::Reset(const ControlLook& design) {
  look_ = design;
  tag_.clear();
  CountChange();
}

bool Control::Reachable() const {
  if (!look_.visible || !look_.enabled) return false;
  return parent_ == nullptr || parent_->Reachable();
}

bool Control::HasFont() const {
  const bool shows_text = kind_ == ControlKind::Label || kind_ == ControlKind::Button || kind_ == ControlKind::TextBox;
  return shows_text && (parent_ == nullptr || !parent_->IsComposed());
}

void Control::Move(const Rect& rect) {
  const bool resized = rect.width != look_.rect.width || rect.height != look_.rect.height;
  Change(look_.rect, rect);
  if (resized) OnResized();
}

void Control::SetText(std::string text) {
  if (Change(look_.text, std::move(text))) OnTextChanged();
}

void Control::SetFont(Font font) {
  if (Change(look_.font, std::move(font))) OnTextChanged();
}

void Control::CountChange() {
  ++changes_;
  form_.CountChange();
}

void Label::Reset(const ControlLook& design) {
  Control::Reset(design);
  FitText();
}

void Label::FitText() {
  if (!look_.auto_size) return;
  std::optional<Twips> wrap_width;
  if (look_.word_wrap) wrap_width = look_.rect.width;
  const TextSize size = form_.toolkit_.MeasureText(look_.text, look_.font, wrap_width);
  Rect rect = look_.rect;
  if (!look_.word_wrap) rect.width = size.width;
  rect.height = size.height;
  Change(look_.rect, rect);
}

void TextBox::SetSelection(std::int32_t start, std::int32_t length) {
  Change(look_.selection_start, start);
  Change(look_.selection_length, length);
}

void ScrollBar::SetMin(std::int32_t minimum) {
  if (Change(look_.minimum, To16Bit(minimum))) KeepValueInRange();
}

void ScrollBar::SetMax(std::int32_t maximum) {
  if (Change(look_.maximum, To16Bit(maximum))) KeepValueInRange();
}

void ScrollBar::SetSmallChange(std::int32_t change) { Change(look_.small_change, To16Bit(change)); }

void ScrollBar::SetLargeChange(std::int32_t change) { Change(look_.large_change, To16Bit(change)); }

void ScrollBar::SetValue(std::int32_t value) {
  if (TakeValue(value)) form_.OnScrolled(*this);
}

void ScrollBar::FollowThumb(std::int32_t value) { TakeValue(value); }

bool ScrollBar::TakeValue(std::int32_t value) {
  const std::int16_t wanted = To16Bit(value);
  if (wanted < look_.minimum || wanted > std::max(look_.minimum, look_.maximum)) {
    throw RuntimeError{380, "ScrollBar", "Invalid property value"};
  }
  return Change(look_.value, wanted);
}

void ScrollBar::KeepValueInRange() {
  const std::int16_t kept = std::clamp(look_.value, look_.minimum, std::max(look_.minimum, look_.maximum));
  if (Change(look_.value, kept)) form_.OnScrolled(*this);
}

}  // namespace tsly
