#include "qt/qt_text_widget.h"

#include <QFocusEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QTextOption>
#include <algorithm>
#include <optional>

#include "qt/qt_fonts.h"
#include "qt/qt_style.h"
#include "qt/qt_widgets.h"

namespace tsly {
namespace {

class TextWidget final : public QPlainTextEdit, public ControlWidget {
 public:
  explicit TextWidget(QWidget* parent) : QPlainTextEdit(parent) {
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
  }
  QWidget& Widget() override { return *this; }
  void SetName(const QString& name) override {
    setAccessibleName(name);
    for (QWidget* part : findChildren<QWidget*>()) part->setAccessibleName(name);  // including its scroll bar
  }
  void Take(const ControlLook& look) override {
    setTextInteractionFlags(look.read_only ? Qt::TextSelectableByMouse : Qt::TextEditorInteraction);
    setFont(QtFontFor(look.font));
    QPalette colors = palette();
    colors.setColor(QPalette::Base, QtColor(look.back_color));
    colors.setColor(QPalette::Text, QtColor(look.fore_color));
    setPalette(colors);
    if (shown_ != look.text) Show(look.text);
    Select(look);
  }

 protected:
  void focusInEvent(QFocusEvent* event) override {
    if (event->reason() != Qt::ActiveWindowFocusReason) {
      by_keyboard_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    }
    QPlainTextEdit::focusInEvent(event);
  }
  void paintEvent(QPaintEvent* event) override {
    QPlainTextEdit::paintEvent(event);
    if (!hasFocus() || !by_keyboard_) return;
    QPainter painter(viewport());
    painter.setPen(kAccent);
    painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
  }

 private:
  // Changes only the difference, so that assistive technology announces only new text. Growing dots after a line aren't
  // announced.
  void Show(const std::string& text) {
    const QString before = TextFromUtf8(shown_), after = TextFromUtf8(text);
    const auto same = static_cast<int>(std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first -
                                       before.begin());
    const QString added = after.mid(same);
    std::optional<QSignalBlocker> silence;
    if (same == before.size() && added.count(u'.') == added.size()) silence.emplace(document());
    QTextOption option = document()->defaultTextOption();
    option.setAlignment(after.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    if (option.alignment() != document()->defaultTextOption().alignment()) document()->setDefaultTextOption(option);
    QTextCursor cursor(document());
    cursor.setPosition(same);
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.insertText(added);
    shown_ = text;
  }
  int PositionOf(std::int32_t byte) const {
    const auto bytes = std::min(static_cast<std::size_t>(std::max(byte, 0)), shown_.size());
    return static_cast<int>(TextFromUtf8(shown_.substr(0, bytes)).size());
  }
  void Select(const ControlLook& look) {
    QTextCursor caret = textCursor();
    caret.setPosition(PositionOf(look.selection_start));
    caret.setPosition(PositionOf(look.selection_start + look.selection_length), QTextCursor::KeepAnchor);
    setTextCursor(caret);
    ensureCursorVisible();
  }

  std::string shown_;
  bool by_keyboard_ = false;
};

}  // namespace

ControlWidget* MakeTextWidget(QWidget* parent) { return new TextWidget(parent); }

}  // namespace tsly
