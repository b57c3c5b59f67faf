#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <utility>

#include "common/archive_validation.h"
#include "posix/posix_files.h"
#include "posix/posix_unzip.h"
#include "posix/unpack_target.h"
#include "support/ordinary_user.h"
#include "support/temp_folder.h"

namespace {

// True: names can't be exchanged, as on some file systems, and files can't be renamed within a folder.
bool renames_are_hard = false;

// The index of the disk call that fails; negative: none.
int failing_call = -1;
enum class Mode { kOnce, kFromThenOn, kKilled } mode = Mode::kOnce;
int failure = 0;
const char* failed_call = nullptr;
std::string calls;  // 'w'rite, 'n'ame, 's'ync: calls whose order matters

// Called before each call until it returns true; not for its own calls.
std::function<bool(std::string_view)> on_call;
bool time_is_virtual = false;

bool Fails(const char* call, char noted = 0) {
  if (on_call) {
    auto seeing = std::exchange(on_call, nullptr);
    if (!seeing(call)) on_call = std::move(seeing);
  }
  if (noted != 0) calls += noted;
  if (failing_call < 0 || failing_call-- > 0) return false;
  if (mode == Mode::kKilled) _exit(9);
  if (mode == Mode::kFromThenOn) failing_call = 0;
  failed_call = call;
  errno = failure;
  return true;
}

template <typename... Arguments>
int Call(long number, Arguments... arguments) {
  return static_cast<int>(syscall(number, arguments...));
}

}  // namespace

// Replace the system's functions.
extern "C" {

int renameat2(int from, const char* old_name, int to, const char* new_name, unsigned flags) noexcept {
  if (Fails("rename", 'n')) return -1;
  if (renames_are_hard && (flags != 0 || from == to)) return errno = EINVAL, -1;
  return Call(SYS_renameat2, from, old_name, to, new_name, flags);
}
int renameat(int from, const char* name, int to, const char* other) noexcept {
  return renameat2(from, name, to, other, 0);
}
int openat(int folder, const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t rights = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return Fails("openat") ? -1 : Call(SYS_openat, folder, name, flags, rights);
}
ssize_t write(int file, const void* bytes, std::size_t length) {
  return Fails("write", 'w') ? -1 : Call(SYS_write, file, bytes, length);
}
ssize_t pread(int file, void* bytes, std::size_t length, off_t at) {
  return Fails("pread") ? -1 : Call(SYS_pread64, file, bytes, length, at);
}
int mkdirat(int at, const char* name, mode_t rights) noexcept {
  return Fails("mkdirat", 'n') ? -1 : Call(SYS_mkdirat, at, name, rights);
}
int unlinkat(int at, const char* name, int flags) noexcept {
  return Fails("unlinkat") ? -1 : Call(SYS_unlinkat, at, name, flags);
}
int fstatat(int at, const char* name, struct stat* status, int flags) noexcept {
  return Fails("fstatat") ? -1 : Call(SYS_newfstatat, at, name, status, flags);
}
int fchmodat(int at, const char* name, mode_t rights, int) noexcept {
  return Fails("fchmodat") ? -1 : Call(SYS_fchmodat, at, name, rights);
}
int fstat(int file, struct stat* status) noexcept { return Fails("fstat") ? -1 : Call(SYS_fstat, file, status); }
int flock(int file, int operation) noexcept { return Fails("flock") ? -1 : Call(SYS_flock, file, operation); }
int nanosleep(const timespec* length, timespec* rest) {
  if (!time_is_virtual) return Call(SYS_nanosleep, length, rest);
  return Fails("nanosleep") ? -1 : 0;
}
int syncfs(int) noexcept { return Fails("syncfs", 's') ? -1 : 0; }  // recorded instead of flushing the disk

}  // extern "C"

