#include "dialog/CheckNew.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <limits>

#include "base/date_time.h"
#include "dialog/check_schedule.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const std::string kOffer = "[Versions]\r\nA=1\r\n[A]\r\nDownload URL=http://maker/a.zip\r\n";
const std::string kNothing = "[Versions]\r\nA=0\r\n";
const char kNotDue[] = "Entering VerifyVersion()\nNo search for updates.\nExiting VerifyVersion()\n";
const char kArmed[] = "Entering VerifyVersion()\nSearching for updates.\nExiting VerifyVersion()\n";

// A process started for clients. Tests first schedule the clients' actions by the time after the start; then it runs to
// its end.
class ServingApp : public HeadlessApp {
 public:
  ServingApp() : HeadlessApp("", 1) { SetVersionValue(kValueCheckedEvery, kCheckAtEveryStart); }

  void After(milliseconds time, std::function<void()> deed) { loop.After(time, std::move(deed)); }
  AutomationObject& Client(const char* name) { return *automation.held.at(name); }
  void Serve() {
    Run([this] { EXPECT_TRUE(program->Run()); });
  }
  seconds Age() { return std::chrono::duration_cast<seconds>(clock.Steady() - born_); }

 private:
  SteadyTime born_ = clock.Steady();
};

// An object without a client.
struct OneObject : StartedApp {
  OneObject() : StartedApp("", 1) {}
  const std::shared_ptr<CheckNew> object =
      std::make_shared<CheckNew>(CheckNew::Needs{program->global, program->registry, dialog(), clock, shell});
};

TEST(CheckNew, DecidesFromTheStoredValues) {
  const std::tuple<RegData, RegData, bool> rows[] = {
      {RegData(),             RegData(),            true },
      {RegData(),             60060630,             false},
      {0,                     RegData(),            false},
      {1,                     60060630,             true },
      {2,                     60060630 - 7 * 1440,  true },
      {2,                     60060630 - 6 * 1440,  false},
      {2,                     std::string("never"), true },
      {2,                     60060630.0,           false},
      {2,                     std::string("9e300"), true },
      {-1,                    60060630,             true },
      {std::string("weekly"), RegData(),            false},
      {std::string(" 2 "),    60060630,             false},
      {std::string("1e10"),   RegData(),            false},
      {std::string("0.5"),    RegData(),            false},
  };
  for (const auto& [every, on, due] : rows) {
    OneObject app;
    app.clock.now = MakeDateTime({2014, 3, 10, 18, 30, 0});
    app.SetVersionValue(kValueCheckedEvery, every);
    app.SetVersionValue(kValueCheckedOn, on);
    app.object->Status = 5;
    app.Run([&] { app.object->VerifyVersion(); });
    SCOPED_TRACE(app.VersionValue(kValueCheckedEvery) + ", " + app.VersionValue(kValueCheckedOn));
    EXPECT_EQ(app.object->Status, due ? StatusPending : StatusIdle);
    EXPECT_EQ(app.Log(), due ? kArmed : kNotDue);
    EXPECT_EQ(app.dialog().Loaded(), due);
    EXPECT_EQ(app.dialog().tmrVerifyVersion.Enabled(), due);
    EXPECT_EQ(app.dialog().UpdaterObject, due ? app.object : nullptr);
  }
}

TEST(CheckNew, TemporarilyUnreadableSettingsStartNoCheck) {
  for (const int code : {32, 30, 1009}) {  // the last one is permanent
    OneObject app;
    app.registry.locked = code;
    app.Run([&] { app.object->VerifyVersion(); });
    EXPECT_EQ(app.object->Status, code == 1009 ? StatusPending : StatusIdle) << code;
  }
}

TEST(CheckNew, IgnoresInvalidStatusValues) {
  OneObject app;
  for (const std::int32_t value : {2, 0, 1, 3, -1, INT32_MAX, INT32_MIN}) {
    app.object->SetStatus(value);
    EXPECT_EQ(app.object->GetStatus(), value >= 0 && value <= 2 ? value : StatusIdle);
    app.object->PutStatus(value);
    EXPECT_EQ(app.object->GetStatus(), value);
    app.object->SetStatus(StatusIdle);
  }
}

