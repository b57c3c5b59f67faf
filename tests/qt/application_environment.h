// The application object that Qt wants to exist round all tests; without a display unless one is asked for.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <csignal>
#include <memory>

#include "ports/clock.h"

namespace tsly {

class ApplicationEnvironment final : public testing::Environment {
 public:
  void SetUp() override {
    std::signal(SIGPIPE, SIG_IGN);  // as in the program: who hangs up is an error code
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

class RealClock final : public Clock {
 public:
  DateTime Now() override { return 0; }
  SteadyTime Steady() override { return std::chrono::steady_clock::now().time_since_epoch(); }
};

}  // namespace tsly