namespace tsly {
namespace {

using enum UnzipResult;
using Tree = std::map<std::string, std::string>;

constexpr const char* kZoo = "/usr/bin/python3 '" TSLY_SOURCE_DIR "/tests/contract/archive_zoo.py' ";

// An entry of a ZIP.
struct Raw {
  std::string name, data;
  int mode = 0100644, flags = 0x800;
};

class ArchiveUnzipTest : public testing::Test {
 protected:
  void Pack(const auto&... entries) { Zip("pack.zip", {entries...}); }
  void Zip(const char* name, const std::vector<Raw>& entries) {
    std::string command = kZoo + ("--pack '" + home_.NativePath(name).string()) + "'";
    for (const auto& [entry, data, mode, flags] : entries) {
      command += " '" + entry + "' '" + data + "' " + std::to_string(mode) + " " + std::to_string(flags);
    }
    EXPECT_EQ(std::system(command.c_str()), 0);
  }
  UnzipResult Extract(const std::string& archive = "pack.zip", const std::string& folder = "target", bool keep = true,
                      bool replace = true, std::shared_ptr<OpenFile> file = nullptr) {
    auto unzip = PosixUnzipFactory().Create();
    EXPECT_EQ(unzip->FailureText(), "");
    if (!file) PosixFiles().OpenForReading(home_.CorePath(archive), file);
    EXPECT_FALSE(unzip->SetArchiveFile(home_.CorePath(archive), file));
    EXPECT_FALSE(!folder.empty() && unzip->SetExtractFolder(folder == "\\" ? folder : home_.CorePath(folder) + "\\"));
    EXPECT_FALSE(unzip->SetExtractOptionA(keep));
    EXPECT_FALSE(unzip->SetExtractOptionB(replace));
    std::string first = "1", second = "2";
    std::int32_t result = -1;
    EXPECT_FALSE(unzip->Extract(first, second, result));
    EXPECT_EQ(first + second, "12");
    EXPECT_EQ(unzip->FailureText().empty(), result == 0) << unzip->FailureText();
    unzip_ = std::move(unzip);
    return static_cast<UnzipResult>(result);
  }

  // Everything below a folder: the contents of each file, "/" for a folder, "->" for a link.
  Tree TreeOf(const std::string& below = "") const {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home_.NativePath(below))) {
      const std::string name = entry.path().lexically_relative(home_.NativePath()).string();
      tree[name.substr(below.empty() ? 0 : below.size() + 1)] =
          entry.is_symlink()     ? "->" + std::filesystem::read_symlink(entry).string()
          : entry.is_directory() ? "/"
                                 : home_.Read(name);
    }
    return tree;
  }
  unsigned RightsOf(const char* name) const {
    return static_cast<unsigned>(std::filesystem::status(home_.NativePath(name)).permissions());
  }

  TempFolder home_;
  std::unique_ptr<UnzipComponent> unzip_;
};

TEST_F(ArchiveUnzipTest, UnpacksArchivesOfTheZipTool) {
  home_.Write("in/readme.txt", std::string(300, 'r'));
  home_.Write("in/bin/tool", "#!/bin/sh\n");
  home_.Write("in/data/größe.txt", "7");
  const std::string command = "mkdir empty && chmod 4755 bin/tool && touch -d @1000000000 readme.txt";
  ASSERT_EQ(std::system(("cd '" + home_.NativePath("in").string() + "' && " + command +
                         " && LC_ALL=C.UTF-8 zip -q -r ../pack.zip .")
                            .c_str()),
            0);

  const mode_t mask = umask(077);
  EXPECT_EQ(Extract("pack.zip", "new/target"), kDone);
  umask(mask);
  EXPECT_EQ(TreeOf("new/target"), TreeOf("in"));
  EXPECT_EQ(TreeOf("new").size(), TreeOf("in").size() + 1) << "the staging folder is removed";
  for (const char* name : {"new", "new/target", "new/target/bin", "new/target/bin/tool"})
    EXPECT_EQ(RightsOf(name), 0755U);
  EXPECT_EQ(RightsOf("new/target/readme.txt"), 0644U);
  EXPECT_EQ(std::filesystem::last_write_time(home_.NativePath("new/target/readme.txt")),
            std::filesystem::last_write_time(home_.NativePath("in/readme.txt")));
}

