// Preloaded into the program under test. Simulates a user who answers every message with its default button and clicks
// the first control in TSLY_SWEEP_CLICKS ("lblInfo(103)*2 cmdOK") that is clickable and has clicks left.
#include <QApplication>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QTimer>
#include <list>

namespace {

class User : public QObject {
 public:
  User() {
    for (const QString& word : qEnvironmentVariable("TSLY_SWEEP_CLICKS").split(' ')) {
      const QStringList parts = word.split('*');
      wishes_.push_back({parts[0], parts.size() > 1 ? parts[1].toInt() : 1000});
    }
    qApp->installEventFilter(this);
  }

  // Acts after drawing or before the program waits: in the loop, like a user's clicks.
  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() == QEvent::Paint || event->type() == QEvent::Show || event->type() == QEvent::EnabledChange) {
      LookSoon();
    }
    return QObject::eventFilter(object, event);
  }

 private:
  struct Wish {
    QString control;
    int left;
  };

  void LookSoon() {
    if (std::exchange(is_looking_, true)) return;
    QTimer::singleShot(0, this, [this] {
      is_looking_ = false;
      if (Look()) LookSoon();
    });
  }

  bool Look() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
      auto* box = qobject_cast<QMessageBox*>(window);
      if (box == nullptr || !box->isVisible()) continue;
      qInfo("message: %s", qPrintable(box->text()));
      return Click(*box->defaultButton());
    }
    for (QWidget* window : QApplication::topLevelWidgets()) {
      for (Wish& wish : wishes_) {
        auto* control = wish.left > 0 && window->isVisible() ? window->findChild<QWidget*>(wish.control) : nullptr;
        if (control == nullptr || !control->isVisible() || !control->isEnabled()) continue;
        --wish.left;
        qInfo("click: %s", qPrintable(wish.control));
        return Click(*control);
      }
    }
    return false;
  }

  static bool Click(QWidget& control) {
    const QPointF place = control.rect().center();
    for (const auto kind : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
      QMouseEvent event(kind, place, control.mapToGlobal(place), Qt::LeftButton,
                        kind == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
      QApplication::sendEvent(&control, &event);
    }
    return true;
  }

  std::list<Wish> wishes_;
  bool is_looking_ = false;
};

void Begin() {
  if (qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr) new User;
}
Q_COREAPP_STARTUP_FUNCTION(Begin)

}  // namespace
