#include "posix/child_process.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

// For kernels without close_range.
void CloseEachOnExec() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  for (int i = 3; i < static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 1 << 20)); ++i) fcntl(i, F_SETFD, FD_CLOEXEC);
}

// Runs between fork and exec: system calls only.
[[noreturn]] void BecomeProgram(char* const argv[], int status) {
  setsid();
  struct sigaction plain {};
  plain.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) sigaction(number, &plain, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);

  // Closes one first, in case the process is at its limit of descriptors.
  close(STDIN_FILENO);
  if (open("/dev/null", O_RDWR) == STDIN_FILENO && dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO) {
    if (close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) != 0) CloseEachOnExec();
    execv(argv[0], argv);
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(status, &error, sizeof error);
  _exit(127);
}

// Blocks signals meanwhile, so that no handler of this process runs in the child.
pid_t ForkWithoutSignals() {
  sigset_t all, former;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &former);
  const pid_t id = fork();
  const int error = errno;
  if (id != 0) pthread_sigmask(SIG_SETMASK, &former, nullptr);
  errno = error;
  return id;
}

}  // namespace

StartedProcess StartProcess(const std::vector<std::string>& argv) {
  std::vector<char*> pointers;
  for (const std::string& argument : argv) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);

  int ends[2];
  if (pipe2(ends, O_CLOEXEC) < 0) return {-1, errno, true};
  const Descriptor reading(ends[0]);
  Descriptor given(ends[1]);
  // The child replaces descriptors 0 to 2, which the pipe may have got.
  Descriptor writing(fcntl(given.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!writing) return {-1, errno, true};
  given = Descriptor();
  const pid_t id = ForkWithoutSignals();
  if (id == 0) BecomeProgram(pointers.data(), writing.Get());
  if (id < 0) return {-1, errno, true};

  writing = Descriptor();
  int error = 0;
  ssize_t got = 0;
  do {
    got = read(reading.Get(), &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  if (got != sizeof error) return {id, 0, false};
  while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
  }
  return {-1, error, false};
}

std::optional<int> ExitOf(pid_t id) {
  int status = 0;
  const pid_t ended = waitpid(id, &status, WNOHANG);
  if (ended == 0) return std::nullopt;
  if (ended < 0) return 0;  // its status was already taken
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string FindInPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string_view folders = path == nullptr ? "/usr/local/bin:/usr/bin:/bin" : path;
  std::string denied;
  while (!name.empty() && !folders.empty()) {
    const std::size_t end = std::min(folders.find(':'), folders.size());
    const std::string candidate = std::string(folders.substr(0, end)) + '/' + name;
    folders.remove_prefix(std::min(end + 1, folders.size()));
    if (end == 0 || candidate[0] != '/') continue;
    const int judged = JudgeProgram(candidate);
    if (judged == kAccessDenied && denied.empty()) denied = candidate;
    if (judged != kAccessDenied && judged != kFileNotFound) return candidate;
  }
  return denied;
}

int JudgeProgram(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) < 0) {
    const int code = CodeOf(errno, kReadFault);
    return code == kPathNotFound || code == kNameTooLong ? kFileNotFound : code;
  }
  if (!S_ISREG(status.st_mode) || faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) < 0) return kAccessDenied;

  // A file may be executable but not readable; then only starting it shows.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  char start[4];
  const ssize_t got = file ? read(file.Get(), start, sizeof start) : -1;
  if (got < 0) return kSuccess;
  const std::string_view text(start, static_cast<std::size_t>(got));
  return text == "\x7f"
                 "ELF" ||
                 text.starts_with("#!")
             ? kSuccess
             : kBadExeFormat;
}

}  // namespace tsly