TEST_F(ArchiveUnzipTest, Options) {
  Pack(Raw{"Sub/a.txt", "new a"}, Raw{"n\x84me", "new b", 0100644, 0});
  const auto tree_after = [this](bool keep_folders, bool replace) {
    std::filesystem::remove_all(home_.NativePath("target"));
    home_.Write("target/SUB/A.TXT", "old");
    EXPECT_EQ(Extract("pack.zip", "target", keep_folders, replace), kDone);
    return TreeOf("target");
  };
  Tree tree = tree_after(true, true);
  EXPECT_EQ(tree["SUB/A.TXT"] + tree["näme"], "new anew b");
  EXPECT_EQ(tree.size(), 3U);
  tree["SUB/A.TXT"] = "old";
  EXPECT_EQ(tree_after(true, false), tree);
  tree["a.txt"] = "new a";
  EXPECT_EQ(tree_after(false, true), tree);
}

TEST_F(ArchiveUnzipTest, OddArchivesAndFolders) {
  home_.Write("target/old", "old");
  EXPECT_EQ(Extract("missing.zip"), kCannotOpen);
  Pack(Raw{"./", "", 040755});
  EXPECT_EQ(Extract("pack.zip", "new"), kDone);
  EXPECT_EQ(Extract("pack.zip", "\\"), kCannotWrite) << "the root folder is refused";
  Pack();
  EXPECT_EQ(Extract("pack.zip", "empty/new"), kDone);
  EXPECT_TRUE(std::filesystem::is_empty(home_.NativePath("new")) &&
              std::filesystem::is_empty(home_.NativePath("empty/new")));
  EXPECT_EQ(Extract("pack.zip", "target/old/below"), kInTheWay);
}

