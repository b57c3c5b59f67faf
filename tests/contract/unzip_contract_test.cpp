#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <filesystem>
#include <map>

#include "posix/archive_unzip.h"
#include "posix/unpack_target.h"
#include "support/ordinary_user.h"
#include "support/recording_unzip.h"
#include "support/temp_folder.h"

namespace {

// True: names can't be exchanged, as on some file systems, and those within one folder can't be changed.
bool renames_are_hard = false;

// The call to fail, counted from 0, of those that change or read a disk; none while it is negative.
int failing_call = -1;
int failure = 0;
const char* failed_call = nullptr;

bool Fails(const char* call) {
  if (failing_call < 0 || failing_call-- > 0) return false;
  failed_call = call;
  errno = failure;
  return true;
}

}  // namespace

// The system's calls, as the program finds them.
extern "C" int renameat2(int from, const char* old_name, int to, const char* new_name, unsigned flags) noexcept {
  if (Fails("rename")) return -1;
  if (renames_are_hard && (flags != 0 || from == to)) return errno = EINVAL, -1;
  return static_cast<int>(syscall(SYS_renameat2, from, old_name, to, new_name, flags));
}
extern "C" int renameat(int from, const char* old_name, int to, const char* new_name) noexcept {
  return renameat2(from, old_name, to, new_name, 0);
}

extern "C" int openat(int folder, const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if ((flags & O_CREAT) != 0 && Fails("openat")) return -1;
  return static_cast<int>(syscall(SYS_openat, folder, name, flags, mode));
}
extern "C" ssize_t write(int file, const void* bytes, std::size_t length) {
  return Fails("write") ? -1 : syscall(SYS_write, file, bytes, length);
}
extern "C" ssize_t read(int file, void* bytes, std::size_t length) {
  return Fails("read") ? -1 : syscall(SYS_read, file, bytes, length);
}
extern "C" int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  return Fails("mkdirat") ? -1 : static_cast<int>(syscall(SYS_mkdirat, folder, name, mode));
}
extern "C" int syncfs(int file) noexcept { return Fails("syncfs") ? -1 : static_cast<int>(syscall(SYS_syncfs, file)); }

