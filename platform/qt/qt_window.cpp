#include "qt/qt_window.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPointer>
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "controls/description.h"
#include "controls/focus.h"
#include "controls/layout.h"
#include "qt/qt_event_loop.h"
#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_topmost.h"
#include "qt/qt_widgets.h"

namespace tsly {
namespace {

constexpr Qt::WindowFlags kDialogFrame =
    Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;

QRect PixelRect(const Rect& rect) {
  const Rect pixels = InPixels(rect, kTwipsPerPixel);
  return {pixels.left, pixels.top, pixels.width, pixels.height};
}

QRect PlaceOf(const Control& control, const std::vector<const Control*>& controls) {
  QRect place = PixelRect(DrawnRect(control, controls));
  // Horizontal and vertical lines have no extent in one direction.
  if (control.Kind() == ControlKind::Line) place.setSize(place.size().expandedTo(QSize(1, 1)));
  return place;
}

std::optional<Key> KeyOf(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
      if (event.isAutoRepeat()) return std::nullopt;
      return Key::kPress;
    case Qt::Key_Up:
      return Key::kUp;
    case Qt::Key_Down:
      return Key::kDown;
    case Qt::Key_PageUp:
      return Key::kPageUp;
    case Qt::Key_PageDown:
      return Key::kPageDown;
    case Qt::Key_Home:
      return Key::kHome;
    case Qt::Key_End:
      return Key::kEnd;
    default:
      return std::nullopt;
  }
}

QString ObjectName(const Control& control) {
  const QString name = QString::fromStdString(control.Name());
  return control.Index() < 0 ? name : QStringLiteral("%1(%2)").arg(name).arg(control.Index());
}

}  // namespace

FormWindow::FormWindow(Form& form, QtEventLoop& loop, const QRect& screen)
    : QWidget(nullptr, kDialogFrame),
      form_(&form),
      loop_(loop),
      load_(form.LoadNumber()),
      screen_(screen),
      focus_requests_(form.FocusRequests()) {
  // Keeps the controls at their designed positions, on right-to-left desktops too.
  setLayoutDirection(Qt::LeftToRight);
}

void FormWindow::Reveal(Keyboard keyboard) {
  revealed_ = true;
  setAttribute(Qt::WA_ShowWithoutActivating, keyboard == Keyboard::kLeave);
  DrawChanges();
  // Not on the first link: nothing looks selected until the user presses Tab, which begins at the first link.
  if (focusWidget() == nullptr) setFocus();
  show();
}

void FormWindow::PlaceTopmost() {
  if (isVisible()) KeepAbove(*windowHandle());
}

void FormWindow::Detach() {
  form_ = nullptr;
  hide();
}

void FormWindow::DrawChanges() {
  if (form_ == nullptr || !revealed_ || drawn_changes_ == form_->Changes()) return;
  drawn_changes_ = form_->Changes();
  DrawFrame();
  DrawControls();
  FollowFocusRequest();
}

void FormWindow::DrawFrame() {
  setWindowTitle(TextFromUtf8(form_->Caption()));
  const QPalette colors = PaletteOn(form_->BackColor());
  if (colors != palette()) setPalette(colors);
  const QRect inner = PixelRect({0, 0, form_->InnerWidth(), form_->InnerHeight()});
  if (inner.size() != size()) setFixedSize(inner.size());
  // Centred at first, whatever the form's initial size, then moved only with the form: the user may have moved the
  // window.
  const Rect& outer = form_->Outer();
  if (pass_ == 0) {
    move(screen_.center() - rect().center());
  } else if (outer.left != outer_.left || outer.top != outer_.top) {
    move(screen_.topLeft() + PixelRect(outer).topLeft());
  }
  outer_ = outer;
}

void FormWindow::DrawControls() {
  ++pass_;
  const std::vector<const Control*> controls = ControlsWithinReach(form_->Controls());
  for (const Control* control : controls) DrawControl(*control, controls);
  std::erase_if(drawn_, [&](const auto& entry) {
    if (entry.second.pass == pass_) return false;
    entry.second.widget->Widget().hide();
    loop_.DestroyAtOutermost(&entry.second.widget->Widget());
    return true;
  });
  NameControls(controls);
}

void FormWindow::DrawControl(const Control& control, const std::vector<const Control*>& controls) {
  Drawn& drawn = drawn_[control.Id()];
  drawn.pass = pass_;
  if (drawn.widget == nullptr) {
    QWidget* parent = control.Parent() == nullptr ? this : &drawn_.at(control.Parent()->Id()).widget->Widget();
    drawn.widget =
        MakeControlWidget(control, parent, [this, id = control.Id()](UiEvent::Kind kind, std::int32_t value) {
          ReportEvent({kind, id, value});
        });
    drawn.widget->Widget().setObjectName(ObjectName(control));
  }
  if (drawn.changes == control.Changes()) return;
  drawn.changes = control.Changes();
  QWidget& widget = drawn.widget->Widget();
  drawn.widget->SetRole(RoleOf(control.Kind(), control.Look()));
  drawn.widget->Take(control.Look());
  widget.setGeometry(PlaceOf(control, controls));
  widget.setEnabled(control.Enabled());
  widget.setVisible(control.Visible());
}

void FormWindow::NameControls(const std::vector<const Control*>& controls) {
  const std::vector<std::string> names = AccessibleNames(form_->Caption(), controls);
  for (std::size_t i = 0; i < controls.size(); ++i) {
    ControlWidget& widget = *drawn_.at(controls[i]->Id()).widget;
    const QString name = TextFromUtf8(names[i]);
    if (widget.Widget().accessibleName() != name) widget.SetName(name);
  }
}

ControlId FormWindow::Focused() const {
  const QWidget* focused = focusWidget();
  const auto found =
      std::ranges::find_if(drawn_, [&](const auto& entry) { return &entry.second.widget->Widget() == focused; });
  return found == drawn_.end() ? 0 : found->first;
}

void FormWindow::FollowFocusRequest() {
  if (focus_requests_ == form_->FocusRequests()) return;
  focus_requests_ = form_->FocusRequests();
  const auto found = drawn_.find(form_->FocusRequest());
  if (found != drawn_.end()) found->second.widget->Widget().setFocus(Qt::OtherFocusReason);
}

void FormWindow::closeEvent(QCloseEvent* event) {
  event->ignore();  // the form decides whether the window closes
  RequestClose();
}

void FormWindow::keyPressEvent(QKeyEvent* event) {
  const auto key = KeyOf(*event);
  if (!key) return QWidget::keyPressEvent(event);
  ReportEvent({UiEvent::Kind::KeyPressed, Focused(), static_cast<std::int32_t>(*key)});
}

// Comes from Tab in any of the widgets, and from the hiding of the one that has the focus.
bool FormWindow::focusNextPrevChild(bool forward) {
  if (form_ == nullptr) return false;
  const Control* next = NextFocus(ControlsWithinReach(form_->Controls()), Focused(), forward);
  const auto drawn = next == nullptr ? drawn_.end() : drawn_.find(next->Id());
  if (drawn == drawn_.end()) return false;
  QWidget& widget = drawn->second.widget->Widget();
  if (!widget.isVisible() || !widget.isEnabled()) return false;  // its change is not drawn yet
  widget.setFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
  return true;
}

void FormWindow::ReportEvent(const UiEvent& event) {
  loop_.Post([window = QPointer<FormWindow>(this), event] {
    if (window && window->form_ != nullptr) window->form_->Deliver(event, window->load_);
  });
}

}  // namespace tsly
