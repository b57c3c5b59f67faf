// The automation server without a bus: a test creates objects and calls them like a client, through the event loop.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "ports/automation.h"

namespace tsly {

class LocalAutomation : public AutomationServer {
 public:
  AutomationStart answer = AutomationStart::kServing;
  std::function<void()> while_leaving;                            // calls that arrive while the server ends
  std::map<std::string, std::shared_ptr<AutomationObject>> held;  // by the client's name
  int leaves = 0;

  AutomationObject& Create(const std::string& client) {
    has_held_ = true;
    return *(held[client] = create_());
  }

  AutomationStart Start(Factory create) override {
    create_ = std::move(create);
    return answer;
  }
  std::size_t ObjectsHeld() const override { return held.size(); }
  bool HasHeldObjects() const override { return has_held_; }
  bool Leave() override {
    ++leaves;
    if (while_leaving) std::exchange(while_leaving, nullptr)();
    return held.empty();
  }

 private:
  Factory create_;
  bool has_held_ = false;
};

}  // namespace tsly
