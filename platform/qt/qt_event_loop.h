// The program's event loop, with Qt's. Delivers events, ticks and ready descriptors one at a time from the dispatcher;
// their handlers may run the loop again. Qt's own events (windows, D-Bus) run in between.
//
// Owner: the composition, which creates it after the application object and destroys it before. Post may be called on
// any thread, everything else only on the creating one. Tested by the event loop's contract suite.
#pragma once

#include <QObject>
#include <QPointer>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ports/clock.h"
#include "ports/event_loop.h"
#include "posix/descriptor_watch.h"

class QSocketNotifier;

namespace tsly {

class QtEventLoop final : public EventLoop, public DescriptorWatch {
 public:
  // `clock`: the one that callers of Wait use.
  explicit QtEventLoop(Clock& clock);
  ~QtEventLoop() override;

  void Wait(SteadyTime until) override;
  bool ProcessPendingEvents() override;
  void Post(std::function<void()> event) override;
  TimerId StartTimer(std::chrono::milliseconds interval, std::function<void()> tick) override;
  void StopTimer(TimerId timer) override;

  void Watch(int descriptor, bool readable, bool writable,
             std::function<void(bool readable, bool writable)> ready) override;
  void StartOneShot(const void* owner, std::chrono::milliseconds delay, std::function<void()> tick) override;
  void StopOneShot(const void* owner) override;

  // Called before events are processed and before the dispatcher blocks, to draw changes. Processes no events.
  void SetBeforeTurn(std::function<void()> before_turn) { before_turn_ = std::move(before_turn); }

  // Destroys a widget or notifier when no call of this loop is on the stack, so that none of its functions is running.
  void DestroyAtOutermost(QObject* object);

 private:
  class Receiver;

  struct Timer {
    int qt_id = 0;
    bool once = false;
    std::shared_ptr<std::function<void()>> tick;
  };
  struct Watched {
    QSocketNotifier* read = nullptr;
    QSocketNotifier* write = nullptr;
    std::shared_ptr<std::function<void(bool, bool)>> ready;
  };

  bool Turn(bool may_block);  // whether an event was served
  void ServePosted();
  std::function<void()> TakePosted();
  void LeaveTurn();
  void OnTimer(int qt_id);
  TimerId Arm(std::chrono::milliseconds interval, bool once, std::function<void()> tick);
  QSocketNotifier* MakeNotifier(int descriptor, bool for_writing);

  Clock& clock_;
  std::unique_ptr<Receiver> receiver_;
  std::function<void()> before_turn_;
  std::uint64_t served_ = 0;  // events of any kind, Qt's own included
  int depth_ = 0;             // calls of this loop on the stack
  bool deleting_ = false;
  std::vector<QPointer<QObject>> pending_deletes_;

  // Not in Qt's queue, in which a nested loop doesn't see events posted before it started.
  std::mutex posted_guard_;
  std::deque<std::function<void()>> posted_;

  TimerId last_timer_ = 0;
  std::map<TimerId, Timer> timers_;
  std::map<const void*, TimerId> one_shots_;
  std::map<int, Watched> watched_;
};

}  // namespace tsly
