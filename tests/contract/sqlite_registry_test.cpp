// What only the file-based registry guarantees: files, other processes, kills, and the user's overlay.
#include "posix/sqlite_registry.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>

#include "base/text.h"
#include "contract/registry_helpers.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;
constexpr const char* kUserFile = "user\\registry\\user.sqlite";
constexpr const char* kMachineFile = "machine\\machine.sqlite";

void SetModes(const fs::path& folder, mode_t mode, mode_t files) {
  chmod(folder.c_str(), mode);
  for (const auto& entry : fs::directory_iterator(folder)) chmod(entry.path().c_str(), files);
}

// Runs `body` without the right to write in a folder, and without root's rights.
void WithoutRight(const fs::path& folder, const std::function<void()>& body, mode_t files = 0444) {
  const bool root = geteuid() == 0;
  fs::create_directories(folder);
  SetModes(folder, 0555, files);
  EXPECT_TRUE(!root || (setegid(kNobody) == 0 && seteuid(kNobody) == 0));
  body();
  EXPECT_TRUE(!root || (seteuid(0) == 0 && setegid(0) == 0));
  SetModes(folder, 0755, 0644);
}

pid_t Fork(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child != 0) return child;
  body();
  std::fflush(nullptr);
  _exit(::testing::Test::HasFailure() ? 1 : 0);
}

int Wait(pid_t child) {
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

unsigned Mode(const fs::path& file) { return static_cast<unsigned>(fs::status(file).permissions()); }

// Makes one of SQLite's system calls fail.
class SystemFault {
 public:
  // The `nth` one, from 1.
  SystemFault(int nth, int error) {
    left_ = nth;
    error_ = error;
    Put<0, int, const char*, int, int>("open");
    Put<1, int, const char*, void*>("stat");
    Put<2, int, int, void*>("fstat");
    Put<3, int, int, int, void*>("fcntl");
    Put<4, ssize_t, int, void*, size_t>("read");
    Put<5, ssize_t, int, void*, size_t, off_t>("pread");
    Put<6, ssize_t, int, void*, size_t, off_t>("pread64");
    Put<7, ssize_t, int, const void*, size_t>("write");
    Put<8, ssize_t, int, const void*, size_t, off_t>("pwrite");
    Put<9, ssize_t, int, const void*, size_t, off_t>("pwrite64");
    Put<10, int, int, off_t>("ftruncate");
    Put<11, int, const char*>("unlink");
  }
  SystemFault(const SystemFault&) = delete;
  SystemFault& operator=(const SystemFault&) = delete;
  ~SystemFault() {
    sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
    vfs->xSetSystemCall(vfs, nullptr, nullptr);
  }
  static bool Came() { return left_ <= 0; }

 private:
  template <int kPlace, typename Result, typename... Arguments>
  void Put(const char* name) {
    sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
    static const auto real = reinterpret_cast<Result (*)(Arguments...)>(vfs->xGetSystemCall(vfs, name));
    Result (*hook)(Arguments...) = [](Arguments... arguments) -> Result {
      if (--left_ != 0) return real(arguments...);
      errno = error_;
      return -1;
    };
    if (real != nullptr) vfs->xSetSystemCall(vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(hook));
  }

  static inline int left_ = 0, error_ = 0;
};

class SqliteRegistryTest : public ::testing::Test {
 protected:
  // Accessible to all users, because some tests switch to an ordinary one.
  SqliteRegistryTest() { fs::permissions(folder, fs::perms::all); }

  TempFolder temporary;
  const fs::path folder = temporary.NativePath();
  const fs::path user_file = temporary.NativePath(kUserFile), machine_file = temporary.NativePath(kMachineFile);
};

TEST_F(SqliteRegistryTest, TheFirstWriteCreatesFilesWithTheRightsOfTheirKind) {
  const RegKey roots[] = {kCurrentUser, kLocalMachine, kClassesRoot};
  for (const mode_t mask : {0077u, 0u}) {
    for (const char* name : {"user", "machine"}) fs::remove_all(folder / name);
    const mode_t old = umask(mask);
    SqliteRegistry registry(user_file, machine_file);
    for (const RegKey root : roots) EXPECT_EQ(Get(registry, root, root == kCurrentUser ? "" : "K", "v"), "-");
    EXPECT_TRUE(fs::is_empty(folder)) << "reading creates nothing";
    const int code = registry.Together([&] {
      for (const RegKey root : roots) EXPECT_EQ(Set(registry, root, "K", "v", std::to_string(root)), kSuccess);
      EXPECT_EQ(Mode(user_file.native() + "-journal"), 0600u);
      return kSuccess;
    });
    EXPECT_EQ(code, kSuccess);
    umask(old);
    EXPECT_EQ(Mode(user_file), 0600u);
    for (fs::path above = user_file.parent_path(); above != folder; above = above.parent_path()) {
      EXPECT_EQ(Mode(above), 0700u);
    }
    EXPECT_EQ(Mode(machine_file), 0644u);
    EXPECT_EQ(Mode(machine_file.parent_path()), 0755u);
    EXPECT_EQ(std::distance(fs::directory_iterator(machine_file.parent_path()), {}), 1) << "no other files left";
  }

  SqliteRegistry registry(user_file, machine_file);
  for (const RegKey root : roots) EXPECT_EQ(Get(registry, root, "K", "v"), std::to_string(root));
  for (const char* name : {"user", "machine"}) fs::remove_all(folder / name);
  EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), "-") << "the file was replaced or removed";
  EXPECT_EQ(Set(registry, kLocalMachine, "L", "v", "anew"), kSuccess);
  EXPECT_EQ(List(registry, kLocalMachine, ""), "[L]");
}

