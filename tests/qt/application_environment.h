// The application object that Qt needs during all tests; without a display by default.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <csignal>
#include <functional>
#include <memory>

#include "ports/clock.h"
#include "qt/qt_event_loop.h"

namespace tsly {

class ApplicationEnvironment final : public testing::Environment {
 public:
  void SetUp() override {
    std::signal(SIGPIPE, SIG_IGN);  // as in the program: a closed connection is an error code
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    application_ = std::make_unique<QApplication>(argument_count_, arguments_);
  }
  void TearDown() override { application_.reset(); }

 private:
  int argument_count_ = 1;
  char name_[9] = "qt_tests";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
};

inline testing::Environment* const kApplicationEnvironment =
    testing::AddGlobalTestEnvironment(new ApplicationEnvironment);

// The system's clock plus an offset of the test.
class RealClock final : public Clock {
 public:
  DateTime Now() override { return 45000.5; }
  SteadyTime Steady() override { return std::chrono::steady_clock::now().time_since_epoch() + ahead; }
  SteadyTime ahead{0};
};

// The edition's loop, and two ways to run it.
struct RunningLoop {
  bool RunUntil(const std::function<bool()>& done) {
    const SteadyTime limit = clock.Steady() + std::chrono::seconds(10);
    while (!done() && clock.Steady() <= limit) loop.Wait(limit);
    return done();
  }
  // To check that something doesn't happen.
  void RunFor(std::chrono::milliseconds length) {
    const SteadyTime end = clock.Steady() + length;
    while (clock.Steady() <= end) loop.Wait(end);
  }

  RealClock clock;
  QtEventLoop loop{clock};
};

}  // namespace tsly
