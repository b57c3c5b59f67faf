// One CheckNew object of the updater, for host products. All calls are asynchronous and never block. Copy this class
// and its .cpp; they depend only on Qt Core and DBus.
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
  // Releases the object. Otherwise the updater's process would run as long as the host's.
  ~UpdaterClient() override;

  // Starts a check if one is due, then reports each change of Status until it is no longer Pending.
  void VerifyVersion();
  // Opens the updater's dialog. Doesn't change Status.
  void ConfigureUpdater();

 signals:
  void StatusChanged(int status);
  // The updater can't be reached or has ended. The next call creates a new object.
  void Failed(const QString& why);

 private:
  void WithObject(const std::function<void()>& then);
  void Call(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments,
            const std::function<void(const QDBusMessage&)>& then);
  void Poll();
  void Fail(const QString& why);

  QString object_;  // its path; "": none
  QTimer poll_;
  int status_ = -1;
};
