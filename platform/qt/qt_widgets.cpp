#include "qt/qt_widgets.h"

#include <QFocusEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>
#include <optional>
#include <utility>

#include "ports/toolkit.h"
#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_text_widget.h"

namespace tsly {
namespace {

constexpr std::int32_t kTwipsPerNotch = 3 * 195;  // of the mouse wheel: three lines of text
constexpr int kAnglePerNotch = 120;
constexpr int kButtonMargin = 6;  // pixels

QPixmap PictureOf(const std::string& name) {
  return QPixmap(QStringLiteral(":/pictures/%1.png").arg(QString::fromStdString(name)));
}

QCursor CursorFor(std::int32_t pointer) {
  if (pointer == kPointerHourglass) return Qt::WaitCursor;
  if (pointer != kPointerCustom) return Qt::ArrowCursor;
  constexpr QPoint finger_tip(12, 5);
  const QPixmap hand = PictureOf("hand");
  return hand.isNull() ? QCursor(Qt::PointingHandCursor) : QCursor(hand, finger_tip.x(), finger_tip.y());
}

void TakePointer(QWidget& widget, std::int32_t pointer) {
  if (pointer == kPointerDefault) {
    widget.unsetCursor();
  } else {
    widget.setCursor(CursorFor(pointer));
  }
}

// Shows a truncated text as a tool tip. Never as markup: the text may come from the maker's server.
void ShowWhole(QWidget& widget, const QString& whole, bool is_cut) {
  widget.setToolTip(is_cut ? QStringLiteral("<p style='white-space: pre-wrap'>%1</p>").arg(whole.toHtmlEscaped())
                           : QString());
}

// A widget that paints itself and can be clickable.
class Area : public QWidget, public ControlWidget {
 public:
  Area(QWidget* parent, Report report) : QWidget(parent), report_(std::move(report)) {}
  QWidget& Widget() override { return *this; }
  void Take(const ControlLook& look) override {
    look_ = look;
    TakePointer(*this, look.mouse_pointer);
    update();
  }

 protected:
  void mousePressEvent(QMouseEvent* event) override { pressed_ = event->button() == Qt::LeftButton; }
  void mouseReleaseEvent(QMouseEvent* event) override {
    if (event->button() != Qt::LeftButton || !std::exchange(pressed_, false)) return;
    if (rect().contains(event->position().toPoint())) Click();
  }
  void Click() { report_(UiEvent::Kind::Click, 0); }

  // Paints background and border and sets the pen for the contents.
  void PaintGround(QPainter& painter) const {
    if (!look_.transparent) painter.fillRect(rect(), QtColor(look_.back_color));
    painter.setPen(QtColor(look_.fore_color));
    if (look_.border_style != 0) painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }

  ControlLook look_;

 private:
  Report report_;
  bool pressed_ = false;
};

class ScrollBarWidget final : public QScrollBar, public ControlWidget {
 public:
  ScrollBarWidget(QWidget* parent, Report report) : QScrollBar(Qt::Vertical, parent), report_(std::move(report)) {
    // Only by mouse: the form passes its focus on at once, which would trap users of the Tab key.
    setFocusPolicy(Qt::ClickFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);
    connect(this, &QScrollBar::valueChanged, this, [this](int value) {
      report_(isSliderDown() ? UiEvent::Kind::ThumbMoved : UiEvent::Kind::ValueChanged, value);
    });
    connect(this, &QScrollBar::sliderReleased, this, [this] { report_(UiEvent::Kind::ValueChanged, value()); });
  }
  QWidget& Widget() override { return *this; }
  void Take(const ControlLook& look) override {
    const QSignalBlocker no_echo(this);
    setRange(look.minimum, std::max(look.minimum, look.maximum));
    setSingleStep(look.small_change);
    setPageStep(look.large_change);
    if (!isSliderDown()) setValue(look.value);
  }

 protected:
  void focusInEvent(QFocusEvent* event) override {
    QScrollBar::focusInEvent(event);
    report_(UiEvent::Kind::GotFocus, 0);
  }
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }  // for the panel

