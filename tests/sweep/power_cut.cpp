// Preloaded into the program under test. After each call that flushes to a disk, the program waits until the other end
// of the socket TSLY_POWER_SOCKET has copied the disks. TSLY_POWER_MODE "eager": each rename flushes its disk, as the
// system may do at any time; "forget": every second syncfs does nothing, as if the program had omitted it.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

int Stop(long result) {
  static const char* const socket = getenv("TSLY_POWER_SOCKET");
  char answer = 0;
  if (socket == nullptr || write(atoi(socket), "s", 1) != 1 || read(atoi(socket), &answer, 1) != 1) abort();
  return static_cast<int>(result);
}

bool Is(const char* wanted) {
  static const char* const mode = getenv("TSLY_POWER_MODE");
  return mode != nullptr && strcmp(mode, wanted) == 0;
}

}  // namespace

extern "C" {

int fsync(int file) { return Stop(syscall(SYS_fsync, file)); }
int fdatasync(int file) { return Stop(syscall(SYS_fdatasync, file)); }
int syncfs(int file) noexcept {
  static int calls = 0;
  return Stop(++calls % 2 == 0 && Is("forget") ? 0 : syscall(SYS_syncfs, file));
}
int renameat2(int from, const char* old_name, int to, const char* new_name, unsigned flags) noexcept {
  const long result = syscall(SYS_renameat2, from, old_name, to, new_name, flags);
  if (result != 0 || !Is("eager")) return static_cast<int>(result);
  syscall(SYS_sync);
  return Stop(0);
}
int renameat(int from, const char* old_name, int to, const char* new_name) noexcept {
  return renameat2(from, old_name, to, new_name, 0);
}

}  // extern "C"
