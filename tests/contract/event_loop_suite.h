// The contract of every event loop. Test programs instantiate EventLoopSuite with a function that creates fixtures.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "ports/event_loop.h"

namespace tsly {

class LoopFixture {
 public:
  virtual ~LoopFixture() = default;
  virtual EventLoop& Loop() = 0;
  virtual SteadyTime Now() = 0;
  virtual void LetTimePass(std::chrono::milliseconds span) = 0;  // without running the loop
};

using MakeLoopFixture = std::unique_ptr<LoopFixture> (*)();

class EventLoopSuite : public testing::TestWithParam<MakeLoopFixture> {
 protected:
  using milliseconds = std::chrono::milliseconds;

  void PostNote(char note) {
    loop.Post([this, note] { notes += note; });
  }
  void PostBetween(const std::string& pair, std::function<void()> body) {
    loop.Post([=, this] {
      notes += pair[0];
      body();
      notes += pair[1];
    });
  }
  // The notes after a long enough wait.
  std::string NotesWhen(std::size_t count) {
    const SteadyTime end = fixture->Now() + std::chrono::seconds(10);
    while (notes.size() < count && fixture->Now() <= end) loop.Wait(end);
    return notes;
  }

  std::unique_ptr<LoopFixture> fixture = GetParam()();
  EventLoop& loop = fixture->Loop();
  std::string notes;  // one character per event
};

TEST_P(EventLoopSuite, EventsRunInOrderAndNeverInsidePost) {
  PostBetween("ab", [this] { PostNote('d'); });
  PostNote('c');
  EXPECT_EQ(notes, "");
  EXPECT_TRUE(loop.ProcessPendingEvents());
  loop.ProcessPendingEvents();
  EXPECT_FALSE(loop.ProcessPendingEvents());
  EXPECT_EQ(notes, "abcd");
}

TEST_P(EventLoopSuite, AWaitInsideAnEventProcessesOtherEvents) {
  PostBetween("()", [this] { loop.Wait(kForever); });
  PostBetween("[]", [this] { loop.ProcessPendingEvents(); });
  PostNote('x');
  loop.ProcessPendingEvents();
  EXPECT_EQ(notes, "([x])");
}

TEST_P(EventLoopSuite, AWaitEndsWithAnEventOrAfterItsDeadline) {
  loop.ProcessPendingEvents();
  const SteadyTime soon = fixture->Now() + milliseconds(3);
  loop.Wait(soon);
  EXPECT_GT(fixture->Now(), soon);

  const SteadyTime late = fixture->Now() + std::chrono::hours(1);
  const TimerId timer = loop.StartTimer(milliseconds(3), [this] { notes += 't'; });
  EXPECT_EQ(NotesWhen(1), "t");
  EXPECT_LT(fixture->Now(), late);
  loop.StopTimer(timer);
}

TEST_P(EventLoopSuite, TimersRepeatUntilStopped) {
  const TimerId slow = loop.StartTimer(milliseconds(50), [this] { notes += 's'; });
  TimerId fast = 0;
  fast = loop.StartTimer(milliseconds(10), [&] {
    notes += 'f';
    if (std::count(notes.begin(), notes.end(), 'f') == 2) loop.StopTimer(fast);  // by its own tick
  });
  std::string ticks = NotesWhen(4);
  std::sort(ticks.begin(), ticks.end());  // the order varies under load
  EXPECT_EQ(ticks, "ffss");
  fixture->LetTimePass(milliseconds(60));
  loop.StopTimer(slow);  // when its tick was already due
  const std::string before = notes;
  loop.ProcessPendingEvents();
  EXPECT_EQ(notes, before);
}

TEST_P(EventLoopSuite, MissedTicksAreNotMadeUpFor) {
  const TimerId timer = loop.StartTimer(milliseconds(20), [this] { notes += 't'; });
  fixture->LetTimePass(milliseconds(110));
  loop.ProcessPendingEvents();
  EXPECT_GE(notes.size(), 1U);
  EXPECT_LE(notes.size(), 2U);  // the next one may be due by now
  loop.StopTimer(timer);
}

TEST_P(EventLoopSuite, AWaitInsideATickRunsOtherTimers) {
  const TimerId inner = loop.StartTimer(milliseconds(5), [this] { notes += '.'; });
  TimerId outer = 0;
  outer = loop.StartTimer(milliseconds(1), [&] {
    loop.StopTimer(outer);
    notes += '(';
    while (notes.back() != '.') loop.Wait(kForever);
    notes += ')';
  });
  EXPECT_EQ(NotesWhen(3).substr(0, 3), "(.)");
  loop.StopTimer(inner);
}

}  // namespace tsly