TEST_F(ArchiveUnzipTest, ADiskErrorOrAKillAnywhereLeavesAllOrNothing) {
  Pack(Raw{"a/first", std::string(120'000, '1')}, Raw{"old", "2"});
  const auto begin = [this] {
    std::filesystem::remove_all(home_.NativePath("target"));
    home_.Write("target/old", "old");
    chmod(home_.NativePath("target/old").c_str(), 0750);
  };
  begin();
  const Tree before = TreeOf();
  EXPECT_EQ(Extract(), kDone);
  const Tree after = TreeOf();
  const auto without_staging = [](Tree tree) {
    std::erase_if(tree, [](const auto& entry) { return entry.first.find("/.tsly-unpack-") != std::string::npos; });
    return tree;
  };

  std::map<std::string, int> failed;
  const auto fault_at = [&](int n) {
    begin();
    SCOPED_TRACE(testing::Message() << "call " << n << ", error " << failure << ", mode " << static_cast<int>(mode));
    calls.clear();
    failed_call = nullptr;
    failing_call = n;
    const pid_t child = mode == Mode::kKilled ? fork() : -1;
    const UnzipResult result = child > 0 ? kDone : Extract();
    if (child == 0) _exit(0);
    failing_call = -1;
    int status = 0;
    EXPECT_TRUE(child < 0 || waitpid(child, &status, 0) == child);
    const std::string at = failed_call == nullptr ? "" : failed_call;
    ++failed[at];
    const Tree now = TreeOf();
    const bool holds_old = std::ranges::any_of(now, [](const auto& entry) { return entry.second == "old"; });
    const std::string old = now.contains("target/old") ? now.at("target/old") : "";
    const Tree done = mode == Mode::kOnce ? now : without_staging(now);
    EXPECT_TRUE(child > 0 || result != kDone || done == after) << at;
    const Tree but_staging = at == "flock" || at == "openat" ? now : without_staging(now);
    EXPECT_TRUE(child > 0 || result == kDone || mode == Mode::kFromThenOn || but_staging == before) << at;
    EXPECT_TRUE(at != "syncfs" || result != kDone) << "success requires a flush";
    EXPECT_TRUE(child > 0 || result == kDone || holds_old) << at << unzip_->FailureText();
    EXPECT_TRUE(old == "old" || old == "2" || (renames_are_hard && old.empty() && holds_old)) << old;
    if (at == "write" || at == "rename") {
      EXPECT_EQ(result == kDiskFull, failure == ENOSPC && result != kDone);
      const bool is_far = failure == EXDEV && result != kDone && at == "rename";
      EXPECT_EQ(unzip_->FailureText().find("on another disk") != std::string::npos, is_far);
    }

    EXPECT_EQ(Extract(), kDone);
    Tree again = TreeOf();
    const auto kept = std::erase_if(again, [](const auto& entry) {
      return entry.first.find("/.tsly-former-") != std::string::npos || entry.second == "old" ||
             (renames_are_hard && entry.first.find("/.tsly-unpack-") != std::string::npos);
    });
    EXPECT_EQ(again, after);
    EXPECT_TRUE(kept == 0 || mode == Mode::kFromThenOn || renames_are_hard) << kept;
    EXPECT_EQ(RightsOf("target/old"), old.empty() ? 0644U : 0750U);
    return failed_call != nullptr || status != 0;
  };
  const auto fault_at_each_call = [&] {
    for (int n = 0; fault_at(n); ++n) continue;
  };
  for (const int error : {EINTR, ENOSPC, EXDEV}) failure = error, fault_at_each_call();
  failure = EIO;
  for (const bool hard : {false, true}) {
    renames_are_hard = hard;
    for (const Mode each : {Mode::kFromThenOn, Mode::kKilled}) mode = each, fault_at_each_call();
  }
  renames_are_hard = false;
  for (const char* c : {"pread", "write", "mkdirat", "rename", "syncfs", "flock"}) EXPECT_GT(failed[c], 1) << c;

  calls.clear();
  EXPECT_EQ(Extract("pack.zip", "new"), kDone);
  calls.erase(std::ranges::unique(calls).begin(), calls.end());
  EXPECT_EQ(calls, "nwsns") << "flushes contents before the renames, and renames before success";
}

TEST_F(ArchiveUnzipTest, TwoProcessesTakeTurnsInOneTarget) {
  home_.Write("target/sub/x", "old");
  Pack(Raw{"sub/x", "1"}, Raw{"sub/y", "1"}, Raw{"sub/z", "1"});
  const Raw x{"x", "2"}, y{"y", "2"}, below{"sub/x", "2"};
  Zip("second.zip", {x, y, below});
  const Tree before = TreeOf();
  mode = Mode::kOnce;
  failure = EIO;
  time_is_virtual = true;
  UnzipResult second = kDone;
  // The second process starts when all files of the first one are in place; then the first one fails.
  const auto extract_with_second_in = [&](const std::string& folder) {
    on_call = [this, folder, &second, syncs = 0](std::string_view call) mutable {
      if (call != "syncfs" || ++syncs < 2) return false;
      second = Extract("second.zip", folder);
      EXPECT_EQ(unzip_->FailureText().find("another program is unpacking into it") != std::string::npos,
                second != kDone);
      failing_call = 0;
      return true;
    };
    return Extract();
  };
  EXPECT_EQ(extract_with_second_in("target"), kCannotWrite);
  EXPECT_EQ(second, kCannotWrite);
  EXPECT_EQ(TreeOf(), before);
  EXPECT_EQ(extract_with_second_in("target/sub"), kCannotWrite);
  EXPECT_EQ(second, kDone);
  std::string of_second;
  for (const auto& [name, contents] : TreeOf("target/sub")) of_second += name + contents + " ";
  EXPECT_EQ(of_second, "sub/ sub/x2 x2 y2 ");

  Descriptor locked(open(home_.NativePath("target").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  EXPECT_EQ(flock(locked.Get(), LOCK_EX), 0);
  on_call = [&](std::string_view call) { return call == "nanosleep" && (locked = Descriptor(), true); };
  EXPECT_EQ(Extract(), kDone);
  EXPECT_EQ(home_.Read("target/sub/x"), "1");
  time_is_virtual = false;
}

TEST_F(ArchiveUnzipTest, RemovesTheStagingFolderOfAKilledProcess) {
  Pack(Raw{"x", "1"});
  const auto leave = [this](const char* file, mode_t rights) {
    home_.Write(file, "of somebody else");
    chmod(home_.NativePath(file).parent_path().c_str(), rights);
  };
  leave("target/.tsly-unpack-live/0", 0700);
  leave("target/.tsly-unpack-dead/0", 0700);
  leave("target/.tsly-unpack-only-copy/0.former", 0700);
  leave("target/.tsly-unpack-not-ours/0", 0755);
  Descriptor locked(open(home_.NativePath("target/.tsly-unpack-live").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  EXPECT_EQ(flock(locked.Get(), LOCK_EX), 0);
  EXPECT_EQ(Extract(), kDone);
  EXPECT_FALSE(home_.Has("target/.tsly-unpack-dead"));
  EXPECT_TRUE(home_.Has("target/.tsly-unpack-live/0") && home_.Has("target/.tsly-unpack-not-ours/0") &&
              home_.Has("target/.tsly-unpack-only-copy/0.former"));
  locked = Descriptor();
  EXPECT_EQ(Extract(), kDone);
  EXPECT_FALSE(home_.Has("target/.tsly-unpack-live"));
}

TEST_F(ArchiveUnzipTest, UnpacksTheOpenFile) {
  for (const bool is_replaced : {true, false}) {
    Pack(Raw{"x", "verified"});
    std::shared_ptr<OpenFile> held;
    EXPECT_EQ(PosixFiles().OpenForReading(home_.CorePath("pack.zip"), held), 0);
    std::filesystem::remove(home_.NativePath("pack.zip"));
    if (is_replaced) Pack(Raw{"x", "swapped!"});
    EXPECT_EQ(Extract("pack.zip", "target", true, true, held), kDone);
    EXPECT_EQ(home_.Read("target/x"), "verified");
  }
}

TEST_F(ArchiveUnzipTest, ReplacesARunningProgram) {
  std::filesystem::create_directory(home_.NativePath("target"));
  std::filesystem::copy("/bin/sleep", home_.NativePath("target/tool"));
  const pid_t running = fork();
  if (running == 0) {
    execl(home_.NativePath("target/tool").c_str(), "tool", "60", nullptr);
    _exit(1);
  }
  Pack(Raw{"tool", "new"});
  const std::string path = home_.NativePath("target/tool");
  const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
  EXPECT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)) + chmod(path.c_str(), 0750), 0);
  EXPECT_EQ(Extract(), kDone) << unzip_->FailureText();
  EXPECT_EQ(home_.Read("target/tool"), "new");
  EXPECT_EQ(RightsOf("target/tool"), 0750U) << "rights are kept";
  struct stat replaced {};
  EXPECT_EQ(stat(path.c_str(), &replaced), 0);
  EXPECT_EQ(replaced.st_uid, owner);
  kill(running, SIGKILL);
  EXPECT_EQ(waitpid(running, nullptr, 0), running);
}

TEST_F(ArchiveUnzipTest, ReportsMissingRightsAndTheTextForThem) {
  Pack(Raw{"x", "1"});
  home_.Write("target/x", "mine");
  chmod(home_.NativePath().c_str(), 0755);
  chmod(home_.NativePath("target").c_str(), 0555);
  EXPECT_EQ(AsOrdinaryUser([this] { return static_cast<int>(Extract()); }), static_cast<int>(kCannotWrite));
  chmod(home_.NativePath("target").c_str(), 0755);
  EXPECT_EQ(home_.Read("target/x"), "mine");
  EXPECT_EQ(Extract("pack.zip", ""), kCannotWrite);
  EXPECT_EQ(unzip_->FailureText(), "The file or folder \"\" can't be written (No such file or directory).");
  EXPECT_TRUE(Describe({kDiskFull, "x", std::string(300, 'p') + "\nend"}).ends_with("p end).")) << "not truncated";
  EXPECT_EQ(Describe({kWrongChecksum, "a\nb", ""}), "The file \"a?b\" in the pack has a wrong checksum.");
}

// A refused archive of archive_zoo.py changes nothing.
TEST_F(ArchiveUnzipTest, RefusedArchivesChangeNothing) {
  home_.Write("desk/home/target/old", "old");
  home_.Write("desk/home/target/taken/z", "z");
  for (const char* name : {"home/target-too/x", "home/elsewhere/y", "outside/x"}) {
    home_.Write(std::string("desk/") + name, "mine");
  }
  std::filesystem::create_directory_symlink(home_.NativePath("desk/home/elsewhere"),
                                            home_.NativePath("desk/home/target/out"));
  std::filesystem::create_directory(home_.NativePath("zoo"));
  const std::string outside = home_.NativePath("desk/outside").string();
  ASSERT_EQ(std::system((kZoo + ("'" + home_.NativePath("zoo").string()) + "' '" + outside + "'").c_str()), 0);

  const Tree before = TreeOf("desk");
  renames_are_hard = true;
  int refused = 0;
  std::ifstream table(home_.NativePath("zoo/zoo.tsv"));
  for (std::string name, reason, said;
       std::getline(table, name, '\t') && std::getline(table, reason, '\t') && std::getline(table, said);) {
    SCOPED_TRACE(name);
    const bool is_refused = reason != "good" && reason != "harmless";
    const std::string folder = is_refused ? "desk/home/target" : "desk/home/new";
    std::filesystem::create_directories(home_.NativePath(folder));
    const auto result = static_cast<int>(Extract("zoo/" + name, folder));
    const std::string why = unzip_->FailureText();
    if (is_refused) {
      ++refused;
      EXPECT_TRUE(reason == "any" ? result != 0 : std::to_string(result) == reason) << result << why;
      EXPECT_NE(why.find(said), std::string::npos) << why;
    } else {
      const Tree made = TreeOf(folder);
      EXPECT_TRUE(reason != "good" || made == Tree({std::pair("file.txt", "contents")})) << why;
      EXPECT_TRUE(reason == "good" || said.empty() || (result == 0 && std::to_string(made.size()) == said)) << why;
      for (const auto& [file, contents] : made) {
        EXPECT_TRUE(contents != "/" && !contents.starts_with("->")) << file;
        EXPECT_EQ(RightsOf((folder + "/" + file).c_str()) & 06000U, 0U) << file;
      }
      std::filesystem::remove_all(home_.NativePath(folder));
    }
    EXPECT_EQ(TreeOf("desk"), before) << why;
  }
  renames_are_hard = false;
  EXPECT_EQ(refused, 122);
}

TEST(FolderChain, RemovesItsFoldersWhileAnotherProcessChangesThem) {
  const TempFolder folder;
  FolderChain chain(Descriptor(open(folder.NativePath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)));
  on_call = [&](std::string_view call) {
    return call == "mkdirat" && std::filesystem::create_directory(folder.NativePath("of-another"));
  };
  EXPECT_EQ(chain.Enter("of-another/"), 0);
  EXPECT_EQ(chain.Enter("a/b/c/"), 0);
  EXPECT_EQ(chain.Enter(""), 0);
  std::filesystem::remove_all(folder.NativePath("a"));
  chain.RemoveMade();
  EXPECT_TRUE(folder.Has("of-another"));
  EXPECT_EQ(std::filesystem::remove_all(folder.NativePath("of-another")), 1U);
  EXPECT_TRUE(std::filesystem::is_empty(folder.NativePath()));
}

using Kind = ArchiveEntry::Kind;
using Texts = std::vector<std::string>;

ValidationResult Validate(const std::vector<ArchiveEntry>& entries, bool keep_folders = true) {
  return ValidateArchive(entries, {.archive_bytes = 1000, .free_bytes = 1 << 30}, keep_folders);
}

ArchiveEntry File(const std::string& name, std::int64_t size = 0) { return {name, Kind::kFile, size, false}; }
ArchiveEntry Folder(const std::string& name, std::int64_t size = 0) { return {name, Kind::kFolder, size, false}; }

TEST(ArchiveValidation, GoodNames) {
  EXPECT_EQ(Validate({}).targets, Texts());
  EXPECT_EQ(Validate({File("a/b\\c"), Folder("a/"), File("a\\e\\"), Folder("./"), File("./x//y"), File("Ä.b")}).targets,
            (Texts{"a/b/c", "a/", "a/e/", "", "x/y", "Ä.b"}));
  const Texts odd = {"console.txt", "com0", "com10", "a b", ".hidden", "c..d", "lpt"};
  for (const std::string& name : odd) EXPECT_EQ(Validate({File(name)}).targets, Texts{name});
  EXPECT_EQ(Validate({Folder("a/"), File("a/x"), File("b/y")}, false).targets, (Texts{"", "x", "y"}));
}

void ExpectRefused(const ArchiveEntry& entry, UnzipResult reason, std::vector<bool> keep_folders = {true, false}) {
  for (const bool keep : keep_folders) {
    const ValidationResult result = Validate({File("good"), entry, File("also good")}, keep);
    EXPECT_EQ(result.reason, reason) << entry.name;
    EXPECT_EQ(result.name, entry.name);
    EXPECT_EQ(result.targets, Texts()) << entry.name;
  }
}

// Which names and kinds are refused, the zoo of archives shows; here is what no archive can say, or not in each way.
TEST(ArchiveValidation, RefusedEntriesAreNamed) {
  ExpectRefused(File("a/../../x"), kBadName);
  ExpectRefused(File(std::string("a\0b", 3)), kBadName);
  ExpectRefused(File(std::string(4097, 'x')), kBadName);
  ExpectRefused({"a", Kind::kLink, 0, false}, kNotAFile);
  ExpectRefused({"a", Kind::kFile, 1, true}, kEncrypted);
  ExpectRefused(File("a", -1), kWrongSize);
  ExpectRefused(Folder("a/", 5), kWrongSize);
  ExpectRefused(File("sub/GOOD"), kSameName, {false});
}

// Others that exclude each other are in the zoo too.
TEST(ArchiveValidation, AFolderHasOneSpelling) {
  EXPECT_EQ(Validate({File("\u00e9/x"), File("b"), File("\u00c9/y")}).reason, kSameName);
  EXPECT_EQ(Validate({Folder("a/"), File("b"), Folder("A/")}).reason, kSameName);
  EXPECT_EQ(Validate({File("a/b/c"), File("x"), File("a/b")}).reason, kInTheWay);
  EXPECT_EQ(Validate({Folder("a/"), File("a/x"), File("b/x"), File("a/y"), Folder("a/")}).reason, kDone);
}

TEST(ArchiveValidation, CountsAndSizes) {
  constexpr std::int64_t kMega = 1 << 20;
  const std::vector<ArchiveEntry> two = {File("a", 60 * kMega), File("b", 40 * kMega)};
  const std::pair<ArchiveLimits, UnzipResult> rows[] = {
      {{2, kMega, 100 * kMega},       kDone          },
      {{1, kMega, 100 * kMega},       kTooManyEntries},
      {{2, kMega, 100 * kMega - 1},   kTooLarge      },
      {{2, 1000, 100 * kMega},        kTooLarge      }, // more than anything packs into so few bytes
      {{2, INT64_MAX, INT64_MAX},     kDone          },
      {{2, 1000, 100 * kMega, false}, kDone          }, // by another method
  };
  for (const auto& [limits, reason] : rows) {
    const ValidationResult result = ValidateArchive(two, limits, true);
    EXPECT_EQ(result.reason, reason);
    EXPECT_EQ(result.name, reason == kTooLarge ? "b" : "");
  }
  const std::vector<ArchiveEntry> endless = {File("a", INT64_MAX), File("b", INT64_MAX)};
  EXPECT_EQ(ValidateArchive(endless, {200, INT64_MAX, INT64_MAX}, true).reason, kTooLarge);
}

}  // namespace
}  // namespace tsly
