// Preloaded into a program under test. Shortens its waits and advances its steady clock by the skipped time. Waits that
// the network can end are shortened less. The date stays real, and child processes run in real time.
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::int64_t kSecond = 1'000'000'000, kMillisecond = 1'000'000;
constexpr std::int64_t kFaster = 200, kFasterOnNetwork = 5;

std::atomic<std::int64_t> skipped{0};

std::int64_t Real() {
  timespec now{};
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
  return now.tv_sec * kSecond + now.tv_nsec;
}

timespec Span(std::int64_t time) { return {time / kSecond, time % kSecond}; }

bool OnNetwork(const pollfd* entries, nfds_t count) {
  return std::any_of(entries, entries + count, [](const pollfd& entry) {
    int family = 0;
    socklen_t size = sizeof family;
    return getsockopt(entry.fd, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 &&
           (family == AF_INET || family == AF_INET6);
  });
}

// `wait` below 0: no limit.
int Poll(pollfd* entries, nfds_t count, std::int64_t wait, const sigset_t* signals) {
  const std::int64_t faster = wait <= 0 ? 1 : OnNetwork(entries, count) ? kFasterOnNetwork : kFaster;
  const std::int64_t began = Real();
  timespec limit = Span(std::max<std::int64_t>(wait, 0) / faster);
  const long ready = syscall(SYS_ppoll, entries, count, wait < 0 ? nullptr : &limit, signals, sizeof(std::uint64_t));
  const std::int64_t passed = Real() - began;
  if (ready == 0) skipped += std::max<std::int64_t>(wait - passed, 0);
  if (ready > 0)
    skipped += std::clamp<std::int64_t>(passed * (faster - 1), 0, std::max<std::int64_t>(wait - passed, 0));
  return static_cast<int>(ready);
}

// Child processes don't use this library.
[[gnu::constructor]] void KeepToThisProcess() { unsetenv("LD_PRELOAD"); }

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const long failed = syscall(SYS_clock_gettime, clock, time);
  const bool steady = clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_MONOTONIC_COARSE ||
                      clock == CLOCK_BOOTTIME;
  if (failed == 0 && steady) *time = Span(time->tv_sec * kSecond + time->tv_nsec + skipped);
  return static_cast<int>(failed);
}

int poll(pollfd* entries, nfds_t count, int wait) {
  return Poll(entries, count, wait < 0 ? -1 : wait * kMillisecond, nullptr);
}
int __poll_chk(pollfd* entries, nfds_t count, int wait, std::size_t) { return poll(entries, count, wait); }

int ppoll(pollfd* entries, nfds_t count, const timespec* wait, const sigset_t* signals) {
  return Poll(entries, count, wait == nullptr ? -1 : wait->tv_sec * kSecond + wait->tv_nsec, signals);
}
int __ppoll_chk(pollfd* entries, nfds_t count, const timespec* wait, const sigset_t* signals, std::size_t) {
  return ppoll(entries, count, wait, signals);
}

int nanosleep(const timespec* wait, timespec*) {
  const std::int64_t whole = wait->tv_sec * kSecond + wait->tv_nsec;
  const timespec part = Span(whole / kFaster);
  syscall(SYS_nanosleep, &part, nullptr);
  skipped += whole - whole / kFaster;
  return 0;
}
int clock_nanosleep(clockid_t, int flags, const timespec* wait, timespec* left) {
  if ((flags & TIMER_ABSTIME) == 0) return nanosleep(wait, left);
  const std::int64_t whole = wait->tv_sec * kSecond + wait->tv_nsec - Real() - skipped;
  const timespec span = Span(std::max<std::int64_t>(whole, 0));
  return nanosleep(&span, nullptr);
}

}  // extern "C"
