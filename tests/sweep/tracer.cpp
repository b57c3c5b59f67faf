// Runs a program and disturbs one of its system calls: counts the calls on files below a folder, in all threads of the
// program but not in its child processes, and kills the program at the Nth or makes the Nth fail.
//
//   sweep_tracer ROOT MODE N ERRNO SECONDS PROGRAM ARGUMENT...
//
// MODE: plain (count nothing), list (print every call), kill and after (SIGKILL before and after the Nth call that
// changes something), once (the Nth call of all fails), from (all from the Nth on fail), full (those that need room on
// the disk from the Nth on). A failed close still closes the file. No process of the run can change a file outside the
// folder two levels above ROOT. Writes one line each to standard output: "call K KIND TEXT" in list mode (kinds R:
// reads, C: changes, G: needs room), "hit TEXT" when the Nth came, "outside TEXT" for a change elsewhere, and finally
// "end exit|signal|hung NUMBER calls N". Returns when the program and its child processes have ended.
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

// The file of a call: the argument numbers of the path and of its base descriptor, -1 for none.
struct Call {
  long number;
  const char* name;
  int path, descriptor;
  enum Kind { kReads, kChanges, kGrows, kByFlags } kind;  // a lock or a close changes nothing permanent
  int flags = 0;                                          // the argument number of the flags
};

// clang-format off
constexpr Call kCalls[] = {
    {SYS_open, "open", 0, -1, Call::kByFlags, 1},
    {SYS_openat, "openat", 1, 0, Call::kByFlags, 2},
    {SYS_creat, "creat", 0, -1, Call::kGrows},
    {SYS_mkdir, "mkdir", 0, -1, Call::kGrows},
    {SYS_mkdirat, "mkdirat", 1, 0, Call::kGrows},
    {SYS_rmdir, "rmdir", 0, -1, Call::kChanges},
    {SYS_unlink, "unlink", 0, -1, Call::kChanges},
    {SYS_unlinkat, "unlinkat", 1, 0, Call::kChanges},
    {SYS_rename, "rename", 1, -1, Call::kChanges},
    {SYS_renameat, "renameat", 3, 2, Call::kChanges},
    {SYS_renameat2, "renameat2", 3, 2, Call::kChanges},
    {SYS_link, "link", 1, -1, Call::kGrows},
    {SYS_linkat, "linkat", 3, 2, Call::kGrows},
    {SYS_symlink, "symlink", 1, -1, Call::kGrows},
    {SYS_symlinkat, "symlinkat", 2, 1, Call::kGrows},
    {SYS_chmod, "chmod", 0, -1, Call::kChanges},
    {SYS_fchmod, "fchmod", -1, 0, Call::kChanges},
    {SYS_fchmodat, "fchmodat", 1, 0, Call::kChanges},
    {SYS_chown, "chown", 0, -1, Call::kChanges},
    {SYS_fchown, "fchown", -1, 0, Call::kChanges},
    {SYS_fchownat, "fchownat", 1, 0, Call::kChanges},
    {SYS_utimensat, "utimensat", 1, 0, Call::kChanges},
    {SYS_truncate, "truncate", 0, -1, Call::kChanges},
    {SYS_ftruncate, "ftruncate", -1, 0, Call::kChanges},
    {SYS_fallocate, "fallocate", -1, 0, Call::kGrows},
    {SYS_write, "write", -1, 0, Call::kGrows},
    {SYS_pwrite64, "pwrite", -1, 0, Call::kGrows},
    {SYS_writev, "writev", -1, 0, Call::kGrows},
    {SYS_copy_file_range, "copy_file_range", -1, 2, Call::kGrows},
    {SYS_sendfile, "sendfile", -1, 0, Call::kGrows},
    {SYS_close, "close", -1, 0, Call::kReads},
    {SYS_fsync, "fsync", -1, 0, Call::kGrows},
    {SYS_fdatasync, "fdatasync", -1, 0, Call::kGrows},
    {SYS_syncfs, "syncfs", -1, 0, Call::kGrows},
    {SYS_flock, "flock", -1, 0, Call::kReads},
    {SYS_fcntl, "fcntl", -1, 0, Call::kReads},
    {SYS_stat, "stat", 0, -1, Call::kReads},
    {SYS_lstat, "lstat", 0, -1, Call::kReads},
    {SYS_fstat, "fstat", -1, 0, Call::kReads},
    {SYS_newfstatat, "fstatat", 1, 0, Call::kReads},
    {SYS_statx, "statx", 1, 0, Call::kReads},
    {SYS_statfs, "statfs", 0, -1, Call::kReads},
    {SYS_fstatfs, "fstatfs", -1, 0, Call::kReads},
    {SYS_access, "access", 0, -1, Call::kReads},
    {SYS_faccessat, "faccessat", 1, 0, Call::kReads},
    {SYS_faccessat2, "faccessat2", 1, 0, Call::kReads},
    {SYS_readlink, "readlink", 0, -1, Call::kReads},
    {SYS_readlinkat, "readlinkat", 1, 0, Call::kReads},
    {SYS_read, "read", -1, 0, Call::kReads},
    {SYS_readv, "readv", -1, 0, Call::kReads},
    {SYS_pread64, "pread", -1, 0, Call::kReads},
    {SYS_lseek, "lseek", -1, 0, Call::kReads},
    {SYS_getdents64, "getdents", -1, 0, Call::kReads},
    {SYS_mmap, "mmap", -1, 4, Call::kReads},
};
// clang-format on

