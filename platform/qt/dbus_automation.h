// The automation server on the user's D-Bus session bus: a class factory at a well-known name, and one object per
// creation below it. Names, paths and types of the members: docs/automation.md.
//
// Owner: the composition, which creates it after the application object and the loop. Thread: the loop's. Tests run it
// on a separate bus; the core's tests call the objects in process.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <cstdint>
#include <map>
#include <memory>

#include "ports/automation.h"

namespace tsly {

class EventLoop;

// The installed service file starts the program with this switch.
inline constexpr StartSwitch kStartSwitches[] = {
    {"--automation", StartMode::kForClients},
};

class DbusAutomation final : public AutomationServer {
 public:
  DbusAutomation(EventLoop& loop, const QDBusConnection& bus);
  ~DbusAutomation() override;

  AutomationStart Start(Factory create) override;
  std::size_t ObjectsHeld() const override { return held_.size(); }
  bool HasHeldObjects() const override { return last_number_ > 0 || bus_lost_; }
  bool Leave() override;

 private:
  class Tree;

  struct Held {
    std::shared_ptr<AutomationObject> object;
    QString creator;  // the connection's unique name
  };

  bool TakeName();
  void Flush();
  void Serve(const QDBusMessage& call);
  QDBusMessage AnswerFactory(const QDBusMessage& call);
  QDBusMessage ListObjects(const QDBusMessage& call);
  QDBusMessage AnswerObject(const QDBusMessage& call, std::uint64_t number);
  QDBusMessage AnswerProperties(const QDBusMessage& call, AutomationObject& object);
  QDBusMessage CreateObject(const QDBusMessage& call);
  void Release(std::uint64_t number);
  void ReleaseAllOf(const QString& client);
  void LoseBus();

  EventLoop& loop_;
  QDBusConnection bus_;
  Factory create_;
  std::map<std::uint64_t, Held> held_;
  std::uint64_t last_number_ = 0;
  bool name_is_ours_ = false;
  bool bus_lost_ = false;
  std::unique_ptr<Tree> tree_;
};

}  // namespace tsly
