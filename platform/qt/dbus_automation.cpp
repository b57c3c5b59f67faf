#include "qt/dbus_automation.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QPointer>
#include <QVariantMap>
#include <utility>

#include "base/automation_identity.h"
#include "ports/event_loop.h"
#include "qt/dbus_names.h"

namespace tsly {
namespace {

using QLatin1 = QLatin1StringView;

QDBusMessage Unknown(const QDBusMessage& call, QDBusError::ErrorType type, const char* what, const QString& name) {
  return call.createErrorReply(type, QStringLiteral("No such %1: %2").arg(QLatin1(what), name));
}

QDBusMessage WrongArguments(const QDBusMessage& call, const char* wanted) {
  return call.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("%1 takes arguments of the types '%2', not '%3'")
                                                            .arg(call.member(), QLatin1(wanted), call.signature()));
}

// A call may omit the interface.
bool IsFor(const QDBusMessage& call, const char* interface) {
  return call.interface().isEmpty() || call.interface() == QLatin1(interface);
}

bool IsIntrospection(const QDBusMessage& call) {
  return IsFor(call, dbus::kIntrospectable) && call.member() == QLatin1("Introspect");
}

}  // namespace

// Receives Qt's calls, for all paths below the factory's, so that a path is resolved in one place and at the time of
// the call.
class DbusAutomation::Tree final : public QDBusVirtualObject {
  Q_OBJECT

 public:
  explicit Tree(DbusAutomation& server) : server_(server) {
    clients_.setConnection(server.bus_);
    clients_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&clients_, &QDBusServiceWatcher::serviceUnregistered, this,
                     [this](const QString& client) { server_.ReleaseAllOf(client); });
    server_.bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SLOT(TakeDisconnection()));
  }

  QString introspect(const QString&) const override { return {}; }  // handled as an ordinary call

  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    if (message.type() != QDBusMessage::MethodCallMessage) return false;
    // Through the loop, so that calls are processed in order, even during a wait.
    server_.loop_.Post([this, alive = QPointer<Tree>(this), message] {
      if (alive) server_.Serve(message);
    });
    return true;
  }

  QDBusServiceWatcher& Clients() { return clients_; }

 private slots:
  void TakeDisconnection() { server_.LoseBus(); }

 private:
  DbusAutomation& server_;
  QDBusServiceWatcher clients_;
};

DbusAutomation::DbusAutomation(EventLoop& loop, const QDBusConnection& bus) : loop_(loop), bus_(bus) {}

DbusAutomation::~DbusAutomation() {
  bus_.unregisterObject(QLatin1(dbus::kFactoryPath), QDBusConnection::UnregisterTree);
}

AutomationStart DbusAutomation::Start(Factory create) {
  if (!bus_.isConnected()) return AutomationStart::kNotReachable;
  create_ = std::move(create);
  tree_ = std::make_unique<Tree>(*this);
  // The objects first, the name last: clients that see the name find the objects.
  bus_.registerVirtualObject(QLatin1(dbus::kFactoryPath), tree_.get(), QDBusConnection::SubPath);
  if (TakeName()) return AutomationStart::kServing;
  return bus_.isConnected() ? AutomationStart::kTaken : AutomationStart::kNotReachable;
}

bool DbusAutomation::TakeName() {
  const auto reply =
      bus_.interface()->registerService(QLatin1(dbus::kService), QDBusConnectionInterface::DontQueueService,
                                        QDBusConnectionInterface::DontAllowReplacement);
  name_is_ours_ = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
  return name_is_ours_;
}

// Calls the bus and waits for the reply: then everything sent before has left, and everything that the bus sent before
// has arrived.
void DbusAutomation::Flush() {
  bus_.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                           QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")),
            QDBus::Block, 1000);
}

bool DbusAutomation::Leave() {
  if (bus_lost_) return true;
  bus_.interface()->unregisterService(QLatin1(dbus::kService));
  name_is_ours_ = false;
  // Calls to the name have arrived by now: one turn queues them, the next one processes them.
  loop_.ProcessPendingEvents();
  loop_.ProcessPendingEvents();
  Flush();
  return !name_is_ours_;
}

void DbusAutomation::LoseBus() {
  bus_lost_ = true;
  name_is_ours_ = false;
  held_.clear();
}

void DbusAutomation::Serve(const QDBusMessage& call) {
  const QString path = call.path();
  const QLatin1 objects(dbus::kObjectsPath);
  QDBusMessage answer;
  if (path == QLatin1(dbus::kFactoryPath)) {
    answer = AnswerFactory(call);
  } else if (path + u'/' == objects && IsIntrospection(call)) {
    answer = ListObjects(call);
  } else {
    bool is_number = false;
    const QString name = path.startsWith(objects) ? path.mid(objects.size()) : QString();
    const std::uint64_t number = name.toULongLong(&is_number);
    // Each number has one path: "07" is invalid.
    answer = is_number && QString::number(number) == name ? AnswerObject(call, number)
                                                          : Unknown(call, QDBusError::UnknownObject, "object", path);
  }
  if (answer.type() != QDBusMessage::InvalidMessage && call.isReplyRequired()) bus_.send(answer);
}

QDBusMessage DbusAutomation::AnswerFactory(const QDBusMessage& call) {
  if (IsFor(call, dbus::kFactoryInterface) && call.member() == QLatin1("CreateObject")) return CreateObject(call);
  if (IsIntrospection(call)) {
    return call.createReply(
        QStringLiteral("<node>%1<node name=\"CheckNew\"/></node>").arg(dbus::FactoryIntrospection()));
  }
  return Unknown(call, QDBusError::UnknownMethod, "method", call.member());
}