using Arguments = std::uint64_t[6];

std::string root, playground, mode;
long at = 0, counted = 0;
int error_number = 0;
pid_t program = 0;
volatile sig_atomic_t out_of_time = 0;

// Only the calls in the table stop for the tracer; all others run at full speed.
void InstallFilter() {
  std::vector<sock_filter> code{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const Call& call : kCalls) {
    code.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call.number), 0, 1));
    code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  }
  code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter{static_cast<unsigned short>(code.size()), code.data()};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) < 0) _exit(125);
}

std::string Text(pid_t id, std::uint64_t address) {
  std::string text;
  for (char part[256]; text.size() < PATH_MAX;) {
    const std::size_t size = sizeof part - address % sizeof part;  // never beyond a page
    const iovec here{part, size}, there{reinterpret_cast<void*>(address), size};
    if (process_vm_readv(id, &here, 1, &there, 1, 0) <= 0) break;
    text.append(part, size);
    if (text.find('\0', text.size() - size) != text.npos) break;
    address += size;
  }
  return text.substr(0, text.find('\0'));
}

std::string Link(pid_t id, const std::string& name) {
  char target[PATH_MAX];
  const ssize_t size = readlink(("/proc/" + std::to_string(id) + name).c_str(), target, sizeof target);
  return size < 0 ? "" : std::string(target, static_cast<std::size_t>(size));
}

std::string FileOf(pid_t id, const Call& call, const Arguments& arguments) {
  const std::string path = call.path < 0 ? "" : Text(id, arguments[call.path]);
  if (path.starts_with('/')) return path;
  const int start = call.descriptor < 0 ? AT_FDCWD : static_cast<int>(arguments[call.descriptor]);
  const std::string folder = Link(id, start == AT_FDCWD ? "/cwd" : "/fd/" + std::to_string(start));
  return path.empty() ? folder : folder + '/' + path;
}

// Opening an existing file needs no space.
Call::Kind KindOf(const Call& call, std::uint64_t flags, const std::string& file) {
  const bool makes = call.path >= 0 && access(file.c_str(), F_OK) != 0;
  if (call.kind == Call::kGrows) return makes || call.path < 0 ? Call::kGrows : Call::kChanges;
  if (call.kind != Call::kByFlags) return call.kind;
  if ((flags & O_TMPFILE) == O_TMPFILE || ((flags & O_CREAT) != 0 && makes)) return Call::kGrows;
  return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0 ? Call::kChanges : Call::kReads;
}

bool IsCounted(Call::Kind kind) {
  if (mode == "full") return kind == Call::kGrows;
  return kind != Call::kReads || (mode != "kill" && mode != "after");
}

bool IsBelow(const std::string& file, const std::string& folder) {
  return file.starts_with(folder) && (file.size() == folder.size() || file[folder.size()] == '/');
}

// Detects changes outside the folders of the runs.
bool Strays(const Call& call, Call::Kind kind, const std::string& file) {
  return kind != Call::kReads && call.path >= 0 && file.starts_with('/') && !IsBelow(file, playground) &&
         !IsBelow(file, "/dev") && !IsBelow(file, "/proc");
}

// The commands of fcntl that can fail: locks and copies of descriptors.
bool CanFail(std::uint64_t command) {
  return command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK || command == F_OFD_SETLKW ||
         command == F_DUPFD || command == F_DUPFD_CLOEXEC;
}

bool IsWritten(pid_t id, std::uint64_t descriptor) {
  std::ifstream info("/proc/" + std::to_string(id) + "/fdinfo/" + std::to_string(static_cast<int>(descriptor)));
  for (std::string word; info >> word;) {
    int flags = 0;
    if (word == "flags:") return info >> std::oct >> flags && (flags & O_ACCMODE) != O_RDONLY;
  }
  return false;
}