TEST(CheckNew, AFailedSetUpEndsEveryCallEvenForAReleasedObject) {
  ServingApp app;
  std::filesystem::remove_all(app.folder.NativePath("app"));
  app.toolkit.answers = {kAnswerOk};
  app.toolkit.during_message = [&] { app.automation.held.clear(); };
  app.After(seconds(1), [&] {
    app.automation.Create("client");
    const auto object = app.automation.held.at("client");  // kept alive by a call
    object->VerifyVersion();
    EXPECT_EQ(object->GetStatus(), StatusIdle);
    EXPECT_TRUE(app.dialog().Loaded());
    EXPECT_FALSE(app.dialog().tmrVerifyVersion.Enabled());
    for (const bool check : {false, true}) {
      object->PutStatus(StatusPending);
      check ? object->VerifyVersion() : object->ConfigureUpdater();
      EXPECT_EQ(object->GetStatus(), StatusIdle);
      EXPECT_FALSE(app.dialog().Visible());
    }
  });
  app.Serve();
  EXPECT_EQ(app.Age(), seconds(1));
  EXPECT_EQ(app.Log(), std::string(kArmed) + kNotDue);
  EXPECT_FALSE(app.dialog().Loaded());
}

TEST(CheckNew, CallsDuringALoadTakeEffectAfterIt) {
  for (const bool usable : {true, false}) {
    ServingApp app;
    std::filesystem::remove_all(app.folder.NativePath("app\\Languages"));
    if (usable) app.folder.Write("app\\Languages\\English.ini", "[General]\r\nVersion=old\r\n");
    app.toolkit.answers = {kAnswerOk};
    app.toolkit.during_message = [&] {
      app.automation.Create("second").VerifyVersion();
      app.automation.Create("third").ConfigureUpdater();
      app.dialog().Unload(Form::kUnloadByUser);  // as at the end of the session
      EXPECT_TRUE(app.dialog().Loaded() && !app.dialog().Visible());
      EXPECT_FALSE(app.dialog().tmrVerifyVersion.Enabled() || app.dialog().UpdaterObject);
    };
    app.After(seconds(1), [&] { app.automation.Create("first").VerifyVersion(); });
    app.After(seconds(2), [&] {
      for (const char* client : {"first", "second", "third"}) {
        EXPECT_EQ(app.Client(client).GetStatus(), usable ? StatusPending : StatusIdle) << client;
      }
      EXPECT_EQ(app.dialog().Visible(), usable);
      EXPECT_EQ(app.dialog().tmrVerifyVersion.Enabled(), usable);
      const StatusReceiver* third = dynamic_cast<StatusReceiver*>(&app.Client("third"));
      EXPECT_EQ(app.dialog().UpdaterObject.get(), usable ? third : nullptr) << "the last caller";
      app.Client("first").Quit();
    });
    app.Serve();
  }
}

TEST(CheckNew, ACheckRunsInTheBackground) {
  ServingApp app;
  app.transfer.answers = {Received(kNothing), Received(kOffer + "Stop application=yes\r\n")};
  app.transfer.answers.front().step = seconds(1);  // for each of eleven states
  AutomationObject* client = nullptr;
  app.After(seconds(1), [&] {
    client = &app.automation.Create("client");
    client->VerifyVersion();
    EXPECT_EQ(client->GetStatus(), StatusPending);
  });
  app.After(milliseconds(15999), [&] { EXPECT_TRUE(app.transfer.requests.empty()); });
  app.After(seconds(20), [&] {
    EXPECT_EQ(app.transfer.requests.size(), 1u);
    EXPECT_EQ(client->GetStatus(), StatusPending) << "read while the search waits";
  });
  app.After(seconds(40), [&] {
    EXPECT_EQ(client->GetStatus(), StatusIdle);
    EXPECT_FALSE(app.dialog().Loaded());
    client->VerifyVersion();
    EXPECT_EQ(client->GetStatus(), StatusPending) << "at every start";
    app.automation.held.clear();
  });
  app.Serve();
  EXPECT_EQ(app.Age(), seconds(55)) << "a scheduled check keeps the process";
  EXPECT_EQ(app.toolkit.opened, 2);
  EXPECT_TRUE(app.Prompts().empty());
}

