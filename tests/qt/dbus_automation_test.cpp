#include "qt/dbus_automation.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QProcess>
#include <optional>

#include "qt/application_environment.h"
#include "qt/dbus_names.h"

namespace tsly {
namespace {

// Runs the test's code in its calls.
struct TestObject : AutomationObject {
  explicit TestObject(int& living) : living_(living) { ++living_; }
  ~TestObject() override { --living_; }
  std::int32_t GetStatus() override { return status; }
  void PutStatus(std::int32_t value) override { status = value; }
  void VerifyVersion() override {
    during_call();
    ++status;  // a use after free if the object were destroyed
  }
  void ConfigureUpdater() override { status = 77; }
  void Quit() override { during_call(); }
  std::int32_t status = 0;
  std::function<void()> during_call = [] {};

 private:
  int& living_;
};

// A separate bus with the server.
class DbusAutomationTest : public testing::Test, protected RunningLoop {
 protected:
  DbusAutomationTest() {
    daemon_.start("dbus-daemon", {"--session", "--nofork", "--nosyslog", "--print-address"});
    EXPECT_TRUE(daemon_.waitForReadyRead(10000)) << "no dbus-daemon";
    address_ = QString::fromLatin1(daemon_.readLine().trimmed());
    server_ = std::make_unique<DbusAutomation>(loop, Connect("server"));
    const auto start = server_->Start([this] {
      const auto object = std::make_shared<TestObject>(living_);
      made_ = object;
      return object;
    });
    EXPECT_EQ(start, AutomationStart::kServing);
  }
  ~DbusAutomationTest() override {
    server_.reset();
    for (const QString& name : names_) QDBusConnection::disconnectFromBus(name);
    daemon_.kill();
    daemon_.waitForFinished();
  }

  QDBusConnection Connect(const QString& name) {
    names_ << name;
    return QDBusConnection::connectToBus(address_, name);
  }
  static QDBusMessage Call(const QString& path, const char* interface, const char* member,
                           const QVariantList& arguments = {}) {
    auto call = QDBusMessage::createMethodCall(dbus::kService, path, interface, member);
    call.setArguments(arguments);
    return call;
  }
  static QDBusMessage OwnCall(const QString& path, const char* member) {
    return Call(path, dbus::kObjectInterface, member);
  }
  static QString PathIn(const QDBusMessage& reply) {
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    return reply.arguments().value(0).value<QDBusObjectPath>().path();
  }
  QDBusMessage Ask(QDBusConnection client, const QDBusMessage& call) {
    const QDBusPendingCallWatcher pending(client.asyncCall(call));  // wakes the loop
    EXPECT_TRUE(RunUntil([&] { return pending.isFinished(); })) << call.member().toStdString();
    return pending.reply();
  }
  QString Create(const QDBusConnection& client) { return PathIn(Ask(client, create_)); }
  int Status(const QDBusConnection& client, const QString& path) {
    const auto reply = Ask(client, Call(path, dbus::kProperties, "Get", {dbus::kObjectInterface, "Status"}));
    return reply.arguments().value(0).value<QDBusVariant>().variant().toInt();
  }