 private:
  Report report_;
};

ScrollBarWidget* VisibleScrollBarIn(const QWidget& panel) {
  for (QObject* child : panel.children()) {
    auto* bar = dynamic_cast<ScrollBarWidget*>(child);
    if (bar != nullptr && bar->isVisible() && bar->isEnabled()) return bar;
  }
  return nullptr;
}

// Scrolls the panel of `widget` until its list item (the direct child of the scrolled panel) is visible, or the widget
// itself if the item is higher than the panel.
void BringIntoView(const QWidget& widget) {
  const QWidget* part = &widget;
  for (QWidget* panel = widget.parentWidget(); panel != nullptr; part = panel, panel = panel->parentWidget()) {
    if (VisibleScrollBarIn(*panel) == nullptr) continue;
    const QWidget& target = part->height() <= panel->height() ? *part : widget;
    const int top = target.mapTo(panel, QPoint(0, 0)).y();
    const int below = top + target.height() - panel->height();
    if (top < 0) {
      ScrollPanel(*panel, top * kTwipsPerPixel);
    } else if (below > 0) {
      ScrollPanel(*panel, below * kTwipsPerPixel);
    }
    return;
  }
}

class PanelWidget final : public Area {
 public:
  using Area::Area;
  QAccessible::Role Role() const override { return QAccessible::Grouping; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    PaintGround(painter);
  }
  void wheelEvent(QWheelEvent* event) override {
    const std::int32_t turned = event->pixelDelta().isNull() ? event->angleDelta().y() * kTwipsPerNotch / kAnglePerNotch
                                                             : event->pixelDelta().y() * kTwipsPerPixel;
    event->setAccepted(ScrollPanel(*this, -turned));
  }
};

// A label or a link: a label with the hand pointer or an underline can be focused and clicked by keyboard.
class LabelWidget final : public Area {
 public:
  using Area::Area;
  void Take(const ControlLook& look) override {
    Area::Take(look);
    block_.reset();
    setFocusPolicy(look.mouse_pointer == kPointerCustom || look.font.underline ? Qt::StrongFocus : Qt::NoFocus);
    setAccessibleName(TextFromUtf8(look.text));
  }
  QAccessible::Role Role() const override {
    return focusPolicy() == Qt::NoFocus ? QAccessible::StaticText : QAccessible::Link;
  }
  void Press() override { Click(); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    PaintGround(painter);
    if (hasFocus() && by_keyboard_) PaintFocus(painter);
    painter.setPen(isEnabled() ? QtColor(look_.fore_color) : kDisabledText);
    Text().Draw(painter, QPointF(0, 0));
  }
  void resizeEvent(QResizeEvent*) override { block_.reset(); }
  void focusInEvent(QFocusEvent* event) override {
    // An activated window restores its focus unchanged.
    if (event->reason() != Qt::ActiveWindowFocusReason) by_keyboard_ = event->reason() != Qt::MouseFocusReason;
    if (by_keyboard_) BringIntoView(*this);
    QWidget::focusInEvent(event);
  }
  void keyPressEvent(QKeyEvent* event) override {
    const int key = event->key();
    if (focusPolicy() == Qt::NoFocus || (key != Qt::Key_Return && key != Qt::Key_Enter && key != Qt::Key_Space)) {
      return event->ignore();
    }
    if (!event->isAutoRepeat()) Click();
  }

 private:
  // Laid out at the first paint: most labels of a long list are never painted.
  const TextBlock& Text() {
    if (block_) return *block_;
    std::optional<int> wrap_width;
    if (look_.word_wrap || !look_.auto_size) wrap_width = PixelsFromTwips(look_.rect.width);
    const QString whole = TextFromUtf8(look_.text);
    block_.emplace(whole, look_.font, wrap_width);
    // A wrapped line is at most as wide as the label, except for the blank at its end.
    const bool is_cut = (!wrap_width && block_->Size().width() > width()) || block_->Size().height() > height();
    if (is_cut) block_.emplace(block_->ElidedTo(size()), look_.font, wrap_width);
    ShowWhole(*this, whole, is_cut);
    return *block_;
  }
  void PaintFocus(QPainter& painter) const {
    QColor tint = kAccent;
    tint.setAlpha(48);
    painter.setPen(kAccent);
    painter.setBrush(tint);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }

  std::optional<TextBlock> block_;
  bool by_keyboard_ = false;
};

// Decoration: clicks go to the panel below it.
class Picture : public Area {
 public:
  explicit Picture(QWidget* parent) : Area(parent, nullptr) { setAttribute(Qt::WA_TransparentForMouseEvents); }
  QAccessible::Role Role() const override { return QAccessible::NoRole; }
};

class ImageWidget final : public Picture {
 public:
  using Picture::Picture;
  void Take(const ControlLook& look) override {
    if (look.picture != look_.picture) pixmap_ = PictureOf(look.picture);
    Picture::Take(look);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    if (!pixmap_.isNull()) QPainter(this).drawPixmap(rect(), pixmap_);
  }

 private:
  QPixmap pixmap_;
};

class RectangleWidget final : public Picture {
 public:
  using Picture::Picture;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setPen(QtColor(look_.fore_color));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
};

class LineWidget final : public Picture {
 public:
  using Picture::Picture;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setPen(QtColor(look_.fore_color));
    painter.drawLine(0, 0, width() - 1, height() - 1);
  }
};

// Enter presses the focused button, like Space; there is no default button.
class ButtonWidget final : public QPushButton, public ControlWidget {
 public:
  ButtonWidget(QWidget* parent, const Report& report) : QPushButton(parent) {
    setAutoDefault(true);
    connect(this, &QPushButton::clicked, this, [report] { report(UiEvent::Kind::Click, 0); });
  }
  QWidget& Widget() override { return *this; }
  void Take(const ControlLook& look) override {
    setFont(QtFontFor(look.font));
    const QString whole = TextFromUtf8(look.text);
    const int room = PixelsFromTwips(look.rect.width) - 2 * kButtonMargin;
    QString shown = fontMetrics().elidedText(whole, Qt::ElideRight, room);
    ShowWhole(*this, whole, shown != whole);
    setText(shown.replace(u'&', QStringLiteral("&&")));  // a single one would be a shortcut
    setAccessibleName(whole);
    TakePointer(*this, look.mouse_pointer);
  }
};

// A single-line text box. In this program it only has the focus, off screen, so it shows nothing and, unlike a line
// editor, has no blinking caret; keys go to the window.
class FocusHolder final : public QWidget, public ControlWidget {
 public:
  explicit FocusHolder(QWidget* parent) : QWidget(parent) {}
  QWidget& Widget() override { return *this; }
  void Take(const ControlLook&) override {}
  QAccessible::Role Role() const override { return QAccessible::Grouping; }
};

}  // namespace

bool ScrollPanel(QWidget& panel, std::int32_t distance) {
  ScrollBarWidget* bar = VisibleScrollBarIn(panel);
  if (bar == nullptr) return false;
  bar->setValue(bar->value() + distance);
  return true;
}

bool ScrollPanelByPages(QWidget& panel, std::int32_t pages) {
  return ScrollPanel(panel, pages * panel.height() * kTwipsPerPixel);
}

ControlWidget* MakeControlWidget(const Control& control, QWidget* parent, Report report) {
  switch (control.Kind()) {
    case ControlKind::Panel:
      return new PanelWidget(parent, std::move(report));
    case ControlKind::Label:
      return new LabelWidget(parent, std::move(report));
    case ControlKind::Image:
      return new ImageWidget(parent);
    case ControlKind::Button:
      return new ButtonWidget(parent, report);
    case ControlKind::ScrollBar:
      return new ScrollBarWidget(parent, std::move(report));
    case ControlKind::Rectangle:
      return new RectangleWidget(parent);
    case ControlKind::Line:
      return new LineWidget(parent);
    case ControlKind::TextBox:
      break;
  }
  if (control.Look().multi_line) return MakeTextWidget(parent);
  return new FocusHolder(parent);
}

}  // namespace tsly