TEST_F(SqliteRegistryTest, ReplacingTheMachinesFileKeepsLinkAndRights) {
  SqliteRegistry registry(user_file, machine_file);
  ASSERT_EQ(Set(registry, kLocalMachine, "K", "v", "1"), kSuccess);
  const fs::path real = folder / "real.sqlite";
  fs::rename(machine_file, real);
  fs::create_symlink(real, machine_file);
  chmod(real.c_str(), 0664);
  temporary.Write("real.sqlite-new", "left by a killed writer");
  ASSERT_EQ(Set(registry, kLocalMachine, "K", "v", "2"), kSuccess);
  EXPECT_TRUE(fs::is_symlink(machine_file));
  EXPECT_EQ(Mode(real), 0664u);
  EXPECT_FALSE(temporary.Has("real.sqlite-new"));
  EXPECT_EQ(Get(registry, kLocalMachine, "K", "v"), "2");
}

TEST_F(SqliteRegistryTest, ProcessesThatWriteAtOnceLoseNothing) {
  using std::chrono::steady_clock;
  constexpr int kValues = 200;
  constexpr auto kLimit = std::chrono::seconds(5);
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    std::vector<pid_t> writers;
    for (const char* path : {"K\\a", "K\\b"}) {
      writers.push_back(Fork([&] {
        SqliteRegistry registry(user_file, machine_file);
        for (int i = 0; i < kValues;) {
          const auto start = steady_clock::now();
          const int code = Set(registry, root, path, std::to_string(i), path);
          // On a busy machine the other writer may keep this one waiting until the limit, but not for less.
          if (code == kSharingViolation && steady_clock::now() - start >= kLimit) continue;
          ASSERT_EQ(code, kSuccess) << i;
          ++i;
        }
      }));
    }
    for (const pid_t writer : writers) EXPECT_EQ(Wait(writer), 0);
    SqliteRegistry registry(user_file, machine_file);
    for (const char* path : {"K\\a", "K\\b"}) {
      for (int i = 0; i < kValues; ++i) ASSERT_EQ(Get(registry, root, path, std::to_string(i)), path) << root << i;
    }
  }
}

