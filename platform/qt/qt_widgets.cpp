#include "qt/qt_widgets.h"

#include <QFocusEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>
#include <optional>
#include <utility>

#include "controls/layout.h"
#include "ports/toolkit.h"
#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_text_widget.h"

namespace tsly {
namespace {

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

Qt::FocusPolicy PolicyOf(FocusAccess access) {
  if (access == FocusAccess::kNone) return Qt::NoFocus;
  return access == FocusAccess::kByTab ? Qt::StrongFocus : Qt::ClickFocus;
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
    if (rect().contains(event->position().toPoint())) Send(UiEvent::Kind::Click);
  }
  void Send(UiEvent::Kind kind, std::int32_t value = 0) { report_(kind, value); }

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
    setFocusPolicy(PolicyOf(FocusAccessOf(ControlKind::ScrollBar, {})));
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

class PanelWidget final : public Area {
 public:
  using Area::Area;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    PaintGround(painter);
  }
  void wheelEvent(QWheelEvent* event) override {
    const Twips up = event->pixelDelta().isNull() ? WheelDistance(event->angleDelta().y())
                                                  : event->pixelDelta().y() * kTwipsPerPixel;
    Send(UiEvent::Kind::WheelTurned, -up);
  }
};

class LabelWidget final : public Area {
 public:
  using Area::Area;
  void Take(const ControlLook& look) override {
    Area::Take(look);
    block_.reset();
    setFocusPolicy(PolicyOf(FocusAccessOf(ControlKind::Label, look)));
  }
  void Press() override { Send(UiEvent::Kind::Click); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    PaintGround(painter);
    if (hasFocus() && shows_focus_) PaintFocus(painter);
    painter.setPen(isEnabled() ? QtColor(look_.fore_color) : kDisabledText);
    Text().Draw(painter, QPointF(0, 0));
  }
  void resizeEvent(QResizeEvent*) override { block_.reset(); }
  void focusInEvent(QFocusEvent* event) override {
    shows_focus_ = ShowsFocus(ControlKind::Label, CauseOf(event->reason()), shows_focus_);
    Send(UiEvent::Kind::GotFocus, shows_focus_ ? 1 : 0);
    QWidget::focusInEvent(event);
  }

 private:
  // Laid out at the first paint: most labels of a long list are never painted.
  const TextBlock& Text() {
    if (block_) return *block_;
    std::optional<int> wrap_width;
    if (look_.word_wrap || !look_.auto_size) wrap_width = InPixels(look_.rect.width, kTwipsPerPixel);
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
  bool shows_focus_ = false;
};

// Decoration: clicks go to the panel below it.
class Picture : public Area {
 public:
  explicit Picture(QWidget* parent) : Area(parent, nullptr) { setAttribute(Qt::WA_TransparentForMouseEvents); }
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
    const int room = InPixels(look.rect.width, kTwipsPerPixel) - 2 * kButtonMargin / kTwipsPerPixel;
    QString shown = fontMetrics().elidedText(whole, Qt::ElideRight, room);
    ShowWhole(*this, whole, shown != whole);
    setText(shown.replace(u'&', QStringLiteral("&&")));  // a single one would be a shortcut
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
};

}  // namespace

FocusCause CauseOf(Qt::FocusReason reason) {
  switch (reason) {
    case Qt::MouseFocusReason:
      return FocusCause::kPointer;
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
      return FocusCause::kTab;
    case Qt::ActiveWindowFocusReason:
      return FocusCause::kWindow;
    default:
      return FocusCause::kProgram;
  }
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
