// What only the registry that stands on files has to keep: files, other processes, kills, and the user's overlay.
#include "posix/sqlite_registry.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>

#include "contract/registry_helpers.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

// For as long as it lives the process has no right to write in a folder, nor any right of root.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(fs::path folder, mode_t files = 0444) : folder_(std::move(folder)) {
    SetModes(0555, files);
    EXPECT_TRUE(!root_ || (setegid(kNobody) == 0 && seteuid(kNobody) == 0));
  }
  ~OrdinaryUser() {
    EXPECT_TRUE(!root_ || (seteuid(0) == 0 && setegid(0) == 0));
    SetModes(0755, 0644);
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  void SetModes(mode_t folder, mode_t file) {
    fs::create_directories(folder_);
    chmod(folder_.c_str(), folder);
    for (const auto& entry : fs::directory_iterator(folder_)) chmod(entry.path().c_str(), file);
  }

  fs::path folder_;
  bool root_ = geteuid() == 0;
};

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

std::string Content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

unsigned Mode(const fs::path& file) { return static_cast<unsigned>(fs::status(file).permissions()); }

class SqliteRegistryTest : public ::testing::Test {
 protected:
  fs::path UserFile() const { return folder / "user/registry/user.sqlite"; }
  fs::path MachineFile() const { return folder / "machine/machine.sqlite"; }

  TempFolder temporary;
  // Open to every user, since some tests change to an ordinary one.
  const fs::path folder = Opened(temporary.NativePath());

 private:
  static fs::path Opened(const fs::path& made) {
    fs::permissions(made, fs::perms::all);
    return made;
  }
};

TEST_F(SqliteRegistryTest, KeepsValuesInFilesMadeAtTheFirstWriteWithTheRightsOfTheirKind) {
  const mode_t old = umask(0077);
  {
    SqliteRegistry registry(UserFile(), MachineFile());
    EXPECT_EQ(Get(registry, kCurrentUser, "", "v"), "-");
    EXPECT_EQ(Get(registry, kLocalMachine, "K", "v"), "-");
    EXPECT_TRUE(fs::is_empty(folder)) << "reading makes nothing";
    EXPECT_EQ(Set(registry, kCurrentUser, "K", "v", "user"), kSuccess);
    EXPECT_EQ(Set(registry, kLocalMachine, "K", "v", "machine"), kSuccess);
    EXPECT_EQ(Set(registry, kClassesRoot, "K", "v", "classes"), kSuccess);
  }
  umask(old);
  EXPECT_EQ(Mode(UserFile()), 0600u);
  EXPECT_EQ(Mode(MachineFile()), 0644u);
  EXPECT_EQ(Mode(MachineFile().parent_path()), 0755u);
  EXPECT_EQ(std::distance(fs::directory_iterator(MachineFile().parent_path()), {}), 1) << "nothing left beside it";

  SqliteRegistry registry(UserFile(), MachineFile());
  EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), "user");
  EXPECT_EQ(Get(registry, kLocalMachine, "K", "v"), "machine");
  EXPECT_EQ(Get(registry, kClassesRoot, "K", "v"), "classes");
  fs::remove_all(folder / "user");
  fs::remove_all(folder / "machine");
  EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), "-") << "another file, or none, has taken the path";
  EXPECT_EQ(Set(registry, kLocalMachine, "L", "v", "anew"), kSuccess);
  EXPECT_EQ(Get(registry, kLocalMachine, "K", "v"), "-");
  EXPECT_EQ(Get(registry, kLocalMachine, "L", "v"), "anew");
}

TEST_F(SqliteRegistryTest, ReplacingTheMachinesFileKeepsALinkToItAndItsRights) {
  SqliteRegistry registry(UserFile(), MachineFile());
  ASSERT_EQ(Set(registry, kLocalMachine, "K", "v", "1"), kSuccess);
  const fs::path real = folder / "real.sqlite";
  fs::rename(MachineFile(), real);
  fs::create_symlink(real, MachineFile());
  chmod(real.c_str(), 0664);
  std::ofstream(real.native() + "-new") << "left by a killed writer";
  ASSERT_EQ(Set(registry, kLocalMachine, "K", "v", "2"), kSuccess);
  EXPECT_TRUE(fs::is_symlink(MachineFile()));
  EXPECT_EQ(Mode(real), 0664u);
  EXPECT_FALSE(fs::exists(real.native() + "-new"));
  EXPECT_EQ(Get(registry, kLocalMachine, "K", "v"), "2");
}

