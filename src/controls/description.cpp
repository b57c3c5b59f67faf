#include "controls/description.h"

#include <algorithm>
#include <unordered_map>

#include "controls/focus.h"

namespace tsly {
namespace {

bool IsInsideCharacter(const std::string& text, std::size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

}  // namespace

Role RoleOf(ControlKind kind, const ControlLook& look) {
  switch (kind) {
    case ControlKind::Label:
      return IsLink(kind, look) ? Role::kLink : Role::kText;
    case ControlKind::Button:
      return Role::kButton;
    case ControlKind::ScrollBar:
      return Role::kScrollBar;
    case ControlKind::TextBox:
      return look.multi_line ? Role::kEdit : Role::kGroup;  // one of a single line only holds the focus
    case ControlKind::Panel:
      return Role::kGroup;
    case ControlKind::Image:
    case ControlKind::Rectangle:
    case ControlKind::Line:
      break;
  }
  return Role::kDecoration;
}

std::vector<std::string> AccessibleNames(const std::string& caption, const std::vector<const Control*>& controls) {
  std::unordered_map<const Control*, const Control*> first_in, before;
  for (const Control* control : controls) {
    if (control->Kind() == ControlKind::Label) first_in.emplace(control->Parent(), control);
  }
  std::unordered_map<const Control*, std::string> panel_names{
      {nullptr, caption}
  };
  std::vector<std::string> names;
  for (const Control* control : controls) {
    const Control* parent = control->Parent();
    if (control->Kind() == ControlKind::Label) before[parent] = control;
    const bool has_text = control->Kind() == ControlKind::Label || control->Kind() == ControlKind::Button;
    const auto first = first_in.find(control);
    const Control* label = has_text ? control : first != first_in.end() ? first->second : before[parent];
    names.push_back(label != nullptr ? label->Text() : panel_names[parent]);
    if (control->Kind() == ControlKind::Panel) panel_names[control] = names.back();
  }
  return names;
}

TextChange ChangeOf(const std::string& before, const std::string& after) {
  auto kept = static_cast<std::size_t>(std::ranges::mismatch(before, after).in1 - before.begin());
  while (kept > 0 && (IsInsideCharacter(before, kept) || IsInsideCharacter(after, kept) || before[kept - 1] == '\r')) {
    --kept;
  }
  const bool only_dots = std::all_of(after.begin() + static_cast<std::ptrdiff_t>(kept), after.end(),
                                     [](char letter) { return letter == '.'; });
  return {kept, kept != before.size() || !only_dots};
}

}  // namespace tsly
