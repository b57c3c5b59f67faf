// The window of one loaded form: draws its controls as widgets and reports what the user does to them.
//
// Owner: the toolkit until the form is unloaded; then it is hidden, belongs to no form, and the loop destroys it. No
// form code runs inside a widget's function: reports go through the loop.
#pragma once

#include <QRect>
#include <QWidget>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "controls/form.h"

namespace tsly {

class ControlWidget;
class QtEventLoop;

class FormWindow final : public QWidget {
 public:
  // `screen`: its usable area.
  FormWindow(Form& form, QtEventLoop& loop, const QRect& screen);

  void Reveal(Keyboard keyboard);
  void PlaceTopmost();
  void DrawChanges();  // of a revealed window; hidden ones draw nothing
  void RequestClose() { ReportEvent({UiEvent::Kind::CloseRequested}); }
  // The form is unloaded: hides the window permanently and drops pending reports.
  void Detach();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool focusNextPrevChild(bool forward) override;

 private:
  struct Drawn {
    ControlWidget* widget = nullptr;
    std::uint64_t changes = 0;  // the control's count when it was drawn; 0: draw again
    std::uint64_t pass = 0;
  };

  void DrawFrame();
  void DrawControls();
  void DrawControl(const Control& control, const std::vector<const Control*>& controls);
  void NameControls(const std::vector<const Control*>& controls);
  void FollowFocusRequest();
  ControlId Focused() const;  // 0: none of the controls
  void ReportEvent(const UiEvent& event);

  Form* form_;
  QtEventLoop& loop_;
  const std::uint64_t load_;
  const QRect screen_;
  bool revealed_ = false;
  std::uint64_t drawn_changes_ = 0;
  std::uint64_t focus_requests_;
  std::uint64_t pass_ = 0;
  Rect outer_;  // of the form when the window was last placed
  std::unordered_map<ControlId, Drawn> drawn_;
};

}  // namespace tsly