void SetResult(pid_t id, long result, bool skip) {
  user_regs_struct registers;
  ptrace(PTRACE_GETREGS, id, nullptr, &registers);
  if (skip) registers.orig_rax = ~0ULL;
  registers.rax = static_cast<unsigned long long>(result);
  ptrace(PTRACE_SETREGS, id, nullptr, &registers);
}

// What to do with the stopped call: PTRACE_CONT, or PTRACE_SYSCALL to see its end.
auto Judge(pid_t id, bool is_ours) {
  __ptrace_syscall_info info{};
  if (ptrace(PTRACE_GET_SYSCALL_INFO, id, sizeof info, &info) <= 0) return PTRACE_CONT;
  const Arguments& arguments = info.seccomp.args;
  for (const Call& call : kCalls) {
    if (static_cast<std::uint64_t>(call.number) != info.seccomp.nr) continue;
    if (call.number == SYS_fcntl && !CanFail(arguments[1])) break;
    if (call.number == SYS_close && (!is_ours || !IsWritten(id, arguments[0]))) break;
    const std::string file = FileOf(id, call, arguments);
    const Call::Kind kind = KindOf(call, arguments[call.flags], file);
    if (Strays(call, kind, file)) {
      std::printf("outside %s %s\n", call.name, file.c_str());
      SetResult(id, -EROFS, true);
    }
    if (!is_ours || mode == "plain" || !IsBelow(file, root) || !IsCounted(kind)) break;
    ++counted;
    const std::string text = std::string(call.name) + ' ' + file.substr(root.size());
    if (mode == "list") std::printf("call %ld %c %s\n", counted, "RCG"[kind], text.c_str());
    if (counted == at) std::printf("hit %s\n", text.c_str());
    if (counted < at || (counted > at && mode != "from" && mode != "full") || mode == "list") break;
    if (mode == "after" || call.number == SYS_close) return PTRACE_SYSCALL;
    if (mode == "kill") kill(program, SIGKILL);
    if (mode != "kill") SetResult(id, -error_number, true);
    break;
  }
  return PTRACE_CONT;
}

// The disturbed call is complete.
void EndCall(pid_t id) {
  if (mode == "after") {
    kill(program, SIGKILL);
  } else {
    SetResult(id, -error_number, false);
  }
}

bool IsOurs(pid_t id) {
  std::ifstream status("/proc/" + std::to_string(id) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Tgid:")) return std::stol(line.substr(5)) == program;
  }
  return false;
}

void Follow() {
  std::map<pid_t, bool> ours;
  int status = 0, ended = 0;
  for (;;) {
    const pid_t id = waitpid(-1, &status, __WALL);
    if (id < 0 && errno == EINTR && out_of_time == 0) continue;
    if (id < 0) break;
    if (!WIFSTOPPED(status)) {
      ours.erase(id);
      if (id == program) ended = status;
      continue;
    }
    const bool is_new = !ours.contains(id);
    if (is_new) ours[id] = IsOurs(id);
    const int signal = WSTOPSIG(status), event = status >> 16;
    auto how = PTRACE_CONT;
    if (event == PTRACE_EVENT_SECCOMP) how = Judge(id, ours[id]);
    if (signal == (SIGTRAP | 0x80) && ours[id]) EndCall(id);
    const bool is_tracing = event != 0 || (signal & 0x7f) == SIGTRAP || (is_new && signal == SIGSTOP);
    ptrace(how, id, nullptr, is_tracing ? 0 : signal);
  }
  const char* word = ended == 0 && out_of_time != 0 ? "hung" : WIFSIGNALED(ended) ? "signal" : "exit";
  std::printf("end %s %d calls %ld\n", word, WIFSIGNALED(ended) ? WTERMSIG(ended) : WEXITSTATUS(ended), counted);
}

}  // namespace

int main(int count, char** words) {
  if (count < 7) return 2;
  root = words[1];
  playground = root.substr(0, root.rfind('/', root.rfind('/') - 1));
  mode = words[2];
  at = std::atol(words[3]);
  error_number = std::atoi(words[4]);
  program = fork();
  if (program == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    if (const char* libraries = getenv("TSLY_SWEEP_PRELOAD")) setenv("LD_PRELOAD", libraries, 1);
    InstallFilter();
    execv(words[6], words + 6);
    _exit(126);
  }
  waitpid(program, nullptr, 0);
  ptrace(PTRACE_SETOPTIONS, program, nullptr,
         PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACESECCOMP |
             PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  struct sigaction alarm_action {};  // without SA_RESTART: the wait ends
  alarm_action.sa_handler = [](int) { out_of_time = 1; };
  sigaction(SIGALRM, &alarm_action, nullptr);
  alarm(static_cast<unsigned>(std::atoi(words[5])));
  ptrace(PTRACE_CONT, program, nullptr, 0);
  Follow();
  return 0;
}
