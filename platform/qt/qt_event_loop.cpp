#include "qt/qt_event_loop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimerEvent>
#include <algorithm>
#include <mutex>
#include <utility>

namespace tsly {
namespace {

using std::chrono::milliseconds;

// A pass of the dispatcher processes only the events pending at its start, so processing all takes several. The limit
// protects the caller from events that keep creating events.
constexpr int kMostPasses = 64;
// Longer waits are split: the dispatcher's intervals are 32-bit.
constexpr milliseconds kLongestInterval = std::chrono::hours(24);

milliseconds IntervalBeyond(SteadyTime left) {
  const auto whole = std::chrono::duration_cast<milliseconds>(std::max(left, SteadyTime::zero()));
  return std::min(whole + milliseconds(1), kLongestInterval);
}

}  // namespace

// Receives Qt's events, and counts all events that Qt delivers.
class QtEventLoop::Receiver final : public QObject {
 public:
  explicit Receiver(QtEventLoop& loop) : loop_(loop) { QCoreApplication::instance()->installEventFilter(this); }

  void WakeUp() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

 protected:
  bool eventFilter(QObject*, QEvent*) override {
    ++loop_.served_;
    return false;
  }
  void timerEvent(QTimerEvent* event) override { loop_.OnTimer(event->timerId()); }
  void customEvent(QEvent*) override {
    --loop_.served_;  // the event that it announces counts
    loop_.ServePosted();
  }

 private:
  QtEventLoop& loop_;
};

QtEventLoop::QtEventLoop(Clock& clock) : clock_(clock), receiver_(std::make_unique<Receiver>(*this)) {
  // For loops that Qt runs itself, for instance during a drag.
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, receiver_.get(),
                   [this] {
                     if (before_turn_) before_turn_();
                   });
}

QtEventLoop::~QtEventLoop() {
  for (const auto& [descriptor, watched] : watched_) {
    delete watched.read;
    delete watched.write;
  }
  LeaveTurn();
}

void QtEventLoop::Wait(SteadyTime until) {
  const std::uint64_t served_before = served_;
  TimerId deadline = 0;
  bool rang = until != kForever;
  do {
    // Restarts a timer that fired slightly early: the clock must be past the deadline.
    if (std::exchange(rang, false)) {
      deadline = Arm(IntervalBeyond(until - clock_.Steady()), true, [this, &rang] {
        rang = true;
        --served_;  // not an event for the caller
      });
    }
    Turn(true);
  } while (served_ == served_before && clock_.Steady() <= until);
  StopTimer(deadline);
}

bool QtEventLoop::ProcessPendingEvents() {
  int passes = 0;
  while (passes < kMostPasses && Turn(false)) ++passes;
  return passes > 0;
}

bool QtEventLoop::Turn(bool may_block) {
  const std::uint64_t served_before = served_;
  if (before_turn_) before_turn_();
  ++depth_;
  ServePosted();
  // The dispatcher of a nested loop ignores events that were posted before it started.
  QCoreApplication::sendPostedEvents();
  const bool block = may_block && served_ == served_before;
  QAbstractEventDispatcher::instance()->processEvents(block ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
  --depth_;
  LeaveTurn();
  return served_ != served_before;
}

void QtEventLoop::LeaveTurn() {
  if (depth_ > 0 || deleting_) return;
  deleting_ = true;
  while (!pending_deletes_.empty()) {
    const QPointer<QObject> object = pending_deletes_.back();
    pending_deletes_.pop_back();
    delete object.data();
  }
  deleting_ = false;
}

void QtEventLoop::DestroyAtOutermost(QObject* object) { pending_deletes_.emplace_back(object); }

void QtEventLoop::Post(std::function<void()> event) {
  {
    const std::lock_guard lock(posted_guard_);
    posted_.push_back(std::move(event));
  }
  receiver_->WakeUp();
}

std::function<void()> QtEventLoop::TakePosted() {
  const std::lock_guard lock(posted_guard_);
  if (posted_.empty()) return nullptr;
  auto event = std::move(posted_.front());
  posted_.pop_front();
  return event;
}

// Processes the events pending now; those posted meanwhile wait for the next turn, so that timers run too.
void QtEventLoop::ServePosted() {
  std::size_t waiting = 0;
  {
    const std::lock_guard lock(posted_guard_);
    waiting = posted_.size();
  }
  for (; waiting > 0; --waiting) {
    const auto event = TakePosted();
    if (!event) return;
    ++served_;
    event();
  }
}

TimerId QtEventLoop::StartTimer(milliseconds interval, std::function<void()> tick) {
  return Arm(interval, false, std::move(tick));
}

TimerId QtEventLoop::Arm(milliseconds interval, bool once, std::function<void()> tick) {
  // With a repeated interval of zero the dispatcher would never block.
  const int qt_id = receiver_->startTimer(once ? interval : std::max(interval, milliseconds(1)), Qt::PreciseTimer);
  timers_[++last_timer_] = {qt_id, once, std::make_shared<std::function<void()>>(std::move(tick))};
  return last_timer_;
}

void QtEventLoop::StopTimer(TimerId timer) {
  const auto found = timers_.find(timer);
  if (found == timers_.end()) return;
  receiver_->killTimer(found->second.qt_id);
  timers_.erase(found);
}

void QtEventLoop::OnTimer(int qt_id) {
  const auto found =
      std::find_if(timers_.begin(), timers_.end(), [&](const auto& timer) { return timer.second.qt_id == qt_id; });
  if (found == timers_.end()) return;
  const auto tick = found->second.tick;  // the tick may stop its own timer
  if (found->second.once) StopTimer(found->first);
  (*tick)();
}

void QtEventLoop::StartOneShot(const void* owner, milliseconds delay, std::function<void()> tick) {
  StopOneShot(owner);
  one_shots_[owner] = Arm(delay, true, [this, owner, last = std::move(tick)] {
    one_shots_.erase(owner);
    last();
  });
}

void QtEventLoop::StopOneShot(const void* owner) {
  const auto found = one_shots_.find(owner);
  if (found == one_shots_.end()) return;
  StopTimer(found->second);
  one_shots_.erase(found);
}

QSocketNotifier* QtEventLoop::MakeNotifier(int descriptor, bool for_writing) {
  auto* notifier = new QSocketNotifier(descriptor, for_writing ? QSocketNotifier::Write : QSocketNotifier::Read);
  QObject::connect(notifier, &QSocketNotifier::activated, receiver_.get(), [this, descriptor, for_writing] {
    const auto found = watched_.find(descriptor);
    if (found == watched_.end()) return;
    const auto ready = found->second.ready;  // the call may replace itself
    (*ready)(!for_writing, for_writing);
  });
  return notifier;
}

void QtEventLoop::Watch(int descriptor, bool readable, bool writable,
                        std::function<void(bool readable, bool writable)> ready) {
  Watched& watched = watched_[descriptor];
  watched.ready = std::make_shared<std::function<void(bool, bool)>>(std::move(ready));
  if (readable && watched.read == nullptr) watched.read = MakeNotifier(descriptor, false);
  if (writable && watched.write == nullptr) watched.write = MakeNotifier(descriptor, true);
  if (watched.read != nullptr) watched.read->setEnabled(readable);
  if (watched.write != nullptr) watched.write->setEnabled(writable);
  if (readable || writable) return;
  // Disabled at once, because the descriptor may be closed next; destroyed later, because it may be running now.
  if (watched.read != nullptr) DestroyAtOutermost(watched.read);
  if (watched.write != nullptr) DestroyAtOutermost(watched.write);
  watched_.erase(descriptor);
}

}  // namespace tsly