TEST_F(SqliteRegistryTest, AKilledWriterLosesNothingItWasToldIsWrittenAndLocksNobodyOut) {
  const std::string large(30000, 'x');  // several pages
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    for (int round = 0; round < 15; ++round) {
      const std::string path = "K" + std::to_string(round);
      int pipe_ends[2];
      ASSERT_EQ(pipe(pipe_ends), 0);
      const pid_t writer = Fork([&] {
        SqliteRegistry registry(user_file, machine_file);
        for (char i = 0; i < 100; ++i) {
          if (Set(registry, root, path, std::to_string(i), large + i) != kSuccess) break;
          if (write(pipe_ends[1], &i, 1) != 1) break;
        }
      });
      close(pipe_ends[1]);
      char last = -1;
      for (int i = 0; i <= round % 5; ++i) EXPECT_EQ(read(pipe_ends[0], &last, 1), 1);
      pollfd next{pipe_ends[0], POLLIN, 0};
      poll(&next, 1, round / 2);  // another place in the next write each time
      kill(writer, SIGKILL);
      Wait(writer);
      while (read(pipe_ends[0], &last, 1) == 1) continue;
      close(pipe_ends[0]);

      const auto look = [&] {
        SqliteRegistry registry(root == kLocalMachine ? folder / "reader.sqlite" : user_file, machine_file);
        for (char i = 0; i <= last; ++i) ASSERT_EQ(Get(registry, root, path, std::to_string(i)), large + i) << root;
      };
      root == kLocalMachine ? WithoutRight(machine_file.parent_path(), look) : look();
    }
  }
}

TEST_F(SqliteRegistryTest, AForeignFileReturnsACodeAndStaysUnchanged) {
  SqliteRegistry maker(folder / "whole.sqlite", machine_file);
  for (const char* name : {"a", "b", "c"}) {
    ASSERT_EQ(Set(maker, kCurrentUser, name, "v", std::string(9000, 'x')), kSuccess);
  }
  sqlite3* foreign = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "foreign.sqlite").c_str(), &foreign), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(foreign, "CREATE TABLE mine(x)", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(foreign);
  const std::string whole = temporary.Read("whole.sqlite"), other = temporary.Read("foreign.sqlite");
  const auto with = [](std::string file, std::size_t at, char byte) { return file.replace(at, 1, 1, byte); };
  constexpr std::size_t kUserVersion = 63, kFirstPageKind = 100, kPage = 4096;
  // With write-ahead logging, reading a file needs another file in its folder.
  const std::string logged = with(with(with(other, 18, 2), 19, 2), kUserVersion, 2);
  int row = 0;
  for (const std::string& content :
       {other, with(other, kUserVersion, 1), with(other, kUserVersion, 2), with(whole, kUserVersion, 1),
        with(whole, kUserVersion, 3), with(whole, kFirstPageKind, 99), with(whole, kPage, 99),
        Replace(whole, "vals(", "vols("), Replace(whole, "deleted INT", "dileted INT"), logged,
        std::string("no database"), std::string(100000, '\0'), whole.substr(0, 5000), "?" + whole}) {
    SCOPED_TRACE(row++);
    for (const char* file : {kUserFile, kMachineFile}) temporary.Write(file, content);
    SqliteRegistry registry(user_file, machine_file);
    for (const RegKey root : {kCurrentUser, kLocalMachine}) {
      EXPECT_EQ(Get(registry, root, "a", "v"), "code 1009");
      EXPECT_EQ(Set(registry, root, "a", "v", "new"), kRegistryCorrupt);
    }
    for (const char* file : {kUserFile, kMachineFile}) EXPECT_TRUE(temporary.Read(file) == content);
  }
  SqliteRegistry beside(user_file, folder / "other.sqlite");
  EXPECT_EQ(Set(beside, kLocalMachine, "K", "v", "1"), kSuccess) << "each file for itself";
  EXPECT_EQ(Get(beside, kLocalMachine, "K", "v"), "1");
}

