// The window toolkit: draws forms from their control models and reports the user's actions.
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

// Message box styles (MB_ values, winuser.h): the sum of a button set and an icon.
inline constexpr std::int32_t kButtonsYesNo = 4;
inline constexpr std::int32_t kIconStop = 16;
inline constexpr std::int32_t kIconQuestion = 32;
inline constexpr std::int32_t kIconWarning = 48;
inline constexpr std::int32_t kIconInformation = 64;

// The pressed button.
inline constexpr std::int32_t kAnswerOk = 1;
inline constexpr std::int32_t kAnswerYes = 6;
inline constexpr std::int32_t kAnswerNo = 7;

// Mouse pointers, numbered as in the controls' property.
inline constexpr std::int32_t kPointerDefault = 0;
inline constexpr std::int32_t kPointerHourglass = 11;
inline constexpr std::int32_t kPointerCustom = 99;  // the pointing hand

struct ScreenMetrics {
  Twips width = 0, height = 0;              // of the screen's usable area
  Twips frame_width = 0, frame_height = 0;  // border and title bar of a window
  Twips twips_per_pixel_x = 15;
};

// Whether a new window takes the keyboard focus or leaves it to the program in which the user is typing.
enum class Keyboard { kTake, kLeave };

class Toolkit : public TextMeasure {
 public:
  virtual ScreenMetrics Metrics() = 0;

  // Creates the form's window, hidden.
  virtual void Open(Form& form) = 0;
  // Destroys the window. Safe inside any event of that window.
  virtual void Close(Form& form) = 0;
  // Shows the window, centred on the screen the first time; no effect if it is shown.
  virtual void Show(Form& form, Keyboard keyboard) = 0;
  // Keeps the window above all normal windows; doesn't change position, size and keyboard focus.
  virtual void PlaceTopmost(Form& form) = 0;
  // Draws changes at once. Processes no events.
  virtual void Refresh(Form& form) = 0;

  virtual void SetScreenPointer(std::int32_t pointer) = 0;

  // Shows a message and waits for the answer, processing events. The default title is the program's name.
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
