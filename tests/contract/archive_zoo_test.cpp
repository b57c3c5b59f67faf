// Tests the unzip component with the archives of archive_zoo.py: a refused archive changes nothing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>

#include "edition.h"
#include "posix/posix_unzip.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

using Tree = std::map<std::string, std::string>;

Tree TreeOf(const std::filesystem::path& folder) {
  Tree tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    std::string& shown = tree[entry.path().lexically_relative(folder).string()];
    if (entry.is_symlink()) {
      shown = "-> " + std::filesystem::read_symlink(entry.path()).string();
    } else if (!entry.is_directory()) {
      std::ifstream file(entry.path(), std::ios::binary);
      shown.assign(std::istreambuf_iterator<char>(file), {});
    }
  }
  return tree;
}

const std::map<std::string, UnzipResult> kReasons = {
    {"kNotAnArchive",   UnzipResult::kNotAnArchive  },
    {"kBadName",        UnzipResult::kBadName       },
    {"kNotAFile",       UnzipResult::kNotAFile      },
    {"kSameName",       UnzipResult::kSameName      },
    {"kInTheWay",       UnzipResult::kInTheWay      },
    {"kTooLarge",       UnzipResult::kTooLarge      },
    {"kTooManyEntries", UnzipResult::kTooManyEntries},
    {"kEncrypted",      UnzipResult::kEncrypted     },
    {"kUnknownMethod",  UnzipResult::kUnknownMethod },
    {"kWrongChecksum",  UnzipResult::kWrongChecksum },
    {"kWrongSize",      UnzipResult::kWrongSize     },
    {"kDamaged",        UnzipResult::kDamaged       },
};

TEST(ArchiveZoo, RefusedArchivesChangeNothing) {
  TempFolder zoo, desk;
  desk.Write("home/target/old", "old");
  desk.Write("home/target/taken/z", "z");
  desk.Write("home/target-too/x", "mine");
  desk.Write("home/elsewhere/y", "mine");
  desk.Write("outside/x", "mine");
  std::filesystem::create_directory_symlink(desk.NativePath("home/elsewhere"), desk.NativePath("home/target/out"));
  const std::string script = std::string(TSLY_SOURCE_DIR) + "/tests/contract/archive_zoo.py";
  ASSERT_EQ(std::system(("/usr/bin/python3 '" + script + "' '" + zoo.NativePath().string() + "' '" +
                         desk.NativePath("outside").string() + "'")
                            .c_str()),
            0);

  const Tree before = TreeOf(desk.NativePath());
  int refused = 0;
  std::ifstream table(zoo.NativePath("zoo.tsv"));
  for (std::string name, reason, said;
       std::getline(table, name, '\t') && std::getline(table, reason, '\t') && std::getline(table, said);) {
    SCOPED_TRACE(name);
    const bool into_target = reason != "good" && reason != "harmless";
    const std::string folder = into_target ? "home/target" : "home/new";
    std::filesystem::create_directories(desk.NativePath(folder));
    PosixUnzip unzip;
    std::shared_ptr<OpenFile> archive;
    SystemFiles().OpenForReading(zoo.CorePath(name), archive);
    unzip.SetArchiveFile(zoo.CorePath(name), archive);
    unzip.SetExtractFolder(desk.CorePath(folder) + "\\");
    std::string first, second;
    std::int32_t result = 0;
    EXPECT_FALSE(unzip.Extract(first, second, result));
    if (!into_target) {
      if (reason == "good") {
        const Tree wanted{
            {"file.txt", "contents"}
        };
        EXPECT_EQ(TreeOf(desk.NativePath(folder)), wanted) << unzip.FailureText();
      }
      if (reason == "harmless" && !said.empty()) {
        EXPECT_EQ(result, 0) << unzip.FailureText();
        const std::filesystem::directory_iterator made(desk.NativePath(folder));
        EXPECT_EQ(std::to_string(std::distance(begin(made), end(made))), said);
      }
      for (const auto& made : std::filesystem::recursive_directory_iterator(desk.NativePath(folder))) {
        EXPECT_TRUE(made.is_regular_file() && !made.is_symlink()) << made.path();
        EXPECT_EQ(made.status().permissions() & (std::filesystem::perms::set_uid | std::filesystem::perms::set_gid),
                  std::filesystem::perms::none);
      }
      std::filesystem::remove_all(desk.NativePath(folder));
      EXPECT_EQ(TreeOf(desk.NativePath()), before);
      continue;
    }
    ++refused;
    if (reason == "any") {
      EXPECT_NE(result, 0);
    } else {
      EXPECT_EQ(result, static_cast<std::int32_t>(kReasons.at(reason))) << unzip.FailureText();
    }
    EXPECT_NE(unzip.FailureText().find(said), std::string::npos) << unzip.FailureText();
    EXPECT_NE(unzip.FailureText(), "");
    EXPECT_EQ(TreeOf(desk.NativePath()), before) << unzip.FailureText();
  }
  EXPECT_EQ(refused, 122);
}

}  // namespace
}  // namespace tsly