TEST_F(SqliteRegistryTest, InaccessibleFilesAreDenied) {
  fs::create_directories(folder / "a folder");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0666), 0);
  SqliteRegistry admin(folder / "admin.sqlite", machine_file);
  ASSERT_EQ(Set(admin, kLocalMachine, "K", "v", "machine's"), kSuccess);
  for (const char* name : {"a folder", "pipe"}) {
    SqliteRegistry overlaid(folder / name, machine_file);
    EXPECT_EQ(Get(overlaid, kLocalMachine, "K", "v"), "machine's") << "an overlay that can't be read hides nothing";
    SqliteRegistry registry(folder / name, folder / name);
    for (const RegKey root : {kCurrentUser, kLocalMachine}) {
      EXPECT_EQ(Get(registry, root, "K", "v"), "code 5") << name;
      EXPECT_EQ(Set(registry, root, "K", "v", "1"), kAccessDenied) << name;
    }
  }
  const fs::path own = folder / "own/user.sqlite";
  SqliteRegistry registry(own, machine_file);
  ASSERT_EQ(Set(registry, kCurrentUser, "K", "v", "1"), kSuccess);
  WithoutRight(own.parent_path(), [&] {
    EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), "1");
    SqliteRegistry late(own, machine_file);
    RegKey key = 0;
    bool created = false;
    for (const char* path : {"K", "L"}) EXPECT_EQ(late.Create(kCurrentUser, path, key, created), kAccessDenied);
    EXPECT_EQ(late.DeleteTree(kCurrentUser, "K"), kAccessDenied);
    EXPECT_EQ(Get(late, kCurrentUser, "K", "v"), "1");
    SqliteRegistry nowhere(own.parent_path() / "below/new.sqlite", machine_file);
    EXPECT_EQ(Set(nowhere, kCurrentUser, "K", "v", "1"), kAccessDenied);
  });
  EXPECT_EQ(Set(registry, kCurrentUser, "K", "v", "2"), kSuccess) << "after the right was restored";
  const auto unread = [&] {
    SqliteRegistry unreadable(own, own);
    EXPECT_EQ(Get(unreadable, kCurrentUser, "K", "v"), "code 5");
    EXPECT_EQ(Set(unreadable, kLocalMachine, "K", "v", "3"), kAccessDenied) << "the overlay can't be validated";
  };
  WithoutRight(own.parent_path(), unread, 0);
}

// A user without the right to write the machine's file, and an administrator, each with a registry object.
class RegistryOverlay : public SqliteRegistryTest {
 protected:
  void AsUser(const std::function<void()>& body) { WithoutRight(machine_file.parent_path(), body); }
  int Change(RegistryEditor& registry, const std::string& path, const std::string& data, std::uint32_t type = kRegSz) {
    if (data != "-") return Set(registry, kLocalMachine, path, "v", data, type);
    return registry.DeleteValue(Made(registry, kLocalMachine, path), "V");
  }

  fs::path own = folder / "own.sqlite";
  SqliteRegistry admin{folder / "admin.sqlite", machine_file};
  SqliteRegistry user{own, machine_file};
};

TEST_F(RegistryOverlay, IsValidWhileTheMachinesValueIsUnchanged) {
  // The administrator writes (a), writes another type (t), deletes the key (d), or reads (A); the user writes (u),
  // writes with the right to (r), or reads (U). "-" is no value.
  for (const std::string row : {
           "a1 u2 A1 U2 a1 U2 a3 U3 a1 U1",  // restoring the former value doesn't restore the user's
           "a1 u2 a- U-", "u2 A- U2 a3 U3", "a1 u- A1 U- a1 U- a3 U3", "a1 u2 t1 U1", "a1 u2 r1 U1 A1",
           "a1 u2 a1 U2",  // no change
           "a1 u2 a3 a1 U1", "a1 u- a3 a1 U1", "u2 a3 a- U-", "a1 u2 a- a1 U1",
           "a1 u2 d a1 U1",  // nobody read in between
       }) {
    SCOPED_TRACE(row);
    const std::string path = "K\\" + row;
    Made(admin, kLocalMachine, path);
    const auto see = [&](const std::string& data) {
      EXPECT_EQ(Get(user, kLocalMachine, path, "v"), data);
      EXPECT_EQ(List(user, kLocalMachine, path), data == "-" ? "" : "'v'");
      SqliteRegistry later(own, machine_file);
      EXPECT_EQ(Get(later, kLocalMachine, path, "v"), data);
    };
    for (const std::string& step : Split(row, " ")) {
      const std::string data = step.substr(1);
      int code = kSuccess;
      if (step[0] == 'a') code = Change(admin, path, data);
      if (step[0] == 'd') code = admin.DeleteTree(kLocalMachine, path);
      if (step[0] == 't') code = Change(admin, path, data, kRegExpandSz);
      if (step[0] == 'r') code = Change(user, path, data);
      if (step[0] == 'u') AsUser([&] { code = Change(user, path, data); });
      EXPECT_EQ(code, kSuccess) << step;
      EXPECT_EQ(step[0] == 'A' ? Get(admin, kLocalMachine, path, "v") : data, data) << step;
      if (step[0] == 'U') AsUser([&] { see(data); });
    }
    AsUser([&] {
      SqliteRegistry later(own, machine_file);
      for (const char* data : {"9", "-"}) {
        EXPECT_EQ(Change(later, path, data), kSuccess) << "a new write is valid again";
        see(data);
      }
      EXPECT_EQ(Change(later, path, "-"), kFileNotFound);
    });
  }
}

