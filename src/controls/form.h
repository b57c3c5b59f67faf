// A window as data, with the life cycle of a dialog: loaded, shown, hidden, unloaded, loaded again. The object outlives
// its unloads. Owner: the program. Thread: the program's only one.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/runtime_error.h"
#include "controls/control.h"
#include "controls/focus.h"
#include "ports/toolkit.h"

namespace tsly {

// What a user does to a window, as the toolkit reports it.
struct UiEvent {
  enum class Kind {
    Click,           // of a button, a label or a panel
    ThumbMoved,      // scroll bar: `value` while the thumb is dragged
    ValueChanged,    // scroll bar: `value` after a click on an arrow or page, and when the thumb is released
    GotFocus,        // `value` 1: the control shows it (ShowsFocus)
    KeyPressed,      // `value`: Key; `control`: the one with the focus, or 0
    WheelTurned,     // `value`: twips by which the panel of the control scrolls, towards its end if positive
    CloseRequested,  // the window's close button or the session's end; no control
  };
  Kind kind = Kind::Click;
  ControlId control = 0;
  std::int32_t value = 0;
};

class Form {
 public:
  explicit Form(Toolkit& toolkit) : toolkit_(toolkit) {}
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  virtual ~Form() = default;

  // Loading. Load runs OnLoad once per load; Unload asks OnQueryUnload, then runs OnUnload. While OnLoad runs, Show and
  // Unload do nothing.
  void Load();
  // Loads, then runs `deed`. A message box in OnLoad processes events, so this may be called during a load: `deed` then
  // runs after that load and after those of earlier callers. Nothing is shown before.
  void LoadThen(std::function<void()> deed);
  void Show(Keyboard keyboard = Keyboard::kTake);  // loads first if necessary
  void Unload(std::int32_t mode = kUnloadByProgram);
  bool Loaded() const { return loaded_; }
  bool Visible() const { return visible_; }
  // Counts the loads. A routine that processed events compares it with the number from before: the dialog may have been
  // unloaded, or unloaded and loaded again.
  std::uint64_t LoadNumber() const { return load_number_; }
  bool IsLoad(std::uint64_t number) const { return loaded_ && load_number_ == number; }

  // Receives every event of the toolkit from the event loop. Drops events of an earlier load, of controls that are gone
  // or that the user can't reach any more, and those that arrive while a message is open.
  void Deliver(const UiEvent& event, std::uint64_t load_number);

  // Runs the handler of an event (click, tick, transfer state, client's call). A run-time error that gets here is a
  // bug in some routine: it is recorded for tests, and the program continues.
  void RunHandler(const std::function<void()>& handler);
  const std::vector<RuntimeError>& UnhandledErrors() const { return unhandled_errors_; }

  // What the toolkit draws. Later controls are above earlier ones.
  const std::vector<Control*>& Controls() const { return controls_; }
  Control* Find(ControlId id) const;
  const std::string& Caption() const { return caption_; }
  const Font& GetFont() const { return font_; }
  Color BackColor() const { return back_color_; }
  const Rect& Outer() const { return outer_; }  // with border and title bar, on the screen
  Twips InnerWidth() const;
  Twips InnerHeight() const;
  ControlId FocusRequest() const { return focus_request_; }
  std::uint64_t FocusRequests() const { return focus_requests_; }
  std::uint64_t Changes() const { return changes_; }  // of the form and all its controls

  void SetCaption(std::string caption);
  void SetFont(Font font);
  void Move(const Rect& outer);
  void SetFocus(const Control& control);

  static constexpr std::int32_t kUnloadByUser = 0;
  static constexpr std::int32_t kUnloadByProgram = 1;

 protected:
  // Resets the form to its design, centred on the screen.
  void ResetForm(std::string caption, Color back_color, Twips inner_width, Twips inner_height);

  // Resets form and controls to their design; runs at each load before OnLoad.
  virtual void OnReset() = 0;
  virtual void OnLoad() = 0;
  // Sets `cancel` to refuse.
  virtual void OnQueryUnload(bool& cancel, std::int32_t mode) = 0;
  virtual void OnUnload() = 0;
  virtual void OnClick(Control& control) = 0;
  virtual void OnGotFocus(Control&) {}
  // The value has changed, by the user or the program.
  virtual void OnScrolled(ScrollBar&) {}
  // The thumb is being dragged; the value is already updated.
  virtual void OnThumbMoved(ScrollBar&) {}

  Toolkit& toolkit_;

 private:
  friend class Control;
  friend class ScrollBar;
  friend class Label;
  void CountChange() { ++changes_; }
  void RunWaiting();
  void Handle(const UiEvent& event, Control* control);
  void HandleKey(Key key, Control* focused);

  std::vector<Control*> controls_;
  std::string caption_;
  Font font_;
  Color back_color_;
  Rect outer_;
  bool loaded_ = false;
  bool loading_ = false;  // OnLoad is running
  std::deque<std::function<void()>> waiting_;
  bool visible_ = false;
  bool unloading_ = false;
  std::uint64_t load_number_ = 0;
  std::uint64_t changes_ = 1;
  ControlId focus_request_ = 0;
  std::uint64_t focus_requests_ = 0;
  std::vector<RuntimeError> unhandled_errors_;
};

// The load that a routine began in: false as soon as the form is unloaded, also after it is loaded anew.
class SameLoad {
 public:
  explicit SameLoad(const Form& form) : form_(form), number_(form.LoadNumber()) {}
  explicit operator bool() const { return form_.IsLoad(number_); }

 private:
  const Form& form_;
  const std::uint64_t number_;
};

}  // namespace tsly