TEST_F(SqliteRegistryTest, ProcessesThatWriteAtOnceLoseNothing) {
  constexpr int kValues = 200;
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    std::vector<pid_t> writers;
    for (const char* writer : {"a", "b"}) {
      writers.push_back(Fork([&] {
        SqliteRegistry registry(UserFile(), MachineFile());
        for (int i = 0; i < kValues; ++i) {
          ASSERT_EQ(Set(registry, root, std::string("K\\") + writer, std::to_string(i), writer), kSuccess) << i;
        }
      }));
    }
    for (const pid_t writer : writers) EXPECT_EQ(Wait(writer), 0);
    SqliteRegistry registry(UserFile(), MachineFile());
    for (const char* writer : {"a", "b"}) {
      for (int i = 0; i < kValues; ++i) {
        ASSERT_EQ(Get(registry, root, std::string("K\\") + writer, std::to_string(i)), writer) << root << " " << i;
      }
    }
  }
}

TEST_F(SqliteRegistryTest, AKilledWriterLosesNothingItWasToldIsWrittenAndLocksNobodyOut) {
  const std::string large(30000, 'x');  // several pages
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    for (int round = 0; round < 15; ++round) {
      int pipe_ends[2];
      ASSERT_EQ(pipe(pipe_ends), 0);
      const pid_t writer = Fork([&] {
        SqliteRegistry registry(UserFile(), MachineFile());
        for (char i = 0; i < 100; ++i) {
          if (Set(registry, root, "K" + std::to_string(round), std::to_string(i), large + i) != kSuccess) break;
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

      std::optional<OrdinaryUser> reader;
      if (root == kLocalMachine) reader.emplace(MachineFile().parent_path());
      SqliteRegistry registry(reader ? folder / "reader.sqlite" : UserFile(), MachineFile());
      for (char i = 0; i <= last; ++i) {
        ASSERT_EQ(Get(registry, root, "K" + std::to_string(round), std::to_string(i)), large + i) << root;
      }
    }
  }
}

TEST_F(SqliteRegistryTest, AFileThatIsNoRegistryGivesACodeAndStaysAsItIs) {
  SqliteRegistry maker(folder / "whole.sqlite", MachineFile());
  for (const char* name : {"a", "b", "c"}) {
    ASSERT_EQ(Set(maker, kCurrentUser, name, "v", std::string(9000, 'x')), kSuccess);
  }
  const std::string whole = Content(folder / "whole.sqlite");
  std::string later_format = whole;
  later_format[63] = 2;  // the last byte of the user version
  for (const std::string& content :
       {std::string("no database"), std::string(100000, '\0'), whole.substr(0, 5000), "?" + whole, later_format}) {
    fs::create_directories(UserFile().parent_path());
    fs::create_directories(MachineFile().parent_path());
    for (const auto& file : {UserFile(), MachineFile()}) std::ofstream(file, std::ios::binary) << content;
    SqliteRegistry registry(UserFile(), MachineFile());
    for (const RegKey root : {kCurrentUser, kLocalMachine}) {
      EXPECT_EQ(Get(registry, root, "a", "v"), "code 1009") << content.substr(0, 20);
      EXPECT_EQ(Set(registry, root, "a", "v", "new"), kRegistryCorrupt);
    }
    EXPECT_EQ(Content(UserFile()), content);
    EXPECT_EQ(Content(MachineFile()), content);
    SqliteRegistry beside(UserFile(), folder / "other.sqlite");
    EXPECT_EQ(Set(beside, kLocalMachine, "K", "v", "1"), kSuccess) << "each file for itself";
    EXPECT_EQ(Get(beside, kLocalMachine, "K", "v"), "1");
    fs::remove(folder / "other.sqlite");
  }
}

TEST_F(SqliteRegistryTest, WhatCannotBeOpenedOrWrittenIsDenied) {
  fs::create_directories(folder / "a folder");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0666), 0);
  for (const char* name : {"a folder", "pipe"}) {
    SqliteRegistry registry(folder / name, folder / name);
    for (const RegKey root : {kCurrentUser, kLocalMachine}) {
      EXPECT_EQ(Get(registry, root, "K", "v"), "code 5") << name;
      EXPECT_EQ(Set(registry, root, "K", "v", "1"), kAccessDenied) << name;
    }
  }
  const fs::path own = folder / "own/user.sqlite";
  SqliteRegistry registry(own, MachineFile());
  ASSERT_EQ(Set(registry, kCurrentUser, "K", "v", "1"), kSuccess);
  {
    const OrdinaryUser user(own.parent_path());
    EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), "1");
    SqliteRegistry late(own, MachineFile());
    RegKey key = 0;
    bool created = false;
    EXPECT_EQ(late.Create(kCurrentUser, "K", key, created), kAccessDenied);
    EXPECT_EQ(late.Create(kCurrentUser, "L", key, created), kAccessDenied);
    EXPECT_EQ(late.DeleteTree(kCurrentUser, "K"), kAccessDenied);
    EXPECT_EQ(Get(late, kCurrentUser, "K", "v"), "1");
    SqliteRegistry nowhere(own.parent_path() / "below/new.sqlite", MachineFile());
    EXPECT_EQ(Set(nowhere, kCurrentUser, "K", "v", "1"), kAccessDenied);
  }
  EXPECT_EQ(Set(registry, kCurrentUser, "K", "v", "2"), kSuccess) << "the right has come back";
  {
    const OrdinaryUser user(own.parent_path(), 0);
    SqliteRegistry unreadable(own, own);
    EXPECT_EQ(Get(unreadable, kCurrentUser, "K", "v"), "code 5");
    EXPECT_EQ(Set(unreadable, kLocalMachine, "K", "v", "3"), kAccessDenied) << "nothing to judge an overlay by";
  }
}