TEST_F(RegistryOverlay, ASystemErrorIsReportedAndLosesNothing) {
  const std::string large(30000, 'x');  // several pages
  ASSERT_EQ(Change(admin, "K", "machine's"), kSuccess);
  AsUser([&] {
    ASSERT_EQ(Change(user, "K", "mine"), kSuccess);
    ASSERT_EQ(Set(user, kCurrentUser, "K", "v", "0"), kSuccess);
    ASSERT_EQ(Set(user, kCurrentUser, "K", "large", large), kSuccess);
  });
  // Most of these pages are read only when the whole file is rewritten.
  for (const char* path : {"A", "B", "C", "K"}) ASSERT_EQ(Set(admin, kLocalMachine, path, "large", large), kSuccess);
  for (const int error : {EIO, EACCES, EMFILE, ENOMEM, ENOLCK, EINTR}) {
    bool came = true;
    for (int nth = 1; came; ++nth) {
      SCOPED_TRACE(std::to_string(nth) + " with " + std::to_string(error));
      SqliteRegistry reader(own, machine_file);
      const auto see = [&](const std::string& alternative) {
        const std::string user_data = Get(reader, kCurrentUser, "K", "v"), data = Get(reader, kLocalMachine, "K", "v");
        EXPECT_TRUE(user_data == "0" || user_data.starts_with(alternative)) << user_data;
        EXPECT_TRUE(data == "mine" || data.starts_with(alternative)) << data;
      };
      {
        const SystemFault fault(nth, error);
        see("code ");
        came = SystemFault::Came();
      }
      see("0 or mine");
    }
  }
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    std::string last = root == kCurrentUser ? "0" : "machine's";
    for (const int error : {EIO, ENOSPC}) {
      bool came = true;
      for (int nth = 1; came; ++nth) {
        const std::string next = std::to_string(error) + " " + std::to_string(nth);
        SCOPED_TRACE(next);
        int code = kSuccess;
        {
          SqliteRegistry writer(own, machine_file);
          const SystemFault fault(nth, error);
          code = Set(writer, root, "K", "v", next);
          Set(writer, root, "new with " + next, "v", next);
          came = SystemFault::Came();
        }
        SqliteRegistry reader(own, machine_file);
        const std::string now = Get(root == kCurrentUser ? reader : admin, root, "K", "v");
        EXPECT_TRUE(now == next || (code != kSuccess && now == last)) << now << code;
        EXPECT_TRUE(root != kCurrentUser || (now == next) == (code == kSuccess)) << now << code;
        EXPECT_TRUE(Get(reader, root, "K", "large") == large);
        for (const char* path : {"A", "B", "C"}) EXPECT_TRUE(Get(reader, kLocalMachine, path, "large") == large);
        last = now;
      }
    }
  }
}

TEST_F(RegistryOverlay, FilesOfTheFormerVersionAreUpgradedAtTheFirstWrite) {
  constexpr char kFormer[] =
      "CREATE TABLE keys(parent TEXT, folded TEXT, name TEXT NOT NULL, deleted INTEGER NOT NULL,"
      " PRIMARY KEY(parent, folded)) WITHOUT ROWID;"
      "CREATE TABLE vals(key TEXT, folded TEXT, name TEXT NOT NULL, type INTEGER, data BLOB, base_type INTEGER,"
      " base_data BLOB, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
      "PRAGMA user_version = 1;"
      "INSERT INTO keys VALUES('hklm', 'k', 'K', 0);"
      "INSERT INTO vals VALUES('hklm\\k', 'v', 'v', 1, x'31', NULL, NULL), ('~hklm\\k', 'v', 'v', 1, x'32', 1, x'31')";
  fs::create_directories(machine_file.parent_path());
  for (const fs::path& file : {own, machine_file}) {
    sqlite3* former = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &former), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(former, kFormer, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(former);
  }
  chmod(own.c_str(), 0666);
  SqliteRegistry watcher(own, machine_file);
  const auto see = [&](const std::string& data) { EXPECT_EQ(Get(watcher, kLocalMachine, "K", "v"), data); };
  see("2");
  ASSERT_EQ(Set(admin, kLocalMachine, "K", "w", "1"), kSuccess);
  see("2");
  AsUser([&] { ASSERT_EQ(Change(user, "K", "3"), kSuccess); });
  see("3");
  for (const char* data : {"4", "1"}) ASSERT_EQ(Change(admin, "K", data), kSuccess);
  see("1");
}

