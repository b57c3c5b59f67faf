#include "posix/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

// A session of its own, default signals, /dev/null as standard input and output, and no other descriptor but standard
// error. Descriptor 0 is closed before /dev/null is opened, in case the process is at its limit of descriptors.
class SpawnSettings {
 public:
  SpawnSettings() {
    sigset_t all, none;
    std::memset(&all, 0xFF, sizeof all);  // sigfillset leaves out two of the C library's own, which are ignored then
    sigemptyset(&none);
    error_ = posix_spawnattr_init(&attributes);
    Add(posix_spawnattr_setsigdefault(&attributes, &all));
    Add(posix_spawnattr_setsigmask(&attributes, &none));
    Add(posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
    Add(posix_spawn_file_actions_init(&actions));
    Add(posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDWR, 0));
    Add(posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, STDOUT_FILENO));
    Add(posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1));
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  int Error() const { return error_; }

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t actions;

 private:
  void Add(int error) { error_ = error_ == 0 ? error : error_; }
  int error_ = 0;
};

}  // namespace

StartedProcess StartProcess(const std::vector<std::string>& argv) {
  std::vector<char*> pointers;
  for (const std::string& argument : argv) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);

  const SpawnSettings settings;
  StartedProcess started;
  started.error = settings.Error();
  if (started.error == 0) {
    started.error =
        posix_spawn(&started.id, pointers[0], &settings.actions, &settings.attributes, pointers.data(), environ);
  }
  if (started.error != 0) started.id = -1;
  started.made_no_process = started.error == EAGAIN || started.error == ENOMEM;
  return started;
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
