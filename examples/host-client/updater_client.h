// One CheckNew object of the updater, as a host product uses it. Every call is asynchronous: the host's window never
// waits for the updater. Copy this class and its .cpp; they need Qt's Core and DBus only.
#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

class UpdaterClient : public QObject {
  Q_OBJECT

 public:
  // The values of Status.
  enum Status { Pending = 0, Idle = 1, StopRequired = 2 };

  explicit UpdaterClient(QObject* parent = nullptr);
  // Lets the object go. Without it the updater's process would live for as long as the host's.
  ~UpdaterClient() override;

  // Lets the updater decide whether a check is due, then tells each change of Status until nothing more will come.
  void VerifyVersion();
  // Brings up the updater's dialog. Status says nothing of that.
  void ConfigureUpdater();

 signals:
  void StatusChanged(int status);
  // There is no updater to talk to, or it has gone. The next call asks for a new object.
  void Failed(const QString& why);

 private:
  void WithObject(const std::function<void()>& then);
  void Call(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments,
            const std::function<void(const QDBusMessage&)>& then);
  void Poll();
  void Fail(const QString& why);

  QString object_;  // its path; "": none yet
  QTimer poll_;
  int status_ = -1;
};
