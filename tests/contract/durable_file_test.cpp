// What no result shows: what is flushed to the disk, and in which order.
#include "posix/durable_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "ports/system_codes.h"
#include "posix/posix_files.h"
#include "support/ordinary_user.h"
#include "support/temp_folder.h"

static std::vector<std::filesystem::path>* flushed = nullptr;

// The system's call, as the program finds it.
extern "C" int fsync(int file) {
  if (flushed != nullptr) flushed->push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file)));
  return static_cast<int>(syscall(SYS_fsync, file));
}

namespace tsly {
namespace {

namespace fs = std::filesystem;

TEST(DurableFile, IsOnTheDiskBeforeSuccessIsReported) {
  const TempFolder folder;
  const fs::path root = folder.NativePath();
  PosixFiles files;
  const std::string file = folder.CorePath("a\\b\\file"), other = folder.CorePath("other");
  // A file that has no name yet is written as "#".
  const std::pair<std::function<int()>, std::string> calls[] = {
      {[&] { return MakeFolders(root / "a/b", 0700); },            ". .. a . "        },
      {[&] { return EnsureFile(root / "a/b/file", 0600); },        "a "               },
      {[&] { return ReplaceFile(root / "a/b/file", "x", 0600); },  "a/b/file-new a/b "},
      {[&] { return files.Rename(file, other); },                  "a/b/file . "      },
      {[&] { return files.Copy(other, folder.CorePath("a\\c")); }, "a/# a "           },
  };
  for (const auto& [call, expected] : calls) {
    std::vector<fs::path> seen;
    flushed = &seen;
    EXPECT_EQ(call(), kSuccess) << expected;
    flushed = nullptr;
    std::string names;
    for (const fs::path& path : seen) {
      const std::string name = path.lexically_relative(root).string();
      const std::size_t aside = std::min(name.find('#'), name.find(".tsl-"));
      names += name.substr(0, aside) + (aside == name.npos ? " " : "# ");
    }
    EXPECT_EQ(names, expected);
  }
}

TEST(DurableFile, AReplacedFileKeepsItsOwnerOrLosesTheRightsOfItsGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  constexpr unsigned kNobody = 65534;
  const TempFolder folder;
  const fs::path file = folder.NativePath("file");
  ASSERT_EQ(chown(file.parent_path().c_str(), kNobody, kNobody), 0);
  const auto replaced = [&](uid_t user, gid_t group, bool as_root) {
    folder.Write("file", "old");
    EXPECT_TRUE(chown(file.c_str(), user, group) == 0 && chmod(file.c_str(), 0620) == 0);
    const auto replace = [&] { return ReplaceFile(file, "new", 0044); };
    EXPECT_EQ(as_root ? replace() : AsOrdinaryUser(replace), kSuccess);
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return std::tuple(status.st_uid, status.st_gid, status.st_mode & 07777);
  };
  EXPECT_EQ(replaced(kNobody, 7, true), std::tuple(kNobody, 7u, 0664u));
  EXPECT_EQ(replaced(kNobody, kNobody, false), std::tuple(kNobody, kNobody, 0664u));
  EXPECT_EQ(replaced(0, 0, false), std::tuple(kNobody, kNobody, 0644u)) << "the group is another one now";
}

}  // namespace
}  // namespace tsly
