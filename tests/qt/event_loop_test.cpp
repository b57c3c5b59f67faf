#include <unistd.h>

#include <QObject>
#include <QPointer>
#include <array>
#include <ctime>
#include <thread>

#include "contract/event_loop_suite.h"
#include "qt/application_environment.h"

namespace tsly {
namespace {

using std::chrono::milliseconds;

class QtLoopFixture final : public LoopFixture, public RunningLoop {
 public:
  EventLoop& Loop() override { return loop; }
  SteadyTime Now() override { return clock.Steady(); }
  void LetTimePass(milliseconds span) override {
    for (const SteadyTime end = Now() + span; Now() <= end;) {
    }
  }
};

std::unique_ptr<LoopFixture> MakeQtLoop() { return std::make_unique<QtLoopFixture>(); }
INSTANTIATE_TEST_SUITE_P(Qt, EventLoopSuite, testing::Values(&MakeQtLoop));

class QtEventLoopTest : public testing::Test, protected RunningLoop {};

TEST_F(QtEventLoopTest, AWaitUsesNoProcessor) {
  loop.ProcessPendingEvents();
  const std::clock_t before = std::clock();
  loop.Wait(clock.Steady() + milliseconds(200));
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
}

TEST_F(QtEventLoopTest, OtherThreadsPost) {
  std::thread::id served_by;
  std::thread poster([&] { loop.Post([&] { served_by = std::this_thread::get_id(); }); });
  EXPECT_TRUE(RunUntil([&] { return served_by == std::this_thread::get_id(); }));
  poster.join();
}

TEST_F(QtEventLoopTest, DescriptorsAreWatchedUntilStopped) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  int reads = 0, writes = 0;
  loop.Watch(ends[1], false, true, [&](bool readable, bool writable) {
    EXPECT_FALSE(readable);
    EXPECT_TRUE(writable);
    ++writes;
    loop.Watch(ends[1], false, false, {});  // inside its own call
  });
  EXPECT_EQ(writes, 0);
  EXPECT_TRUE(RunUntil([&] { return writes == 1; }));

  loop.Watch(ends[0], true, false, [&](bool, bool) { ADD_FAILURE() << "replaced before anything could be read"; });
  loop.Watch(ends[0], true, false, [&](bool readable, bool) { reads += readable; });
  loop.ProcessPendingEvents();
  EXPECT_EQ(reads, 0);
  ASSERT_EQ(write(ends[1], "x", 1), 1);
  EXPECT_TRUE(RunUntil([&] { return reads > 0; }));
  loop.Watch(ends[0], false, false, {});
  const int reads_then = reads;
  loop.ProcessPendingEvents();
  EXPECT_EQ(reads, reads_then);
  EXPECT_EQ(writes, 1);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(QtEventLoopTest, AnOwnerHasOneOneShotThatTicksOnce) {
  std::string ticks;
  const int first = 0, second = 0;
  loop.StartOneShot(&first, milliseconds(0), [&] { ticks += 'x'; });
  loop.StartOneShot(&first, milliseconds(5), [&] {
    ticks += 'a';
    loop.StartOneShot(&first, milliseconds(1), [&] { ticks += 'b'; });
  });
  loop.StartOneShot(&second, milliseconds(1), [&] { ticks += 'y'; });
  loop.StopOneShot(&second);
  EXPECT_EQ(ticks, "");
  EXPECT_TRUE(RunUntil([&] { return ticks == "ab"; }));
  RunFor(milliseconds(10));
  EXPECT_EQ(ticks, "ab");
}

TEST_F(QtEventLoopTest, PendingDeletesOutliveAllCallsOnTheStack) {
  const QPointer<QObject> object = new QObject;
  bool alive_below = false;
  loop.Post([&] {
    loop.DestroyAtOutermost(object);
    loop.ProcessPendingEvents();
    alive_below = object != nullptr;
  });
  loop.ProcessPendingEvents();
  EXPECT_TRUE(alive_below);
  EXPECT_EQ(object, nullptr);
}

}  // namespace
}  // namespace tsly