TEST_F(RegistryOverlay, WritesToTheMachinesFileReplaceTheOverlay) {
  ASSERT_EQ(Change(admin, "K\\T", "1"), kSuccess);
  AsUser([&] {
    ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess);
    ASSERT_EQ(Change(user, "L\\Only", "2"), kSuccess);
  });
  for (const char* path : {"K\\T", "L\\Only"}) {
    ASSERT_EQ(Change(user, path, "3"), kSuccess);
    for (auto* registry : {&user, &admin}) EXPECT_EQ(Get(*registry, kLocalMachine, path, "v"), "3") << path;
  }
  ASSERT_EQ(user.DeleteTree(kLocalMachine, "L"), kSuccess);
  EXPECT_EQ(List(user, kLocalMachine, ""), "[K]");
}

TEST_F(RegistryOverlay, ARunningProcessReadsARestoredCopy) {
  ASSERT_EQ(Change(admin, "K", "1"), kSuccess);
  const std::string copy = temporary.Read(kMachineFile);
  ASSERT_EQ(Change(admin, "K", "2"), kSuccess);
  EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "2");
  temporary.Write(kMachineFile, copy);
  EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "1");
}

TEST_F(RegistryOverlay, MergesNamesAndKeys) {
  AsUser([&] { ASSERT_EQ(Change(user, "J", "2"), kSuccess) << "the machine's file doesn't exist yet"; });
  for (const char* name : {"Beta", "delta"}) ASSERT_EQ(Set(admin, kLocalMachine, "K\\M", name, "1"), kSuccess);
  AsUser([&] {
    for (const char* name : {"alpha", "BETA", "gamma"})
      EXPECT_EQ(Set(user, kLocalMachine, "k\\m", name, "2"), kSuccess);
    ASSERT_EQ(user.DeleteValue(Made(user, kLocalMachine, "K\\M"), "Delta"), kSuccess);
    Made(user, kLocalMachine, "K\\L");
    EXPECT_EQ(List(user, kLocalMachine, "K"), "[L][M]");
    EXPECT_EQ(List(user, kLocalMachine, ""), "[J][K]");
    EXPECT_EQ(List(user, kLocalMachine, "K\\M"), "'alpha''Beta''gamma'");
    EXPECT_EQ(user.DeleteTree(kLocalMachine, "k\\l"), kSuccess);
    EXPECT_EQ(List(user, kLocalMachine, "K"), "[M]");
  });
  EXPECT_EQ(List(admin, kLocalMachine, "K\\M"), "'Beta''delta'");
}

TEST_F(RegistryOverlay, ADeletedTreeStaysHiddenUntilTheMachineChangesIt) {
  for (const char* path : {"K\\T", "K\\T\\A", "K\\T\\B"}) ASSERT_EQ(Change(admin, path, "1"), kSuccess);
  AsUser([&] {
    ASSERT_EQ(Change(user, "K\\T\\B", "2"), kSuccess);
    ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess);
    EXPECT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kFileNotFound);
    EXPECT_EQ(List(user, kLocalMachine, "K"), "");
    EXPECT_EQ(Get(user, kLocalMachine, "K\\T\\B", "v"), "-");
    Made(user, kLocalMachine, "K\\T\\B");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T"), "[B]");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T\\B"), "") << "the key reappears without its values";
    ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess);
  });
  EXPECT_EQ(List(admin, kLocalMachine, "K\\T"), "[A][B]'v'");
  ASSERT_EQ(Set(admin, kLocalMachine, "K\\T\\A", "new", "3"), kSuccess);
  AsUser([&] {
    EXPECT_EQ(List(user, kLocalMachine, "K\\T"), "[A]");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T\\A"), "'new'");
  });
}

}  // namespace
}  // namespace tsly
