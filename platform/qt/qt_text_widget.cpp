#include "qt/qt_text_widget.h"

#include <QFocusEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QTextOption>
#include <optional>

#include "controls/description.h"
#include "controls/layout.h"
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
    Select(SelectionOf(look));
  }

 protected:
  void focusInEvent(QFocusEvent* event) override {
    shows_focus_ = ShowsFocus(ControlKind::TextBox, CauseOf(event->reason()), shows_focus_);
    QPlainTextEdit::focusInEvent(event);
  }
  void paintEvent(QPaintEvent* event) override {
    QPlainTextEdit::paintEvent(event);
    if (!hasFocus() || !shows_focus_) return;
    QPainter painter(viewport());
    painter.setPen(kAccent);
    painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
  }

 private:
  void Show(const std::string& text) {
    const TextChange change = ChangeOf(shown_, text);
    std::optional<QSignalBlocker> silence;
    if (!change.is_announced) silence.emplace(document());
    const QString whole = TextFromUtf8(text);
    QTextOption option = document()->defaultTextOption();
    option.setAlignment(whole.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    if (option.alignment() != document()->defaultTextOption().alignment()) document()->setDefaultTextOption(option);
    QTextCursor cursor(document());
    cursor.setPosition(PositionOf(change.kept));
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.insertText(TextFromUtf8(text.substr(change.kept)));
    shown_ = text;
  }
  int PositionOf(std::size_t byte) const { return static_cast<int>(TextFromUtf8(shown_.substr(0, byte)).size()); }
  void Select(const Selection& selection) {
    QTextCursor caret = textCursor();
    caret.setPosition(PositionOf(selection.start));
    caret.setPosition(PositionOf(selection.end), QTextCursor::KeepAnchor);
    setTextCursor(caret);
    ensureCursorVisible();
  }

  std::string shown_;
  bool shows_focus_ = false;
};

}  // namespace

ControlWidget* MakeTextWidget(QWidget* parent) { return new TextWidget(parent); }

}  // namespace tsly
