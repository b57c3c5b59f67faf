// The simplest Qt dialog with as many widgets as the updater's: the baseline of its start in start_bench.
#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QWidget window;
  window.setFixedSize(488, 271);
  window.setPalette(QColor(0x40, 0x40, 0x40));
  for (int i = 0; i < 14; ++i) {
    auto* label = new QLabel(QStringLiteral("A label of the dialog"), &window);
    label->setGeometry(87, 24 + 16 * i, 388, 15);
  }
  for (int i = 0; i < 4; ++i) {
    auto* button = new QPushButton(QStringLiteral("Button"), &window);
    button->setGeometry(87 + 100 * i, 228, 95, 28);
  }
  (new QScrollBar(Qt::Vertical, &window))->setGeometry(460, 20, 19, 140);
  (new QPlainTextEdit(&window))->hide();
  window.move(QGuiApplication::primaryScreen()->availableGeometry().center() - window.rect().center());
  window.show();
  return QApplication::exec();
}
