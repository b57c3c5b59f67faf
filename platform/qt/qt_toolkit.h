// The window toolkit on Qt Widgets.
//
// Owner: the composition, which creates it after the application object and the loop and destroys it before them. Also
// works without a display, with the offscreen platform. The core's tests use a toolkit that draws nothing.
#pragma once

#include <QMetaObject>
#include <map>

#include "ports/toolkit.h"

namespace tsly {

class FormWindow;
class QtEventLoop;

class QtToolkit final : public Toolkit {
 public:
  // kBackground: the user works in another program, the client's. A message that opens by itself is above other windows
  // but doesn't take the keyboard. kHeadless: no display, only a client. Message boxes are answered automatically (OK;
  // No), and a shown window counts as closed by the user.
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

  // Repaints all windows at once, processing no events: for waits without events.
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
