#include "discovery/AvailableUpdate.h"

#include "base/runtime_error.h"
#include "ports/toolkit.h"

namespace tsly {
namespace {

constexpr Color kItemBack{56, 56, 56};
constexpr Color kItemText{192, 192, 192};
constexpr Color kItemLink{192, 192, 255};
constexpr Color kItemLine{80, 80, 80};
constexpr Twips kLineMargin = 90;
constexpr Twips kGap = 15;

ControlLook TextLook(Rect rect, Color color) {
  ControlLook look;
  look.rect = rect;
  look.fore_color = color;
  look.transparent = true;
  return look;
}

std::size_t CheckedNumber(std::int32_t number) {
  if (number < 0) throw RuntimeError{kErrorSubscript, "UpdateElementAction", "Subscript out of range"};
  return static_cast<std::size_t>(number);
}

}  // namespace

AvailableUpdate::AvailableUpdate(Form& form, Control* parent, std::string name, int index)
    : Control(form, parent, ControlKind::Panel, std::move(name), index),
      Image1(form, this, ControlKind::Image, "Image1"),
      lblItem(form, this, "lblItem"),
      lblVersion(form, this, "lblVersion"),
      lblMoreInfo(form, this, "lblMoreInfo"),
      lblExplanation(form, this, "lblExplanation"),
      linBottom(form, this, ControlKind::Line, "linBottom") {}

void AvailableUpdate::Reset(const ControlLook& design) {
  ControlLook own = design;
  own.back_color = kItemBack;
  Control::Reset(own);

  ControlLook picture;
  picture.rect = {90, 75, 210, 225};
  picture.picture = "arrow";
  Image1.Reset(picture);

  ControlLook title = TextLook({405, 90, 5280, 195}, kWhite);
  title.font.bold = true;
  lblItem.Reset(title);
  lblVersion.Reset(TextLook({405, 315, 5280, 195}, kItemText));

  ControlLook link = TextLook({405, 855, 810, 195}, kItemLink);
  link.font.underline = true;
  link.mouse_pointer = kPointerCustom;
  link.auto_size = true;
  lblMoreInfo.Reset(link);

  ControlLook summary = TextLook({405, 585, 5280, 195}, kItemText);
  summary.auto_size = true;
  summary.word_wrap = true;
  lblExplanation.Reset(summary);
  linBottom.Reset(TextLook({90, 1260, 5625, 0}, kItemLine));

  SetUpdateElementAction(0, "");
  hide_bottom_line_ = false;
}

void AvailableUpdate::SetUpdateElementAction(std::int32_t number, const std::string& line) {
  const std::size_t at = CheckedNumber(number);
  if (at == 0) actions_.assign(1, "");
  if (at >= actions_.size()) actions_.resize(at + 1);
  actions_[at] = line;
}

std::string AvailableUpdate::UpdateElementAction(std::int32_t number) const {
  const std::size_t at = CheckedNumber(number);
  return at < actions_.size() ? actions_[at] : "";
}

void AvailableUpdate::SetItem(const std::string& title) {
  lblItem.SetText(title);
  UserControl_Resize();
}

void AvailableUpdate::SetVersion(const std::string& text) { lblVersion.SetText(text); }

void AvailableUpdate::SetExplanation(const std::string& text) {
  lblExplanation.SetText(text);
  UserControl_Resize();
}

void AvailableUpdate::SetMoreInfo(const std::string& text) {
  lblMoreInfo.SetText(text);
  UserControl_Resize();
}

void AvailableUpdate::SetHideBottomLine(bool hide) {
  hide_bottom_line_ = hide;
  UserControl_Resize();
}

void AvailableUpdate::UserControl_Resize() {
  // Setting the height below calls this again.
  if (inside_resize_) return;
  inside_resize_ = true;
  lblItem.SetWidth(Width() - lblItem.Left() - kLineMargin);
  lblVersion.SetWidth(lblItem.Width());
  lblExplanation.SetWidth(lblItem.Width());
  lblVersion.SetTop(lblItem.Top() + lblItem.Height() + kGap);
  lblExplanation.SetTop(lblVersion.Top() + lblVersion.Height() + kGap);
  lblMoreInfo.SetTop(lblExplanation.Top() + lblExplanation.Height() + kGap);
  const Twips end_of_texts = lblMoreInfo.Top() + lblMoreInfo.Height();
  linBottom.SetVisible(!hide_bottom_line_);
  if (hide_bottom_line_) {
    SetHeight(end_of_texts + 90);
  } else {
    const Twips line = end_of_texts + 120;
    linBottom.Move({kLineMargin, line, Width() - 2 * kLineMargin, 0});
    SetHeight(line + 15);
  }
  inside_resize_ = false;
}

}  // namespace tsly
