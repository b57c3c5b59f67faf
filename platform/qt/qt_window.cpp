#include "qt/qt_window.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPointer>
#include <QScrollBar>
#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

#include "qt/qt_event_loop.h"
#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_topmost.h"
#include "qt/qt_widgets.h"

namespace tsly {
namespace {

constexpr Qt::WindowFlags kDialogFrame =
    Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
constexpr std::int32_t kTwipsPerArrowKey = 195;
constexpr std::int32_t kFarAway = INT16_MAX;
constexpr Twips kPanelMargin = 195;  // the margin of the design at a panel's right edge
constexpr Twips kButtonGap = 75;

// Rounds edges, not sizes, so that adjacent controls stay adjacent in pixels.
QRect PixelRect(const Rect& rect) {
  const QPoint top_left(PixelsFromTwips(rect.left), PixelsFromTwips(rect.top));
  const QPoint end(PixelsFromTwips(rect.left + rect.width), PixelsFromTwips(rect.top + rect.height));
  return {top_left, QSize(end.x() - top_left.x(), end.y() - top_left.y())};
}

// Limits a label that sizes itself to its panel and to the button in its row.
Rect WithinItsRow(const Control& label, const std::vector<const Control*>& buttons) {
  Rect rect = label.Look().rect;
  Twips end = label.Parent()->Width() - kPanelMargin;
  for (const Control* button : buttons) {
    const Rect& its = button->Look().rect;
    if (button->Parent() != label.Parent() || its.left <= rect.left) continue;
    if (its.top < rect.top + rect.height && rect.top < its.top + its.height) end = std::min(end, its.left - kButtonGap);
  }
  rect.width = std::clamp<Twips>(end - rect.left, 0, rect.width);
  return rect;
}

QRect PlaceOf(const Control& control, const std::vector<const Control*>& buttons) {
  const bool own_length = control.Kind() == ControlKind::Label && control.Look().auto_size &&
                          !control.Look().word_wrap && control.Parent() != nullptr;
  QRect place = PixelRect(own_length ? WithinItsRow(control, buttons) : control.Look().rect);
  // Horizontal and vertical lines have no extent in one direction.
  if (control.Kind() == ControlKind::Line) place.setSize(place.size().expandedTo(QSize(1, 1)));
  return place;
}

// Whether no position of a scroll bar, limited to 16 bits, can show the control in its panel. Avoids widgets for
// thousands of texts in a long list.
bool IsBeyondReach(const Control& control) {
  for (const Control* at = &control; at->Parent() != nullptr; at = at->Parent()) {
    if (at->Look().rect.top > kFarAway + at->Parent()->Height()) return true;
  }
  return false;
}

QString ObjectName(const Control& control) {
  const QString name = QString::fromStdString(control.Name());
  return control.Index() < 0 ? name : QStringLiteral("%1(%2)").arg(name).arg(control.Index());
}

}  // namespace

FormWindow::FormWindow(Form& form, QtEventLoop& loop, const int& open_boxes, const QRect& screen)
    : QWidget(nullptr, kDialogFrame),
      form_(&form),
      loop_(loop),
      open_boxes_(open_boxes),
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
  const std::size_t before = drawn_.size();
  buttons_.clear();
  std::copy_if(form_->Controls().begin(), form_->Controls().end(), std::back_inserter(buttons_),
               [](const Control* control) { return control->Kind() == ControlKind::Button; });
  in_reach_.clear();
  std::copy_if(form_->Controls().begin(), form_->Controls().end(), std::back_inserter(in_reach_),
               [](const Control* control) { return !IsBeyondReach(*control); });
  for (const Control* control : in_reach_) DrawControl(*control);
  bool others = drawn_.size() != before;
  std::erase_if(drawn_, [&](const auto& entry) {
    if (entry.second.pass == pass_) return false;
    entry.second.widget->Widget().hide();
    loop_.DestroyAtOutermost(&entry.second.widget->Widget());
    return others = true;
  });
  if (others) OrderTabs();
  NameControls();
}