TEST(CheckNew, TheDialogReportsToTheLastClient) {
  ServingApp app;
  app.transfer.answers = {Received(kOffer + "Stop application=yes\r\n")};
  app.After(seconds(1), [&] { app.automation.Create("first").VerifyVersion(); });
  app.After(seconds(5), [&] { app.automation.Create("second").VerifyVersion(); });
  app.After(seconds(6), [&] { app.automation.Create("third"); });
  app.After(seconds(21), [&] {
    EXPECT_EQ(app.Client("first").GetStatus(), StatusPending);
    EXPECT_EQ(app.Client("second").GetStatus(), StatusStopRequired);
    EXPECT_EQ(app.Client("third").GetStatus(), StatusPending);
    EXPECT_EQ(app.toolkit.opened, 1) << "scheduled again, but not loaded again";
    app.automation.held.clear();
  });
  app.Serve();
}

TEST(CheckNew, ConfigureUpdaterShowsTheDialogInAnyStateOfACheck) {
  for (const int after : {0, 5, 17}) {  // before a check, while it is scheduled, while it searches
    SCOPED_TRACE(after);
    ServingApp app;
    app.transfer.answers = {Received(kNothing)};
    app.transfer.answers.front().step = seconds(1);
    app.After(seconds(1), [&] { app.automation.Create("client").VerifyVersion(); });
    app.After(seconds(after), [&] {
      AutomationObject& client = after == 0 ? app.automation.Create("client") : app.Client("client");
      client.PutStatus(5);
      client.ConfigureUpdater();
      EXPECT_EQ(client.GetStatus(), 5);
      EXPECT_TRUE(app.dialog().Visible() && app.controls().picStep100.Visible());
      EXPECT_TRUE(app.toolkit.topmost.size() == 1 && app.toolkit.took_keyboard);
    });
    app.After(seconds(40), [&] {
      EXPECT_EQ(app.Client("client").GetStatus(), StatusIdle);
      EXPECT_FALSE(app.dialog().Loaded()) << "without updates the open dialog closes too";
      app.automation.held.clear();
    });
    app.Serve();
  }
}

TEST(CheckNew, AManualSearchDuringABackgroundSearchKeepsItsResult) {
  ServingApp app;
  app.transfer.answers = {Silent(1, 2), Received(kOffer)};
  app.After(seconds(1), [&] { app.automation.Create("client").VerifyVersion(); });
  app.After(seconds(18), [&] {
    app.Client("client").ConfigureUpdater();
    app.Click(app.controls().lblInfo105);
  });
  app.After(seconds(40), [&] {
    EXPECT_TRUE(app.controls().picStep200.Visible());
    EXPECT_EQ(app.dialog().UpdateNames, (std::vector<std::string>{"", "A"}));
    EXPECT_EQ(app.Client("client").GetStatus(), StatusPending);
    app.Client("client").Quit();
  });
  app.Serve();
}

TEST(CheckNew, AnOpenDialogOutlivesItsClient) {
  ServingApp app;
  app.After(seconds(1), [&] {
    app.automation.Create("client").ConfigureUpdater();
    app.automation.held.clear();
  });
  app.After(seconds(100), [&] { app.Click(app.controls().cmdOK); });
  app.Serve();
  EXPECT_EQ(app.Age(), seconds(100));
  EXPECT_EQ(app.VersionValue(kValueCheckedEvery), "1");
}

TEST(CheckNew, TheProcessEndsWithItsLastClient) {
  using enum AutomationStart;
  // When the first client connects and disconnects, and when one that connects while the process ends disconnects:
  // seconds; 0: never.
  const std::tuple<AutomationStart, int, int, int, int, int> rows[] = {
      {kServing,      0,  0,  0,  30, 1},
      {kServing,      29, 90, 0,  90, 1},
      {kServing,      2,  3,  0,  3,  1},
      {kServing,      2,  3,  50, 50, 2},
      {kTaken,        0,  0,  0,  0,  0},
      {kNotReachable, 0,  0,  0,  0,  0},
  };
  for (const auto& [start, from, until, late, age, leaves] : rows) {
    HeadlessApp app("", 1);
    const SteadyTime born = app.clock.Steady();
    const char* log = "AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log";
    app.folder.Write(log, "of another process");
    app.automation.answer = start;
    if (from > 0) app.loop.After(seconds(from), [&] { app.automation.Create("first"); });
    if (late > 0) app.automation.while_leaving = [&] { app.automation.Create("late"); };
    for (const int end : {until, late}) {
      if (end > 0) app.loop.After(seconds(end), [&] { app.automation.held.clear(); });
    }
    bool reached = false;
    app.Run([&] { reached = app.program->Run(); });
    SCOPED_TRACE(testing::Message() << age << " s, " << static_cast<int>(start));
    EXPECT_EQ(reached, start != kNotReachable);
    EXPECT_EQ(std::chrono::floor<seconds>(app.clock.Steady() - born), seconds(age));
    EXPECT_EQ(app.automation.leaves, leaves);
    EXPECT_EQ(app.folder.Has(log), start != kServing) << "only a serving process starts a new log";
  }
}

