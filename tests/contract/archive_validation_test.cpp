#include "common/archive_validation.h"

#include <gtest/gtest.h>

namespace tsly {
namespace {

using enum UnzipResult;
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
