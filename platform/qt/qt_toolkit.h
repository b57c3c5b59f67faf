// The window toolkit on Qt Widgets.
//
// Owner: the composition, which makes it after application object and loop and ends it before them. Needs no display:
// with the offscreen platform everything works and nobody sees it. The core's tests use a toolkit that draws nothing.
#pragma once

#include <QMetaObject>
#include <map>

#include "ports/toolkit.h"

namespace tsly {

class FormWindow;
class QtEventLoop;

class QtToolkit final : public Toolkit {
 public:
  // kBackground: the user works in another program, the client's. A message that comes up by itself leaves the keyboard
  // there and lies above. kHeadless: there is no display, and the process goes on for its client. A message box answers
  // itself (OK; No), and a window that is shown counts as closed by the user.
  enum class Interaction { kForeground, kBackground, kHeadless };

  explicit QtToolkit(QtEventLoop& loop, Interaction interaction = Interaction::kForeground);
  ~QtToolkit() override;

  TextSize MeasureText(const std::string& text, const Font& font, std::optional<Twips> wrap_width) const override;
  ScreenMetrics Metrics() override;
  void Open(Form& form) override;
  void Close(Form& form) override;
  void Show(Form& form, Keyboard keyboard) override;
  void PlaceTopmost(Form& form) override;
  void Refresh(Form& form) override;
  void SetScreenPointer(std::int32_t pointer) override;

  // Draws all windows anew at once, serving no event: for waits that let nothing else in.
  void RepaintAll();

 private:
  std::int32_t DoShowMessage(const std::string& prompt, std::int32_t style,
                           const std::optional<std::string>& title) override;
  FormWindow* WindowOf(const Form& form) const;
  FormWindow* VisibleWindow() const;

  QtEventLoop& loop_;
  const Interaction interaction_;
  std::map<const Form*, FormWindow*> windows_;
  QMetaObject::Connection session_end_;
  bool pointer_set_ = false;
};

}  // namespace tsly
