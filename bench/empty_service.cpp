// The smallest service that the session bus can start: the baseline of the updater's start in automation_bench.
#include <QApplication>
#include <QDBusConnection>

class Empty : public QObject {
  Q_OBJECT
 public slots:
  int Status() { return 1; }
};

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  Empty empty;
  QDBusConnection::sessionBus().registerObject("/", &empty, QDBusConnection::ExportAllSlots);
  QDBusConnection::sessionBus().registerService("com.quillonsystems.Empty");
  return QApplication::exec();
}

#include "empty_service.moc"
