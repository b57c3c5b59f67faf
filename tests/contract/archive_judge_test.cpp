#include "posix/archive_judge.h"

#include <gtest/gtest.h>

namespace tsly {
namespace {

using enum UnzipResult;
using Kind = ArchiveEntry::Kind;
using Texts = std::vector<std::string>;

ArchiveVerdict Judge(const std::vector<ArchiveEntry>& entries, bool keep_folders = true) {
  return JudgeArchive(entries, {.archive_bytes = 1000, .free_bytes = 1 << 30}, keep_folders);
}

ArchiveEntry File(const std::string& name) { return {name, Kind::kFile, 0, false}; }
ArchiveEntry Folder(const std::string& name) { return {name, Kind::kFolder, 0, false}; }

TEST(ArchiveJudge, GoodNames) {
  EXPECT_EQ(Judge({}).targets, Texts());
  EXPECT_EQ(Judge({File("a/b\\c"), Folder("a/"), File("a\\e\\"), Folder("./"), File("./x//y"), File("Ä.b")}).targets,
            (Texts{"a/b/c", "a/", "a/e/", "", "x/y", "Ä.b"}));
  const Texts odd = {"console.txt", "com0", "com10", "a b", ".hidden", "c..d", "lpt"};
  for (const std::string& name : odd) EXPECT_EQ(Judge({File(name)}).targets, Texts{name});
  EXPECT_EQ(Judge({Folder("a/"), File("a/x"), File("b/y")}, false).targets, (Texts{"", "x", "y"}));
}

// Which names and kinds are refused, the zoo of archives shows; here is what no archive can say, or not in each way.
TEST(ArchiveJudge, RefusedEntriesAreNamed) {
  const struct {
    ArchiveEntry entry;
    bool keep_folders;
    UnzipResult reason;
  } rows[] = {
      {File("a/../../x"),       true,  kBadName                       },
      {File("a/../../x"),       false, kBadName                       },
      {File(std::string("a\0b", 3)),   true,                            kBadName},
      {File(std::string(4097,                       'x')),        false,            kBadName},
      {{"a", Kind::kLink, 0, false},               false,                    kNotAFile            },
      {{"a", Kind::kFile, 1, true},              true,kEncrypted},
      {{"a", Kind::kFile, -1, false},             true,                   kWrongSize                             },
      {{"a/", Kind::kFolder, 5, false},             true,kWrongSize},
      {File("sub/GOOD"),             false,                   kSameName                                                               },
  };
  for (const auto& [entry, keep_folders, reason] : rows) {
    const ArchiveVerdict verdict = Judge({File("good"), entry, File("also good")}, keep_folders);
    EXPECT_EQ(verdict.reason, reason) << entry.name;
    EXPECT_EQ(verdict.name, entry.name);
    EXPECT_EQ(verdict.targets, Texts()) << entry.name;
  }
}

TEST(ArchiveJudge, NamesThatCantStandTogether) {
  const struct {
    std::vector<ArchiveEntry> entries;
    UnzipResult reason;
  } rows[] = {
      {{File("\u00e9/x"), File("b"), File("\u00c9/y")},                     kSameName},
      {{Folder("a/"), File("b"), Folder("A/")},                             kSameName},
      {{File("a/b/c"), File("x"), File("a/b")},                             kInTheWay},
      {{Folder("a/"), File("a/x"), File("b/x"), File("a/y"), Folder("a/")}, kDone    },
  };
  for (const auto& [entries, reason] : rows) EXPECT_EQ(Judge(entries).reason, reason);
}

TEST(ArchiveJudge, CountsAndSizes) {
  constexpr std::int64_t kMega = 1 << 20;
  const std::vector<ArchiveEntry> two = {
      {"a", Kind::kFile, 60 * kMega, false},
      {"b", Kind::kFile, 40 * kMega, false}
  };
  const struct {
    ArchiveLimits limits;
    UnzipResult reason;
  } rows[] = {
      {{2, kMega, 100 * kMega},       kDone          },
      {{1, kMega, 100 * kMega},       kTooManyEntries},
      {{2, kMega, 100 * kMega - 1},   kTooLarge      },
      {{2, 1000, 100 * kMega},        kTooLarge      }, // more than anything packs into so few bytes
      {{2, INT64_MAX, INT64_MAX},     kDone          },
      {{2, 1000, 100 * kMega, false}, kDone          }, // by another method
  };
  for (const auto& [limits, reason] : rows) {
    const ArchiveVerdict verdict = JudgeArchive(two, limits, true);
    EXPECT_EQ(verdict.reason, reason);
    EXPECT_EQ(verdict.name, reason == kTooLarge ? "b" : "");
  }
  const std::vector<ArchiveEntry> endless = {
      {"a", Kind::kFile, INT64_MAX, false},
      {"b", Kind::kFile, INT64_MAX, false}
  };
  EXPECT_EQ(JudgeArchive(endless, {200, INT64_MAX, INT64_MAX}, true).reason, kTooLarge);
}

}  // namespace
}  // namespace tsly