TEST(CheckNew, QuitEndsTheProcessAtOnceInEveryState) {
  for (const int at : {1, 5, 17, 60}) {  // loaded, scheduled, searching, offer
    SCOPED_TRACE(at);
    ServingApp app;
    app.transfer.answers = {Received(kOffer)};
    app.transfer.answers.front().step = seconds(1);
    app.After(seconds(1), [&] { app.automation.Create("client").VerifyVersion(); });
    app.After(seconds(at), [&] { app.Client("client").Quit(); });
    app.Serve();
    EXPECT_TRUE(app.ended);
    EXPECT_TRUE(app.dialog().Loaded());
    EXPECT_EQ(app.VersionValue(kValueCheckedEvery), "1");
    EXPECT_FALSE(app.HasVersionValue(kValueCheckedOn));
  }
}

// "yyyy-mm-dd" with an optional time.
DateTime At(const char* text) {
  DateFields at;
  at.hour = at.minute = at.second = 0;
  EXPECT_GE(std::sscanf(text, "%d-%d-%d %d:%d:%d", &at.year, &at.month, &at.day, &at.hour, &at.minute, &at.second), 3);
  return MakeDateTime(at);
}

TEST(CheckSchedule, IsDueFromMidnight) {
  const DateTime evening = At("2014-03-10 18:30");
  const std::tuple<std::int32_t, const char*, const char*, const char*> rows[] = {
      {kCheckWeekly,  "2014-03-10 18:30", "2014-03-16 23:59:59", "2014-03-17"         },
      {kCheckWeekly,  "2014-03-10",       "2014-03-16 23:59:59", "2014-03-17 00:00:01"},
      {kCheckWeekly,  "2014-12-29 23:00", "2015-01-04 12:00",    "2015-01-05"         },
      {kCheckMonthly, "2014-01-31 12:00", "2014-02-27 23:59:59", "2014-02-28"         },
      {kCheckMonthly, "2014-03-31",       "2014-04-29 23:59:59", "2014-04-30"         },
      {kCheckMonthly, "2016-01-30 12:00", "2016-02-28 23:59:59", "2016-02-29"         },
      {kCheckMonthly, "2014-02-28 23:59", "2014-03-27 23:59:59", "2014-03-28"         },
      {kCheckMonthly, "2014-12-15",       "2015-01-14 23:59:59", "2015-01-15"         },
      {kCheckMonthly, "2100-01-31",       "2100-02-27 23:59:59", "2100-02-28"         },
      {kCheckMonthly, "1899-12-30",       "1900-01-29 23:59:59", "1900-01-30"         },
      {kCheckWeekly,  "1899-12-29 06:00", "1900-01-04 23:59:59", "1900-01-05"         },
  };
  for (const auto& [frequency, last, still_early, due] : rows) {
    EXPECT_FALSE(IsCheckDue(frequency, At(last), At(still_early))) << last;
    EXPECT_TRUE(IsCheckDue(frequency, At(last), At(due))) << last;
    EXPECT_FALSE(IsCheckDue(kCheckNever, At(last), At(due)));
    EXPECT_TRUE(IsCheckDue(kCheckAtEveryStart, At(last), At(last)));
  }
  for (const std::int32_t other : {-1, 4, 7}) EXPECT_TRUE(IsCheckDue(other, evening, evening));
  EXPECT_FALSE(IsCheckDue(kCheckWeekly, evening + 10, evening)) << "a last check in the future";
  const DateTime not_a_number = std::numeric_limits<double>::quiet_NaN();
  for (const DateTime when : {1e300, -1e300, At("9999-12-31 12:00"), not_a_number}) {
    for (const auto frequency : {kCheckWeekly, kCheckMonthly})
      EXPECT_TRUE(IsCheckDue(frequency, when, evening)) << when;
  }
}

}  // namespace
}  // namespace tsly
