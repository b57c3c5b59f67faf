#include "posix/posix_shell.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <system_error>

#include "base/text.h"
#include "common/command_line.h"
#include "common/transfer_address.h"
#include "ports/system_codes.h"
#include "posix/child_process.h"
#include "posix/close_window.h"
#include "posix/descriptor.h"
#include "posix/paths.h"

namespace tsly {
namespace {

constexpr std::int32_t kErrorOutOfMemory = 7;

bool HasFolder(const std::string& program) { return program.find_first_of("\\/") != program.npos; }

// The words before the program, and whether their exit status shows that the user refused.
struct ElevationPrefix {
  std::vector<std::string> words;
  bool asks_user = false;
};

ElevationPrefix ChooseElevationPrefix(const std::string& helper) {
  if (const char* words = std::getenv("TSLY_RUNAS")) {
    ElevationPrefix prefix{Split(words, " "), false};
    std::erase(prefix.words, "");
    return prefix;
  }
  if (geteuid() == 0) return {};
  return {{helper}, true};
}

int CodeOfExec(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return kFileNotFound;
    case ENOEXEC:
      return kBadExeFormat;
    case EAGAIN:
    case ENOMEM:
      return kNotEnoughMemory;
    case EMFILE:
    case ENFILE:
      return kTooManyOpenFiles;
    default:
      return kAccessDenied;
  }
}

// The system's short name of a process's program file, at most 15 bytes. Unlike the path it is readable for other
// users' processes.
std::string RunningName(pid_t id) {
  std::ifstream file("/proc/" + std::to_string(id) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

std::string ShortName(const std::string& path) { return path.substr(path.rfind('/') + 1).substr(0, 15); }

}  // namespace

Fault PosixShell::StartElevated(const std::string& file, const std::string& parameters, std::int32_t) {
  const std::string program = HasFolder(file) ? NativePath(file) : FindInPath(file);
  const int judged = JudgeProgram(program);
  if (judged != kSuccess) {
    last_error_ = static_cast<std::uint32_t>(judged);
    return {};
  }

  auto [argv, asks_user] = ChooseElevationPrefix(options_.elevation_helper);
  if (!argv.empty() && !HasFolder(argv[0])) {
    argv[0] = FindInPath(argv[0]);
    if (argv[0].empty()) {
      last_error_ = kAccessDenied;  // the program exists, but not the elevation helper
      return {};
    }
  }
  argv.push_back(program);
  for (const std::string& argument : SplitArguments(parameters)) {
    argv.push_back(argument.starts_with('\\') ? NativePath(argument) : argument);
  }
  return Start(argv, asks_user);
}

Fault PosixShell::Start(const std::vector<std::string>& argv, bool await_helper) {
  ReapChildren();
  const StartedProcess started = StartProcess(argv);
  if (started.made_no_process) {
    last_error_ = kNotEnoughMemory;
    return {kErrorOutOfMemory, "Shell", "No process can be made: " + std::generic_category().message(started.error)};
  }
  if (started.id < 0) {
    last_error_ = static_cast<std::uint32_t>(CodeOfExec(started.error));
    return {};
  }
  children_.push_back(started.id);
  last_error_ = await_helper ? static_cast<std::uint32_t>(AwaitElevationHelper(started.id)) : kSuccess;
  return {};
}

// Waits until the helper has become the program or has ended without it. Right after its start a process still has its
// parent's name.
int PosixShell::AwaitElevationHelper(pid_t id) {
  const std::string helper = ShortName(options_.elevation_helper);
  const std::string maker = RunningName(gettid());
  bool is_helper = false;
  const Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));  // the C library lacks it in C++
  using Clock = std::chrono::steady_clock;
  auto last_repaint = Clock::now();
  for (int pause = 1;; pause = std::min(pause * 2, 50)) {
    // Checked before the name: an ended process keeps its name until it is reaped, so a program that ends at once isn't
    // mistaken for the helper.
    pollfd ended{end.Get(), POLLIN, 0};
    const bool has_ended = !end || poll(&ended, 1, 0) > 0;
    // If the name can't be read (other users' processes may be hidden), there is nothing to wait for.
    const std::string name = RunningName(id);
    is_helper |= name == helper;
    if (name != helper && (is_helper || name != maker)) return kSuccess;
    if (const std::optional<int> exit = has_ended ? ExitOf(id) : std::nullopt) {
      std::erase(children_, id);
      return *exit == 126 ? kCancelled : *exit == 127 ? kAccessDenied : kSuccess;
    }
    poll(&ended, 1, pause);
    if (options_.repaint && Clock::now() - last_repaint >= std::chrono::milliseconds(50)) {
      options_.repaint();
      last_repaint = Clock::now();
    }
  }
}

void PosixShell::ReapChildren() {
  std::erase_if(children_, [](pid_t id) { return ExitOf(id).has_value(); });
}

void PosixShell::OpenAddress(const std::string& url) {
  const bool is_allowed = MayBeOpened(url);
  const std::string opener = FindInPath("xdg-open");
  if (!is_allowed || opener.empty()) {
    last_error_ = is_allowed ? kFileNotFound : kAccessDenied;
    return;
  }
  Start({opener, url}, false);
}

void PosixShell::CloseWindow(std::int32_t window) {
  last_error_ = static_cast<std::uint32_t>(
      AskWindowToClose(static_cast<std::uint32_t>(window), options_.longest_close, options_.repaint));
}

void PosixShell::DoEndProcess() { _exit(0); }

}  // namespace tsly