// One user, who may not write the machine's file, and its administrator, each with a registry of his own.
class RegistryOverlay : public SqliteRegistryTest {
 protected:
  void AsUser(const std::function<void()>& body) {
    const OrdinaryUser without_the_right(MachineFile().parent_path());
    body();
  }
  int Change(RegistryEditor& registry, const std::string& path, const std::string& data) {
    if (data != "-") return Set(registry, kLocalMachine, path, "v", data);
    return registry.DeleteValue(Made(registry, kLocalMachine, path), "V");
  }

  fs::path own = folder / "own.sqlite";
  SqliteRegistry admin{folder / "admin.sqlite", MachineFile()};
  SqliteRegistry user{own, MachineFile()};
};

TEST_F(RegistryOverlay, CountsWhileTheMachinesValueIsTheOneItWasWrittenOver) {
  struct Case {
    const char *machine, *by_user, *by_admin, *seen;  // "-": none; "": no change
  };
  const Case cases[] = {
      {"1", "2", "",  "2"},
      {"1", "2", "3", "3"},
      {"1", "2", "1", "2"},
      {"1", "2", "-", "-"},
      {"-", "2", "",  "2"},
      {"-", "2", "3", "3"},
      {"1", "-", "",  "-"},
      {"1", "-", "3", "3"},
      {"1", "-", "1", "-"}
  };
  int number = 0;
  for (const Case& c : cases) {
    const std::string path = "K\\" + std::to_string(number++);
    SCOPED_TRACE(std::string(c.machine) + " " + c.by_user + " " + c.by_admin);
    Made(admin, kLocalMachine, path);
    EXPECT_TRUE(*c.machine == '-' || Change(admin, path, c.machine) == kSuccess);
    AsUser([&] { ASSERT_EQ(Change(user, path, c.by_user), kSuccess); });
    EXPECT_EQ(Get(admin, kLocalMachine, path, "v"), c.machine) << "nobody else sees it";
    EXPECT_TRUE(*c.by_admin == '\0' || Change(admin, path, c.by_admin) == kSuccess);
    AsUser([&] {
      EXPECT_EQ(Get(user, kLocalMachine, path, "v"), c.seen);
      EXPECT_EQ(List(user, kLocalMachine, path), *c.seen == '-' ? "" : "'v'");
      SqliteRegistry later(own, MachineFile());
      EXPECT_EQ(Get(later, kLocalMachine, path, "v"), c.seen);
      ASSERT_EQ(Change(later, path, "9"), kSuccess) << "a further write counts again";
      EXPECT_EQ(Get(user, kLocalMachine, path, "v"), "9");
      ASSERT_EQ(Change(later, path, "-"), kSuccess);
      EXPECT_EQ(Get(user, kLocalMachine, path, "v"), "-");
      EXPECT_EQ(later.DeleteValue(Made(later, kLocalMachine, path), "v"), kFileNotFound);
    });
  }
  const std::string path = "K\\type";
  ASSERT_EQ(Change(admin, path, "1"), kSuccess);
  AsUser([&] { ASSERT_EQ(Change(user, path, "2"), kSuccess); });
  ASSERT_EQ(Set(admin, kLocalMachine, path, "v", "1", kRegExpandSz), kSuccess);
  AsUser([&] { EXPECT_EQ(Get(user, kLocalMachine, path, "v"), "1") << "another type is another value"; });
}

TEST_F(RegistryOverlay, AnAdministratorsWayBackDoesNotBringTheUsersValueBack) {
  ASSERT_EQ(Change(admin, "K", "1"), kSuccess);
  AsUser([&] { ASSERT_EQ(Change(user, "K", "2"), kSuccess); });
  ASSERT_EQ(Change(admin, "K", "3"), kSuccess);
  AsUser([&] { EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "3"); });
  ASSERT_EQ(Change(admin, "K", "1"), kSuccess);
  AsUser([&] { EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "1"); });
}