  static inline const char* const kUnknown = "org.freedesktop.DBus.Error.UnknownObject";
  const QDBusMessage create_ =
      Call(dbus::kFactoryPath, dbus::kFactoryInterface, "CreateObject", {"TessalyStudio.CheckNew"});
  QProcess daemon_;
  QString address_;
  QStringList names_;
  int living_ = 0;
  std::weak_ptr<TestObject> made_;  // the latest
  std::unique_ptr<DbusAutomation> server_;
};

TEST_F(DbusAutomationTest, KeepsAnObjectForItsClient) {
  std::optional<QDBusConnection> dying(Connect("first"));
  const auto second = Connect("second");
  const QDBusConnection& first = *dying;
  EXPECT_FALSE(server_->HasHeldObjects());
  const QString a = Create(first), b = Create(first), c = Create(second);
  EXPECT_EQ(a, "/com/quillonsystems/TessalyStudio/CheckNew/1");
  EXPECT_EQ(server_->ObjectsHeld(), 3u);
  for (const int value : {5, -1, INT32_MAX, INT32_MIN}) {
    const QVariantList arguments{dbus::kObjectInterface, "Status", QVariant::fromValue(QDBusVariant(value))};
    EXPECT_EQ(Ask(second, Call(a, dbus::kProperties, "Set", arguments)).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(Status(first, a), value) << "any client may call";
    EXPECT_EQ(Status(first, b), 0);
  }
  Ask(second, OwnCall(a, "Release"));
  EXPECT_EQ(server_->ObjectsHeld(), 2u);
  EXPECT_EQ(Ask(first, OwnCall(a, "Release")).errorName(), kUnknown);
  dying.reset();
  QDBusConnection::disconnectFromBus("first");
  EXPECT_TRUE(RunUntil([&] { return server_->ObjectsHeld() == 1; }));
  EXPECT_EQ(Status(second, c), 0);
  Ask(second, OwnCall(c, "Release"));
  EXPECT_EQ(server_->ObjectsHeld(), 0u);
  EXPECT_EQ(living_, 0);
  EXPECT_TRUE(server_->HasHeldObjects());
}

TEST_F(DbusAutomationTest, RefusesInvalidCalls) {
  const auto client = Connect("client");
  const QString object = Create(client), factory = dbus::kFactoryPath,
                objects = "/com/quillonsystems/TessalyStudio/CheckNew/";
  const QVariant text("x"), status("Status"), its(dbus::kObjectInterface);
  const auto value = [](const QVariant& variant) { return QVariant::fromValue(QDBusVariant(variant)); };
  const char *own = dbus::kObjectInterface, *property = dbus::kProperties, *maker = dbus::kFactoryInterface;
  const auto refuses = [&](const QDBusMessage& call, const char* error) {
    const QString name = Ask(client, call).errorName();
    EXPECT_TRUE(name.endsWith(QLatin1StringView(error)))
        << call.path().toStdString() << call.member().toStdString() << name.toStdString();
  };
  refuses(Call(factory, maker, "CreateObject", {text}), dbus::kNotRegistered);
  refuses(Call(factory, maker, "CreateObject", {"tessalystudio.checknew"}), dbus::kNotRegistered);
  refuses(Call(factory, maker, "CreateObject"), "InvalidArgs");
  refuses(Call(factory, maker, "CreateObject", {1}), "InvalidArgs");
  refuses(Call(factory, maker, "VerifyVersion"), "UnknownMethod");
  refuses(Call(object, own, "SetStatus", {1}), "UnknownMethod");
  refuses(Call(object, maker, "CreateObject", {text}), "UnknownInterface");
  refuses(Call(object, own, "VerifyVersion", {1}), "InvalidArgs");
  refuses(Call(object, own, "Release", {text}), "InvalidArgs");
  refuses(Call(object, property, "Get", {its, text}), "UnknownProperty");
  refuses(Call(object, property, "Get", {text, status}), "UnknownInterface");
  refuses(Call(object, property, "Get", {its}), "InvalidArgs");
  refuses(Call(object, property, "Reset", {its}), "UnknownMethod");
  refuses(Call(object, property, "Set", {its, status, value(text)}), "InvalidArgs");
  refuses(Call(object, property, "Set", {its, status, value(1u)}), "InvalidArgs");
  refuses(Call(object, property, "Set", {its, status, 1}), "InvalidArgs");
  refuses(Call(objects + "2", own, "VerifyVersion"), "UnknownObject");
  refuses(Call(objects + "01", own, "VerifyVersion"), "UnknownObject");
  refuses(Call(objects + "99999999999999999999", own, "VerifyVersion"), "UnknownObject");
  refuses(Call(object + "/1", own, "VerifyVersion"), "UnknownObject");
  EXPECT_EQ(Status(client, object), 0);
  for (const QString& path : {factory, object, objects.chopped(1)}) {
    const auto reply = Ask(client, Call(path, dbus::kIntrospectable, "Introspect"));
    EXPECT_TRUE(reply.arguments().value(0).toString().startsWith("<node>")) << path.toStdString();
  }
}

TEST_F(DbusAutomationTest, ProcessesCallsDuringAWaitAndKeepsTheObjectOfACall) {
  std::optional<QDBusConnection> client(Connect("client"));
  const auto other = Connect("other");
  // The second time the client disconnects during its own call.
  for (const bool dies : {false, true}) {
    const QString object = Create(*client);
    made_.lock()->during_call = [&, weak = made_] {
      EXPECT_EQ(Status(other, object), 0) << "processed during the wait";
      Ask(other, OwnCall(object, "ConfigureUpdater"));
      if (dies) {
        client.reset();
        QDBusConnection::disconnectFromBus("client");
        EXPECT_TRUE(RunUntil([&] { return server_->ObjectsHeld() == 0; }));
      } else {
        Ask(other, OwnCall(object, "Release"));
      }
      EXPECT_EQ(Ask(other, OwnCall(object, "Quit")).errorName(), kUnknown);
      EXPECT_EQ(living_, 1);
      EXPECT_EQ(weak.lock()->status, 77);
    };
    const QDBusPendingCallWatcher waiting(client->asyncCall(OwnCall(object, "VerifyVersion")));
    EXPECT_TRUE(RunUntil([&] { return living_ == 0; }));
    EXPECT_TRUE(dies || RunUntil([&] { return waiting.isFinished(); }));
    EXPECT_FALSE(waiting.isError());
  }
}

TEST_F(DbusAutomationTest, RepliesToQuitBeforeItEnds) {
  const auto client = Connect("client");
  const QString path = Create(client);
  QDBusPendingCall reply = QDBusPendingCall::fromCompletedCall(QDBusMessage());
  bool obeyed = false;
  made_.lock()->during_call = [&] {
    reply.waitForFinished();  // without running the server
    EXPECT_FALSE(reply.isError());
    obeyed = true;
  };
  reply = client.asyncCall(OwnCall(path, "Quit"));
  EXPECT_TRUE(RunUntil([&] { return obeyed; }));
}

TEST_F(DbusAutomationTest, OneServerOwnsTheNameAndReleasesIt) {
  DbusAutomation second(loop, Connect("second server"));
  const auto no_object = [] { return std::shared_ptr<AutomationObject>(); };
  EXPECT_EQ(second.Start(no_object), AutomationStart::kTaken);

  // A call that arrives while the server ends keeps it running.
  const auto client = Connect("client");
  const QDBusPendingCallWatcher late(client.asyncCall(create_));
  client.interface()->isServiceRegistered(dbus::kService);  // after it
  EXPECT_FALSE(server_->Leave());
  EXPECT_EQ(server_->ObjectsHeld(), 1u);
  EXPECT_TRUE(client.interface()->isServiceRegistered(dbus::kService));
  EXPECT_TRUE(RunUntil([&] { return late.isFinished(); }));

  const QDBusPendingCall release = client.asyncCall(OwnCall(PathIn(late.reply()), "Release"));
  client.interface()->isServiceRegistered(dbus::kService);
  EXPECT_TRUE(server_->Leave());
  EXPECT_EQ(server_->ObjectsHeld(), 0u) << "calls that arrived are processed";
  EXPECT_FALSE(client.interface()->isServiceRegistered(dbus::kService));
  EXPECT_EQ(DbusAutomation(loop, client).Start(no_object), AutomationStart::kServing);
}

TEST_F(DbusAutomationTest, WithoutABusThereAreNoObjects) {
  Create(Connect("client"));
  daemon_.kill();
  EXPECT_TRUE(RunUntil([&] { return server_->ObjectsHeld() == 0; }));
  EXPECT_EQ(living_, 0);
  EXPECT_TRUE(server_->HasHeldObjects());
  EXPECT_TRUE(server_->Leave());
  EXPECT_EQ(DbusAutomation(loop, Connect("late")).Start(nullptr), AutomationStart::kNotReachable);
}

}  // namespace
}  // namespace tsly
