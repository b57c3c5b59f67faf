// The window of one loaded form: draws its controls as widgets and reports what the user does to them.
//
// Owner: the toolkit, until the form is unloaded; from then on it is hidden, belongs to no form and waits for the loop
// to destroy it. No form code runs below a frame of a widget: what is reported goes through the loop first.
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
  // `screen`: its usable area. `open_boxes` counts the message boxes that are open; it outlives the window.
  FormWindow(Form& form, QtEventLoop& loop, const int& open_boxes, const QRect& screen);

  void Reveal(Keyboard keyboard);
  void PlaceTopmost();
  void DrawChanges();  // of a revealed window; the others cost nothing until they are
  void RequestClose() { ReportEvent({UiEvent::Kind::CloseRequested}); }
  // The form is unloaded: hides the window for good and drops what it has still to report.
  void Detach();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Drawn {
    ControlWidget* widget = nullptr;
    std::uint64_t changes = 0;  // the control's count when it was drawn; 0: to be drawn anew
    std::uint64_t pass = 0;
  };

  void DrawFrame();
  void DrawControls();
  void OrderTabs();
  void NameControls();
  void DrawControl(const Control& control);
  void FollowFocusRequest();
  QWidget& WidgetOf(const Control& control) const;
  void ReportEvent(const UiEvent& event);
  void Deliver(UiEvent event);

  Form* form_;
  QtEventLoop& loop_;
  const int& open_boxes_;
  const std::uint64_t load_;
  const QRect screen_;
  bool revealed_ = false;
  std::uint64_t drawn_changes_ = 0;
  std::uint64_t focus_requests_;
  std::uint64_t pass_ = 0;
  Rect outer_;  // of the form when the window was placed last
  std::unordered_map<ControlId, Drawn> drawn_;
  // Of the form, as of the last drawing.
  std::vector<const Control*> buttons_;
  std::vector<const Control*> in_reach_;  // those that have a widget
};

}  // namespace tsly
