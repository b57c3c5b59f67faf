// The dialog's controls as plain data without any toolkit type. Geometry is in twips, relative to the parent. A setter
// maintains the rules of its kind of control and counts the change; the toolkit compares and draws. Owner: the form's
// class. Thread: the program's only one.
#pragma once

#include <cstdint>
#include <string>

#include "ports/font.h"
#include "ports/twips.h"

namespace tsly {

class Form;

enum class ControlKind { Panel, Label, Image, Button, TextBox, ScrollBar, Rectangle, Line };

struct Color {
  std::uint8_t red = 0, green = 0, blue = 0;
  bool operator==(const Color&) const = default;
};

inline constexpr Color kWhite{255, 255, 255};

struct Rect {
  Twips left = 0, top = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};

// Everything that a toolkit draws of one control. Members that a kind doesn't use keep their defaults.
struct ControlLook {
  Rect rect;
  bool visible = true;
  bool enabled = true;
  std::string text;  // caption of a label or button, contents of a text box
  Color back_color;
  Color fore_color = kWhite;
  bool transparent = false;  // the parent's background shows through
  Font font;
  std::int32_t mouse_pointer = 0;
  std::int32_t border_style = 0;
  bool auto_size = false;  // label: its size follows its text; with word_wrap only its height
  bool word_wrap = false;  // label: wraps at its width
  std::string picture;     // image: name of a compiled-in picture
  bool read_only = false;  // text box
  bool multi_line = false;
  std::int32_t selection_start = 0, selection_length = 0;                                // text box, in bytes
  std::int16_t minimum = 0, maximum = 0, value = 0, small_change = 1, large_change = 1;  // scroll bar
};

using ControlId = std::uint64_t;  // never reused in a process; 0: none

class Control {
 public:
  // Adds the control to `form` after its other controls, inside `parent` or, if null, directly on the form. `index` -1:
  // the control isn't in a control array.
  Control(Form& form, Control* parent, ControlKind kind, std::string name, int index = -1);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  virtual ~Control();

  // Resets the control to its design.
  virtual void Reset(const ControlLook& design);

  ControlId Id() const { return id_; }
  ControlKind Kind() const { return kind_; }
  const std::string& Name() const { return name_; }
  int Index() const { return index_; }
  Control* Parent() const { return parent_; }
  const ControlLook& Look() const { return look_; }
  std::uint64_t Changes() const { return changes_; }
  void Redraw() { CountChange(); }

  // Whether the control and all its parents are visible and enabled.
  bool Reachable() const;

  Twips Left() const { return look_.rect.left; }
  Twips Top() const { return look_.rect.top; }
  Twips Width() const { return look_.rect.width; }
  Twips Height() const { return look_.rect.height; }
  bool Visible() const { return look_.visible; }
  bool Enabled() const { return look_.enabled; }
  const std::string& Text() const { return look_.text; }
  const std::string& Tag() const { return tag_; }
  std::int32_t MousePointer() const { return look_.mouse_pointer; }
  const Font& GetFont() const { return look_.font; }

  void SetLeft(Twips left) { Move({left, Top(), Width(), Height()}); }
  void SetTop(Twips top) { Move({Left(), top, Width(), Height()}); }
  void SetWidth(Twips width) { Move({Left(), Top(), width, Height()}); }
  void SetHeight(Twips height) { Move({Left(), Top(), Width(), height}); }
  void Move(const Rect& rect);
  void SetVisible(bool visible) { Change(look_.visible, visible); }
  void SetEnabled(bool enabled) { Change(look_.enabled, enabled); }
  void SetText(std::string text);
  void SetTag(std::string tag) { tag_ = std::move(tag); }
  void SetMousePointer(std::int32_t pointer) { Change(look_.mouse_pointer, pointer); }
  void SetBorderStyle(std::int32_t style) { Change(look_.border_style, style); }
  void SetForeColor(Color color) { Change(look_.fore_color, color); }
  void SetFont(Font font);

  // Whether the dialog's font applies to this control. A composed control has no font, and its parts aren't controls of
  // the dialog.
  bool HasFont() const;
  virtual bool IsComposed() const { return false; }

 protected:
  template <typename Value>
  bool Change(Value& member, Value value) {
    if (member == value) return false;
    member = std::move(value);
    CountChange();
    return true;
  }
  void CountChange();

  // Called after a change of width, height, text or font.
  virtual void OnResized() {}
  virtual void OnTextChanged() {}

  Form& form_;
  ControlLook look_;

 private:
  const ControlId id_;
  const ControlKind kind_;
  const std::string name_;
  const int index_;
  Control* const parent_;
  std::string tag_;
  std::uint64_t changes_ = 1;
};

// A label; with auto_size its size follows its text at each change of text, font or width.
class Label : public Control {
 public:
  Label(Form& form, Control* parent, std::string name, int index = -1)
      : Control(form, parent, ControlKind::Label, std::move(name), index) {}
  void Reset(const ControlLook& design) override;

 protected:
  void OnResized() override { FitText(); }
  void OnTextChanged() override { FitText(); }

 private:
  void FitText();
};

// A text box; caret positions are bytes of its text.
class TextBox : public Control {
 public:
  TextBox(Form& form, Control* parent, std::string name)
      : Control(form, parent, ControlKind::TextBox, std::move(name)) {}
  void SetSelection(std::int32_t start, std::int32_t length);
};

// A vertical scroll bar. All its numbers are signed 16-bit integers; a setter given a larger number throws an overflow
// and changes nothing. A changed value is reported to the form at once (Form::OnScrolled).
class ScrollBar : public Control {
 public:
  ScrollBar(Form& form, Control* parent, std::string name)
      : Control(form, parent, ControlKind::ScrollBar, std::move(name)) {}

  void SetMin(std::int32_t minimum);
  void SetMax(std::int32_t maximum);
  void SetSmallChange(std::int32_t change);
  void SetLargeChange(std::int32_t change);
  void SetValue(std::int32_t value);     // throws error 380 outside the range
  void FollowThumb(std::int32_t value);  // the same, without a report to the form
  std::int16_t Value() const { return look_.value; }
  std::int16_t Max() const { return look_.maximum; }

 private:
  bool TakeValue(std::int32_t value);
  void KeepValueInRange();
};

}  // namespace tsly
