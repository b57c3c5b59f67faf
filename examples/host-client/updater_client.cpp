#include "updater_client.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <utility>

namespace {

// The session bus starts the updater by this name if it isn't running.
const QString kService = QStringLiteral("com.quillonsystems.TessalyStudio");
const QString kFactory = QStringLiteral("/com/quillonsystems/TessalyStudio");
const QString kFactoryInterface = QStringLiteral("com.quillonsystems.TessalyStudio.ClassFactory");
const QString kInterface = QStringLiteral("com.quillonsystems.TessalyStudio.CheckNew");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kClass = QStringLiteral("TessalyStudio.CheckNew");

constexpr int kPollInterval = 1000;  // ms

}  // namespace

UpdaterClient::UpdaterClient(QObject* parent) : QObject(parent) {
  poll_.setInterval(kPollInterval);
  connect(&poll_, &QTimer::timeout, this, &UpdaterClient::Poll);
}

UpdaterClient::~UpdaterClient() {
  if (object_.isEmpty()) return;
  QDBusConnection::sessionBus().send(
      QDBusMessage::createMethodCall(kService, object_, kInterface, QStringLiteral("Release")));
}

void UpdaterClient::VerifyVersion() {
  WithObject([this] {
    Call(object_, kInterface, QStringLiteral("VerifyVersion"), {}, [this](const QDBusMessage&) {
      status_ = -1;
      poll_.start();
      Poll();
    });
  });
}

void UpdaterClient::ConfigureUpdater() {
  WithObject([this] { Call(object_, kInterface, QStringLiteral("ConfigureUpdater"), {}, [](const QDBusMessage&) {}); });
}

// The object belongs to this connection: it lives until it is released or the connection ends.
void UpdaterClient::WithObject(const std::function<void()>& then) {
  if (!object_.isEmpty()) return then();
  Call(kFactory, kFactoryInterface, QStringLiteral("CreateObject"), {kClass}, [this, then](const QDBusMessage& reply) {
    object_ = reply.arguments().value(0).value<QDBusObjectPath>().path();
    then();
  });
}

void UpdaterClient::Poll() {
  Call(object_, kProperties, QStringLiteral("Get"), {kInterface, QStringLiteral("Status")},
       [this](const QDBusMessage& reply) {
         const int status = reply.arguments().value(0).value<QDBusVariant>().variant().toInt();
         if (status != Pending) poll_.stop();
         if (std::exchange(status_, status) != status) emit StatusChanged(status);
       });
}

void UpdaterClient::Call(const QString& path, const QString& interface, const QString& member,
                         const QVariantList& arguments, const std::function<void(const QDBusMessage&)>& then) {
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return Fail(tr("There is no session bus."));
  QDBusMessage call = QDBusMessage::createMethodCall(kService, path, interface, member);
  call.setArguments(arguments);
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, then] {
    watcher->deleteLater();
    const QDBusMessage reply = watcher->reply();
    reply.type() == QDBusMessage::ReplyMessage ? then(reply) : Fail(reply.errorMessage());
  });
}

void UpdaterClient::Fail(const QString& why) {
  poll_.stop();
  object_.clear();
  emit Failed(why);
}