void FormWindow::DrawControl(const Control& control) {
  Drawn& drawn = drawn_[control.Id()];
  drawn.pass = pass_;
  if (drawn.widget == nullptr) {
    QWidget* parent = control.Parent() == nullptr ? this : &WidgetOf(*control.Parent());
    drawn.widget =
        MakeControlWidget(control, parent, [this, id = control.Id()](UiEvent::Kind kind, std::int32_t value) {
          ReportEvent({kind, id, value});
        });
    drawn.widget->Widget().setObjectName(ObjectName(control));
  }
  if (drawn.changes == control.Changes()) return;
  drawn.changes = control.Changes();
  QWidget& widget = drawn.widget->Widget();
  drawn.widget->Take(control.Look());
  widget.setGeometry(PlaceOf(control, buttons_));
  widget.setEnabled(control.Enabled());
  widget.setVisible(control.Visible());
}

// Panel by panel, each from its first control to its last: list items are created after the buttons that follow the
// list.
void FormWindow::OrderTabs() {
  std::unordered_map<const Control*, std::vector<const Control*>> children;
  for (const Control* control : in_reach_) children[control->Parent()].push_back(control);
  QWidget* last = nullptr;
  const std::function<void(const Control*)> walk = [&](const Control* parent) {
    for (const Control* control : children[parent]) {
      QWidget& widget = WidgetOf(*control);
      if (widget.focusPolicy() != Qt::NoFocus) {
        if (last != nullptr) setTabOrder(last, &widget);
        last = &widget;
      }
      walk(control);
    }
  };
  walk(nullptr);
}

// Controls without a text get the name of a label: a panel that of its first label, other controls that of the label
// before them, or else their panel's name.
void FormWindow::NameControls() {
  std::unordered_map<const Control*, const Control*> first_in, before;
  for (const Control* control : in_reach_) {
    if (control->Kind() == ControlKind::Label) first_in.emplace(control->Parent(), control);
  }
  for (const Control* control : in_reach_) {
    if (control->Kind() == ControlKind::Label) before[control->Parent()] = control;
    if (control->Kind() == ControlKind::Label || control->Kind() == ControlKind::Button) continue;
    const Control* label = first_in.contains(control) ? first_in[control] : before[control->Parent()];
    QString name = TextFromUtf8(form_->Caption());
    if (label != nullptr) {
      name = TextFromUtf8(label->Text());
    } else if (control->Parent() != nullptr) {
      name = WidgetOf(*control->Parent()).accessibleName();
    }
    ControlWidget& widget = *drawn_.at(control->Id()).widget;
    if (widget.Widget().accessibleName() != name) widget.SetName(name);
  }
}

QWidget& FormWindow::WidgetOf(const Control& control) const { return drawn_.at(control.Id()).widget->Widget(); }

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
  for (const auto* bar : findChildren<QScrollBar*>()) {
    QWidget& panel = *bar->parentWidget();
    const bool scrolled = [&] {
      switch (event->key()) {
        case Qt::Key_Up:
          return ScrollPanel(panel, -kTwipsPerArrowKey);
        case Qt::Key_Down:
          return ScrollPanel(panel, kTwipsPerArrowKey);
        case Qt::Key_PageUp:
          return ScrollPanelByPages(panel, -1);
        case Qt::Key_PageDown:
          return ScrollPanelByPages(panel, 1);
        case Qt::Key_Home:
          return ScrollPanel(panel, -kFarAway);
        case Qt::Key_End:
          return ScrollPanel(panel, kFarAway);
        default:
          return false;
      }
    }();
    if (scrolled) return;
  }
  QWidget::keyPressEvent(event);
}

void FormWindow::ReportEvent(const UiEvent& event) {
  loop_.Post([window = QPointer<FormWindow>(this), event] {
    if (window) window->Deliver(event);
  });
}

void FormWindow::Deliver(UiEvent event) {
  if (form_ == nullptr) return;
  // Ignores clicks that were queued before a message box opened.
  if (open_boxes_ > 0 && event.kind != UiEvent::Kind::CloseRequested) return;
  const Control* control = form_->Find(event.control);
  if (control != nullptr && control->Kind() == ControlKind::ScrollBar) {
    // The model's range may have become smaller; the widget has to show the model's value.
    const ControlLook& look = control->Look();
    event.value = std::clamp<std::int32_t>(event.value, look.minimum, std::max(look.minimum, look.maximum));
    drawn_[event.control].changes = 0;
    drawn_changes_ = 0;
  }
  form_->Deliver(event, load_);
}

}  // namespace tsly
