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

TEST(ArchiveJudge, BadNamesAreNamed) {
  std::string deep;
  for (int i = 0; i < 101; ++i) deep += "d/";
  for (const std::string& name : Texts{"",          ".",         "/etc/x",
                                       "\\x",       "..",        "../x",
                                       "a/../../x", "a\\..\\x",  "a/..",
                                       "C:\\x",     "c:x",       "a:stream",
                                       "a\nb",      "a\x7f",     std::string("a\0b", 3),
                                       "nul",       "a/CON.txt", "Com1 .log",
                                       "lpt9",      "COM².x",    "conin$",
                                       "x.",        "x ",        "a./b",
                                       ".../b",     deep,        std::string(4097, 'x')}) {
    for (const bool keep_folders : {true, false}) {
      const ArchiveVerdict verdict = Judge({File("good"), File(name), File("also good")}, keep_folders);
      EXPECT_EQ(verdict.reason, kBadName) << name;
      EXPECT_EQ(verdict.name, name);
      EXPECT_EQ(verdict.targets, Texts()) << name;
    }
  }
}

TEST(ArchiveJudge, EntriesThatAreNoPlainFiles) {
  EXPECT_EQ(Judge({
                      {"a", Kind::kLink, 0, false}
  })
                .reason,
            kNotAFile);
  EXPECT_EQ(Judge({
                      {"a", Kind::kOther, 0, false}
  })
                .reason,
            kNotAFile);
  EXPECT_EQ(Judge({
                      {"a", Kind::kFile, 1, true}
  })
                .reason,
            kEncrypted);
  EXPECT_EQ(Judge({
                      {"a", Kind::kFile, -1, false}
  })
                .reason,
            kWrongSize);
  EXPECT_EQ(Judge({
                      {"a/", Kind::kFolder, 5, false}
  })
                .reason,
            kWrongSize);
}

TEST(ArchiveJudge, NamesThatCantStandTogether) {
  EXPECT_EQ(Judge({File("a"), File("a")}).reason, kSameName);
  EXPECT_EQ(Judge({File("a"), File("./a")}).reason, kSameName);
  EXPECT_EQ(Judge({File("é/x"), File("b"), File("É/y")}).reason, kSameName);
  EXPECT_EQ(Judge({Folder("a/"), File("b"), Folder("A/")}).reason, kSameName);
  EXPECT_EQ(Judge({File("a/x"), File("b/X")}, false).reason, kSameName);
  EXPECT_EQ(Judge({File("a"), File("a/b")}).reason, kInTheWay);
  EXPECT_EQ(Judge({File("a/b"), File("A")}).reason, kInTheWay);
  EXPECT_EQ(Judge({File("a/b/c"), File("x"), File("a/b")}).reason, kInTheWay);
  EXPECT_EQ(Judge({Folder("a/"), File("a/x"), File("b/x"), File("a/y"), Folder("a/")}).reason, kDone);
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
      {{2, kMega, 100 * kMega},     kDone          },
      {{1, kMega, 100 * kMega},     kTooManyEntries},
      {{2, kMega, 100 * kMega - 1}, kTooLarge      },
      {{2, 1000, 100 * kMega},      kTooLarge      }, // more than anything packs into so few bytes
      {{2, INT64_MAX, INT64_MAX},   kDone          },
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