namespace tsly {
namespace {

using enum UnzipResult;
using Tree = std::map<std::string, std::string>;

// An entry of a ZIP that is built byte by byte.
struct Raw {
  std::string name, data;
  std::size_t mode = 0100644, flags = 0x800;
};

// Little-endian numbers of 2 and 4 bytes.
std::string Two(std::size_t number) { return {static_cast<char>(number), static_cast<char>(number >> 8)}; }
std::string Four(std::size_t number) { return Two(number) + Two(number >> 16); }

std::uint32_t Crc(const std::string& data) {
  std::uint32_t crc = ~0U;
  for (const char c : data) {
    crc ^= static_cast<unsigned char>(c);
    for (int i = 0; i < 8; ++i) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

std::string Zip(const std::vector<Raw>& entries) {
  std::string files, contents;
  for (const Raw& entry : entries) {
    const std::string length = Four(entry.data.size()), place = Four(files.size());
    const std::string common = Two(20) + Two(entry.flags) + Two(0) + Four(0x58210000) + Four(Crc(entry.data)) + length +
                               length + Two(entry.name.size()) + Two(0);
    contents += "PK\1\2" + Two(0x0314) + common + Two(0) + Four(0) + Four(entry.mode << 16) + place + entry.name;
    files += "PK\3\4" + common + entry.name + entry.data;
  }
  const std::string count = Two(entries.size());
  return files + contents + "PK\5\6" + Four(0) + count + count + Four(contents.size()) + Four(files.size()) + Two(0);
}

class ArchiveUnzipTest : public testing::Test {
 protected:
  void Pack(const auto&... entries) { home_.Write("pack.zip", Zip({entries...})); }
  UnzipResult Extract(const std::string& archive = "pack.zip", const std::string& folder = "target", bool keep = true,
                      bool replace = true) {
    unzip_ = factory_->Create();
    EXPECT_EQ(unzip_->FailureText(), "");
    EXPECT_FALSE(unzip_->SetArchiveFile(home_.CorePath(archive)));
    EXPECT_FALSE(!folder.empty() && unzip_->SetExtractFolder(home_.CorePath(folder) + "\\"));
    EXPECT_FALSE(unzip_->SetExtractOptionA(keep));
    EXPECT_FALSE(unzip_->SetExtractOptionB(replace));
    std::string first = "1", second = "2";
    std::int32_t result = -1;
    EXPECT_FALSE(unzip_->Extract(first, second, result));
    EXPECT_EQ(first + second, "12");
    EXPECT_EQ(unzip_->FailureText().empty(), result == 0) << unzip_->FailureText();
    return static_cast<UnzipResult>(result);
  }

  // Everything below a folder: the contents of each file, "/" for a folder, "->" for a link.
  Tree TreeOf(const std::string& below = "") const {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home_.NativePath(below))) {
      const std::string name = entry.path().lexically_relative(home_.NativePath()).string();
      tree[name.substr(below.empty() ? 0 : below.size() + 1)] = entry.is_symlink()     ? "->"
                                                                : entry.is_directory() ? "/"
                                                                                       : home_.Read(name);
    }
    return tree;
  }
  unsigned RightsOf(const char* name) const {
    return static_cast<unsigned>(std::filesystem::status(home_.NativePath(name)).permissions());
  }

  TempFolder home_;
  ArchiveUnzipFactory real_;
  UnzipFactory* factory_ = &real_;
  std::unique_ptr<UnzipComponent> unzip_;
};

TEST_F(ArchiveUnzipTest, UnpacksWhatTheZipToolPacked) {
  home_.Write("in/readme.txt", std::string(300, 'r'));
  home_.Write("in/bin/tool", "#!/bin/sh\n");
  home_.Write("in/data/größe.txt", "7");
  const std::string command = "mkdir empty && chmod 4755 bin/tool && touch -d @1000000000 readme.txt";
  ASSERT_EQ(std::system(("cd '" + home_.NativePath("in").string() + "' && " + command +
                         " && LC_ALL=C.UTF-8 zip -q -r ../pack.zip .")
                            .c_str()),
            0);

  EXPECT_EQ(Extract("pack.zip", "new/target"), kDone);
  EXPECT_EQ(TreeOf("new/target"), TreeOf("in"));
  EXPECT_EQ(TreeOf("new").size(), TreeOf("in").size() + 1) << "nothing of the staging folder is left";
  EXPECT_EQ(RightsOf("new/target/bin/tool") & 07111U, 0111U);
  EXPECT_EQ(RightsOf("new/target/readme.txt") & 07111U, 0U);
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

TEST_F(ArchiveUnzipTest, WhatWasPutInPlaceBeforeAFailureIsTakenBack) {
  home_.Write("target/old", "old");
  home_.Write("elsewhere/y", "mine");
  std::filesystem::create_directory_symlink(home_.NativePath("elsewhere"), home_.NativePath("target/out"));
  Pack(Raw{"first", "1"}, Raw{"new/sub/y", "2"}, Raw{"old", "3"}, Raw{"out/y", "4"});
  const Tree before = TreeOf();
  for (const bool hard : {true, false}) {
    renames_are_hard = hard;
    EXPECT_EQ(Extract(), kInTheWay);
    EXPECT_EQ(TreeOf(), before) << unzip_->FailureText();
  }

  EXPECT_EQ(Extract("missing.zip"), kCannotOpen);
  Pack(Raw{"./", "", 040755});
  EXPECT_EQ(Extract("pack.zip", "new"), kDone);
  EXPECT_TRUE(std::filesystem::is_directory(home_.NativePath("new")));
  EXPECT_EQ(Extract("pack.zip", "target/old/below"), kInTheWay);
}

TEST_F(ArchiveUnzipTest, AFaultOfTheDiskAnywhereChangesNothing) {
  Pack(Raw{"a/b/first", std::string(300'000, '1')}, Raw{"old", "2"}, Raw{"z/last", "3"});
  std::map<std::string, int> failed;
  for (const int error : {ENOSPC, EIO}) {
    std::filesystem::remove_all(home_.NativePath("target"));
    home_.Write("target/old", "old");
    const Tree before = TreeOf();
    failure = error;
    for (int n = 0;; ++n) {
      failing_call = n;
      failed_call = nullptr;
      const UnzipResult result = Extract();
      failing_call = -1;
      if (failed_call == nullptr) break;
      ++failed[failed_call];
      EXPECT_NE(result, kDone) << failed_call << " " << n;
      const bool says_so = error == ENOSPC && std::string(failed_call) != "read";
      EXPECT_TRUE(!says_so || result == kDiskFull) << failed_call << " " << n;
      EXPECT_EQ(TreeOf(), before) << unzip_->FailureText();
    }
    EXPECT_EQ(TreeOf()["target/old"], "2") << "no fault any more";
  }
  for (const char* c : {"read", "write", "openat", "mkdirat", "rename", "syncfs"}) EXPECT_GT(failed[c], 1) << c;
}

TEST_F(ArchiveUnzipTest, AProgramThatRunsIsReplaced) {
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
  EXPECT_EQ(RightsOf("target/tool"), 0750U) << "its rights stay";
  struct stat replaced {};
  EXPECT_EQ(stat(path.c_str(), &replaced), 0);
  EXPECT_EQ(replaced.st_uid, owner);
  kill(running, SIGKILL);
  EXPECT_EQ(waitpid(running, nullptr, 0), running);
}

TEST_F(ArchiveUnzipTest, TellsMissingRightsAndTheTextForThem) {
  Pack(Raw{"x", "1"});
  home_.Write("target/x", "mine");
  chmod(home_.NativePath().c_str(), 0755);
  chmod(home_.NativePath("target").c_str(), 0555);
  EXPECT_EQ(AsOrdinaryUser([this] { return static_cast<int>(Extract()); }), static_cast<int>(kCannotWrite));
  chmod(home_.NativePath("target").c_str(), 0755);
  EXPECT_EQ(home_.Read("target/x"), "mine");
  EXPECT_EQ(Extract("pack.zip", ""), kCannotWrite);
  EXPECT_EQ(unzip_->FailureText(), "The file or folder \"\" can't be written (No such file or directory).");
  EXPECT_TRUE(Describe({kDiskFull, "x", std::string(300, 'p') + "\nend"}).ends_with("p end).")) << "nothing is cut";
  EXPECT_EQ(Describe({kWrongChecksum, "a\nb", ""}), "The file \"a?b\" in the pack has a wrong checksum.");
}

TEST_F(ArchiveUnzipTest, TheRecordingComponentLooksTheSameToACaller) {
  RecordingUnzipFactory recording;
  recording.results = {0, 7};
  recording.failure_text = "why";
  factory_ = &recording;
  EXPECT_EQ(Extract(), kDone);
  EXPECT_EQ(Extract(), UnzipResult{7});
}

TEST(FolderChain, RemovesWhatItMadeWhenSomebodyElseRemovedSomeOfIt) {
  const TempFolder folder;
  FolderChain chain(Descriptor(open(folder.NativePath().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)));
  EXPECT_EQ(chain.Enter("a/b/c/"), 0);
  EXPECT_EQ(chain.Enter(""), 0);
  std::filesystem::remove_all(folder.NativePath("a"));
  EXPECT_EQ(chain.RemoveMade(), ENOENT);
  EXPECT_TRUE(std::filesystem::is_empty(folder.NativePath()));
}

}  // namespace
}  // namespace tsly
