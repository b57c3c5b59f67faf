// The window toolkit: draws forms from their control models and reports what the user does to them.
//
// One thread. The toolkit reads the models (controls/form.h) and never writes them: what the user does becomes a
// UiEvent that the event loop delivers to the form, and the form decides what it means. What changed in a model is
// drawn at the loop's next turn, or at once by Refresh; where and as what follows from controls/layout.h, focus.h and
// description.h. Texts are UTF-8; bytes that are none show as replacement characters.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ports/text_measure.h"

namespace tsly {

class Form;

// Message box styles (MB_ values, winuser.h), of which the program adds one button set and one icon.
inline constexpr std::int32_t kButtonsYesNo = 4;
inline constexpr std::int32_t kIconStop = 16;
inline constexpr std::int32_t kIconQuestion = 32;
inline constexpr std::int32_t kIconWarning = 48;
inline constexpr std::int32_t kIconInformation = 64;

// Buttons that end it.
inline constexpr std::int32_t kAnswerOk = 1;
inline constexpr std::int32_t kAnswerYes = 6;
inline constexpr std::int32_t kAnswerNo = 7;

// Mouse pointers, by the numbers that the controls' property takes.
inline constexpr std::int32_t kPointerDefault = 0;
inline constexpr std::int32_t kPointerHourglass = 11;
inline constexpr std::int32_t kPointerCustom = 99;  // the pointing hand

struct ScreenMetrics {
  Twips width = 0, height = 0;              // of the screen's usable area
  Twips frame_width = 0, frame_height = 0;  // what border and title bar of a window add to its inner area
  Twips twips_per_pixel_x = 15;
};

// What a window that comes up does with the keyboard: takes it, or leaves it to the program that the user is typing in.
enum class Keyboard { kTake, kLeave };

class Toolkit : public TextMeasure {
 public:
  virtual ScreenMetrics Metrics() = 0;

  // Makes the form's window, not shown.
  virtual void Open(Form& form) = 0;
  // Takes the window away. Safe inside any event of that window.
  virtual void Close(Form& form) = 0;
  // Shows the window, in the centre of the screen the first time; without effect on one that is shown.
  virtual void Show(Form& form, Keyboard keyboard) = 0;
  // Puts the window above all normal windows; position and size stay, the keyboard stays where it is.
  virtual void PlaceTopmost(Form& form) = 0;
  // Draws what changed at once. No event is served.
  virtual void Refresh(Form& form) = 0;

  virtual void SetScreenPointer(std::int32_t pointer) = 0;

  // Shows a message and waits for the answer, serving events. Without a title it bears the program's.
  std::int32_t ShowMessage(const std::string& prompt, std::int32_t style, const std::optional<std::string>& title) {
    const OpenMessage open(open_messages_);
    return DoShowMessage(prompt, style, title);
  }
  // While one is open, a form drops what its user does to it: an event that was queued before would run below the
  // message.
  bool MessageIsOpen() const { return open_messages_ > 0; }

 private:
  virtual std::int32_t DoShowMessage(const std::string& prompt, std::int32_t style,
                                   const std::optional<std::string>& title) = 0;

  struct OpenMessage {
    explicit OpenMessage(int& count) : counted(++count) {}
    ~OpenMessage() { --counted; }
    OpenMessage(const OpenMessage&) = delete;
    OpenMessage& operator=(const OpenMessage&) = delete;
    int& counted;
  };
  int open_messages_ = 0;
};

}  // namespace tsly