TEST_F(RegistryOverlay, AKeyThatWasDeletedThereIsMadeAnewOnceTheRightHasCome) {
  ASSERT_EQ(Change(admin, "K\\T", "1"), kSuccess);
  AsUser([&] { ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess); });
  ASSERT_EQ(Change(user, "K\\T", "2"), kSuccess);
  EXPECT_EQ(Get(user, kLocalMachine, "K\\T", "v"), "2");
  EXPECT_EQ(Get(admin, kLocalMachine, "K\\T", "v"), "2");
}

TEST_F(RegistryOverlay, ARestoredCopyIsSeenByARunningProcess) {
  ASSERT_EQ(Change(admin, "K", "1"), kSuccess);
  const fs::path copy = folder / "copy";
  fs::copy_file(MachineFile(), copy);
  ASSERT_EQ(Change(admin, "K", "2"), kSuccess);
  EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "2");
  std::ofstream(MachineFile(), std::ios::binary) << std::ifstream(copy, std::ios::binary).rdbuf();
  EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "1");
}

TEST_F(SqliteRegistryTest, ADatabaseOfAnotherProgramIsLeftAlone) {
  const fs::path foreign = folder / "foreign.sqlite";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(foreign.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "CREATE TABLE mine(x)", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  SqliteRegistry registry(foreign, MachineFile());
  EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), Outcome(kRegistryCorrupt));
  EXPECT_EQ(Set(registry, kCurrentUser, "K", "v", "1"), kRegistryCorrupt);
}

TEST_F(RegistryOverlay, MergesNamesAndKeys) {
  AsUser([&] { ASSERT_EQ(Change(user, "J", "2"), kSuccess) << "the machine has no file yet"; });
  for (const char* name : {"Beta", "delta"}) ASSERT_EQ(Set(admin, kLocalMachine, "K\\M", name, "1"), kSuccess);
  AsUser([&] {
    for (const char* name : {"alpha", "BETA", "gamma"}) {
      ASSERT_EQ(Set(user, kLocalMachine, "k\\m", name, "2"), kSuccess);
    }
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

TEST_F(RegistryOverlay, ADeletedTreeStaysAwayUntilTheMachineGetsSomethingNewThere) {
  for (const char* path : {"K\\T", "K\\T\\A", "K\\T\\B"}) ASSERT_EQ(Change(admin, path, "1"), kSuccess);
  AsUser([&] {
    ASSERT_EQ(Change(user, "K\\T\\B", "2"), kSuccess);
    ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess);
    EXPECT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kFileNotFound);
    EXPECT_EQ(List(user, kLocalMachine, "K"), "");
    EXPECT_EQ(Get(user, kLocalMachine, "K\\T\\B", "v"), "-");
    Made(user, kLocalMachine, "K\\T\\B");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T"), "[B]");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T\\B"), "") << "the key is back, its values are not";
    ASSERT_EQ(user.DeleteTree(kLocalMachine, "K\\T"), kSuccess);
  });
  EXPECT_EQ(List(admin, kLocalMachine, "K\\T"), "[A][B]'v'");
  ASSERT_EQ(Set(admin, kLocalMachine, "K\\T\\A", "new", "3"), kSuccess);
  AsUser([&] {
    EXPECT_EQ(List(user, kLocalMachine, "K\\T"), "[A]");
    EXPECT_EQ(List(user, kLocalMachine, "K\\T\\A"), "'new'");
  });
}

TEST_F(RegistryOverlay, AWriteToTheMachineItselfTakesThePlaceOfTheOverlay) {
  ASSERT_EQ(Change(admin, "K", "1"), kSuccess);
  AsUser([&] {
    ASSERT_EQ(Change(user, "K", "2"), kSuccess);
    ASSERT_EQ(Change(user, "L\\Only", "2"), kSuccess);
  });
  ASSERT_EQ(Change(user, "K", "1"), kSuccess);  // with the right to, now
  EXPECT_EQ(Get(user, kLocalMachine, "K", "v"), "1");
  ASSERT_EQ(Change(user, "L\\Only", "3"), kSuccess);
  EXPECT_EQ(Get(admin, kLocalMachine, "L\\Only", "v"), "3");
  ASSERT_EQ(user.DeleteTree(kLocalMachine, "L"), kSuccess);
  EXPECT_EQ(List(user, kLocalMachine, ""), "[K]");
}

}  // namespace
}  // namespace tsly