QDBusMessage DbusAutomation::CreateObject(const QDBusMessage& call) {
  if (call.signature() != QLatin1("s")) return WrongArguments(call, "s");
  const QString prog_id = call.arguments().at(0).toString();
  if (prog_id != QLatin1(automation::kProgId)) {
    return call.createErrorReply(QLatin1(dbus::kNotRegistered),
                                 QStringLiteral("No class is registered as %1").arg(prog_id));
  }
  // The name has just been released. A client that reached us before keeps calling the name.
  if (!name_is_ours_ && !TakeName()) {
    return call.createErrorReply(QLatin1(dbus::kServerBusy), QStringLiteral("The server is ending; try again"));
  }
  const QString creator = call.service();
  tree_->Clients().addWatchedService(creator);
  // No notification comes for a client that left before it was watched.
  if (!bus_.interface()->isServiceRegistered(creator)) {
    ReleaseAllOf(creator);
    return {};
  }
  const std::uint64_t number = ++last_number_;
  held_[number] = {create_(), creator};
  return call.createReply(QVariant::fromValue(QDBusObjectPath(QLatin1(dbus::kObjectsPath) + QString::number(number))));
}

QDBusMessage DbusAutomation::ListObjects(const QDBusMessage& call) {
  QString nodes;
  for (const auto& [number, held] : held_) nodes += QStringLiteral("<node name=\"%1\"/>").arg(number);
  return call.createReply(QStringLiteral("<node>%1</node>").arg(nodes));
}

QDBusMessage DbusAutomation::AnswerObject(const QDBusMessage& call, std::uint64_t number) {
  const auto found = held_.find(number);
  if (found == held_.end()) return Unknown(call, QDBusError::UnknownObject, "object", call.path());
  // Keeps the object alive: its client may release it or disconnect while the call waits.
  const std::shared_ptr<AutomationObject> object = found->second.object;
  if (call.interface() == QLatin1(dbus::kProperties)) return AnswerProperties(call, *object);
  if (IsIntrospection(call)) {
    return call.createReply(QStringLiteral("<node>%1</node>").arg(dbus::ObjectIntrospection()));
  }
  if (!IsFor(call, dbus::kObjectInterface)) {
    return Unknown(call, QDBusError::UnknownInterface, "interface", call.interface());
  }

  const std::pair<QLatin1, void (AutomationObject::*)()> methods[] = {
      {QLatin1("VerifyVersion"),    &AutomationObject::VerifyVersion   },
      {QLatin1("ConfigureUpdater"), &AutomationObject::ConfigureUpdater},
      {QLatin1("Quit"),             &AutomationObject::Quit            },
      {QLatin1("Release"),          nullptr                            },
  };
  for (const auto& [name, method] : methods) {
    if (call.member() != name) continue;
    if (!call.signature().isEmpty()) return WrongArguments(call, "");
    if (method == nullptr) {
      Release(number);
    } else if (method == &AutomationObject::Quit) {
      if (call.isReplyRequired()) bus_.send(call.createReply());
      Flush();
      object->Quit();
    } else {
      ((*object).*method)();
    }
    return call.createReply();
  }
  return Unknown(call, QDBusError::UnknownMethod, "method", call.member());
}

QDBusMessage DbusAutomation::AnswerProperties(const QDBusMessage& call, AutomationObject& object) {
  const QString member = call.member();
  const bool get = member == QLatin1("Get"), set = member == QLatin1("Set"), all = member == QLatin1("GetAll");
  if (!get && !set && !all) return Unknown(call, QDBusError::UnknownMethod, "method", member);
  const char* wanted = get ? "ss" : set ? "ssv" : "s";
  if (call.signature() != QLatin1(wanted)) return WrongArguments(call, wanted);

  const QString interface = call.arguments().at(0).toString();
  if (!interface.isEmpty() && interface != QLatin1(dbus::kObjectInterface)) {
    return Unknown(call, QDBusError::UnknownInterface, "interface", interface);
  }
  const QString status = QStringLiteral("Status");
  if (all)
    return call.createReply(QVariantMap{
        {status, object.GetStatus()}
    });
  if (call.arguments().at(1).toString() != status) {
    return Unknown(call, QDBusError::UnknownProperty, "property", call.arguments().at(1).toString());
  }
  if (get) return call.createReply(QVariant::fromValue(QDBusVariant(object.GetStatus())));

  const QVariant value = call.arguments().at(2).value<QDBusVariant>().variant();
  if (value.metaType() != QMetaType::fromType<int>()) {
    return call.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("Status takes a value of the type 'i'"));
  }
  object.PutStatus(value.toInt());
  return call.createReply();
}

void DbusAutomation::Release(std::uint64_t number) {
  const auto found = held_.find(number);
  const QString creator = found->second.creator;
  held_.erase(found);
  for (const auto& [other, held] : held_) {
    if (held.creator == creator) return;
  }
  tree_->Clients().removeWatchedService(creator);
}

void DbusAutomation::ReleaseAllOf(const QString& client) {
  std::erase_if(held_, [&](const auto& entry) { return entry.second.creator == client; });
  tree_->Clients().removeWatchedService(client);
}

}  // namespace tsly

#include "dbus_automation.moc"
