#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "posix/archive_unzip.h"
#include "posix/paths.h"
#include "support/recording_unzip.h"
#include "support/temporary_folder.h"

namespace tsly {
namespace {

using enum UnzipResult;
using Tree = std::map<std::string, std::string>;

// An entry of a ZIP that is built byte by byte, so that it can lie.
struct Raw {
  std::string name;
  std::string data;
  unsigned mode = 0100644;
  unsigned flags = 0x800;
  unsigned method = 0;
  std::uint32_t crc_error = 0;
  std::uint32_t size_error = 0;
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
    const std::string common = Two(20) + Two(entry.flags) + Two(entry.method) + Four(0x58210000) +
                               Four(Crc(entry.data) ^ entry.crc_error) + Four(entry.data.size()) +
                               Four(entry.data.size() + entry.size_error) + Two(entry.name.size()) + Two(0);
    contents += "PK\1\2" + Two(0x0314) + common + Two(0) + Two(0) + Two(0) + Four(std::size_t{entry.mode} << 16) +
                Four(files.size()) + entry.name;
    files += "PK\3\4" + common + entry.name + entry.data;
  }
  return files + contents + "PK\5\6" + Four(0) + Two(entries.size()) + Two(entries.size()) + Four(contents.size()) +
         Four(files.size()) + Two(0);
}

class ArchiveUnzipTest : public testing::Test {
 protected:
  std::int32_t Extract(const std::string& archive, const std::string& folder = "target", bool keep = true,
                       bool replace = true) {
    unzip_ = ArchiveUnzipFactory().Create();
    unzip_->SetArchiveFile(CorePath(home_ / archive));
    unzip_->SetExtractFolder(CorePath(home_ / folder) + "\\");
    unzip_->SetExtractOptionA(keep);
    unzip_->SetExtractOptionB(replace);
    std::string first, second;
    std::int32_t result = -1;
    EXPECT_FALSE(unzip_->Extract(first, second, result));
    EXPECT_EQ(unzip_->FailureText().empty(), result == 0) << unzip_->FailureText();
    return result;
  }

  TemporaryFolder home_;
  std::unique_ptr<UnzipComponent> unzip_;
};

TEST_F(ArchiveUnzipTest, UnpacksWhatTheZipToolPacked) {
  home_.Write("in/readme.txt", std::string(300, 'r'));
  home_.Write("in/bin/tool", "#!/bin/sh\n", 04755);
  home_.Write("in/data/größe.txt", "7");
  std::filesystem::create_directories(home_ / "in/empty");
  const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
  utimensat(AT_FDCWD, (home_ / "in/readme.txt").c_str(), times, 0);
  ASSERT_EQ(std::system(("cd '" + (home_ / "in").string() + "' && LC_ALL=C.UTF-8 zip -q -r ../pack.zip .").c_str()), 0);

  EXPECT_EQ(Extract("pack.zip", "new/target"), 0);
  EXPECT_EQ(home_.Tree("new/target"), home_.Tree("in"));
  EXPECT_EQ(home_.Tree("new").count("target"), 1U);
  EXPECT_EQ(home_.Tree("new").size(), home_.Tree("in").size() + 1) << "nothing of the staging folder is left";
  struct stat tool {};
  struct stat readme {};
  stat((home_ / "new/target/bin/tool").c_str(), &tool);
  stat((home_ / "new/target/readme.txt").c_str(), &readme);
  EXPECT_EQ(tool.st_mode & 07111U, 0111U);
  EXPECT_EQ(readme.st_mode & 07111U, 0U);
  EXPECT_EQ(readme.st_mtime, 1'000'000'000);
}

TEST_F(ArchiveUnzipTest, Options) {
  home_.Write("pack.zip", Zip({Raw{"Sub/a.txt", "new a"}, Raw{"b.txt", "new b"}, Raw{"n\x84me", "", 0100644, 0}}));
  const auto tree_after = [this](bool keep_folders, bool replace) {
    std::filesystem::remove_all(home_ / "target");
    home_.Write("target/SUB/A.TXT", "old");
    EXPECT_EQ(Extract("pack.zip", "target", keep_folders, replace), 0);
    return home_.Tree("target");
  };
  Tree tree;
  tree["SUB"] = "/";
  tree["SUB/A.TXT"] = "new a";
  tree["b.txt"] = "new b";
  tree["näme"] = "";
  EXPECT_EQ(tree_after(true, true), tree);
  tree["SUB/A.TXT"] = "old";
  EXPECT_EQ(tree_after(true, false), tree);
  tree["a.txt"] = "new a";
  EXPECT_EQ(tree_after(false, true), tree);
}

TEST_F(ArchiveUnzipTest, RefusedPacksChangeNothing) {
  home_.Write("target/old", "old");
  home_.Write("target/taken/z", "z");
  home_.Write("elsewhere/y", "mine");
  std::filesystem::create_directory_symlink(home_ / "elsewhere", home_ / "target/out");
  const auto refused = [this](const std::string& archive, UnzipResult reason, const std::string& named) {
    home_.Write("pack.zip", archive);
    const Tree before = home_.Tree();
    EXPECT_EQ(Extract("pack.zip"), static_cast<std::int32_t>(reason)) << named;
    EXPECT_NE(unzip_->FailureText().find(named + '"'), std::string::npos) << unzip_->FailureText();
    EXPECT_EQ(home_.Tree(), before) << unzip_->FailureText();
  };
  const Raw first{"first", "1"};
  const auto pack_refused = [&](const Raw& second, UnzipResult reason, const std::string& named) {
    refused(Zip({first, second}), reason, named);
  };
  pack_refused({"../x", "2"}, kBadName, "\"../x");
  pack_refused({"a\\..\\x", "2"}, kBadName, "x");
  pack_refused({"/x", "2"}, kBadName, "\"/x");
  refused(Zip({Raw{"x", "/etc", 0120777}, Raw{"x/y", "2"}}), kNotAFile, "\"x");
  pack_refused({"x", "", 0060644}, kNotAFile, "\"x");
  pack_refused({"First", "2"}, kSameName, "\"First");
  pack_refused({"x", "2", 0100644, 0x801}, kEncrypted, "\"x");
  pack_refused({"x", "2", 0100644, 0x800, 77}, kUnknownMethod, "\"x");
  pack_refused({"x", "2", 0100644, 0x800, 0, 1}, kWrongChecksum, "\"x");
  pack_refused({"x", "2", 0100644, 0x800, 0, 0, 3}, kWrongSize, "\"x");
  pack_refused({"x", "2", 0100644, 0x800, 0, 0, 1U << 31}, kTooLarge, "\"x");
  pack_refused({"taken", "2"}, kInTheWay, "\"taken");
  refused(Zip({first, Raw{"new/sub/y", "2"}, Raw{"old", "3"}, Raw{"out/y", "4"}}), kInTheWay, "\"out/y");
  pack_refused({"old/y", "2"}, kInTheWay, "\"old/y");
  const std::string good = Zip({first, Raw{"x", "2"}});
  std::string changed = good;
  changed[changed.find("2PK")] = '3';
  refused(changed, kWrongChecksum, "\"x");
  refused(good.substr(0, good.size() - 5), kNotAnArchive, "pack.zip");
  refused("no archive at all", kNotAnArchive, "pack.zip");
  refused("", kNotAnArchive, "pack.zip");

  EXPECT_EQ(Extract("missing.zip"), static_cast<std::int32_t>(kCannotOpen));
  home_.Write("pack.zip", Zip({{"./", "", 040755}}));
  EXPECT_EQ(Extract("pack.zip", "new"), 0);
  EXPECT_TRUE(std::filesystem::is_directory(home_ / "new"));
  EXPECT_EQ(Extract("pack.zip", "target/old/below"), static_cast<std::int32_t>(kInTheWay));
}

TEST_F(ArchiveUnzipTest, TellsMissingRightsAndTheTextForThem) {
  home_.Write("pack.zip", Zip({{"x", "1"}}));
  home_.Write("target/x", "mine");
  const pid_t child = fork();
  if (child == 0) {  // as a user for whom rights count
    if (geteuid() == 0 && setuid(65534) != 0) _exit(99);
    std::filesystem::permissions(home_ / "target", std::filesystem::perms{0555}, *new std::error_code);
    _exit(Extract("pack.zip") | (HasFailure() ? 64 : 0));
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(kCannotWrite));
  EXPECT_EQ(home_.Tree("target"), (Tree{{"x", "mine"}}));
  EXPECT_EQ(Describe({kWrongChecksum, "a\nb", ""}), "The file \"a?b\" in the pack has a wrong checksum.");
}

// What a caller may rely on whichever component it is.
void CheckCallersView(UnzipFactory& factory, const std::string& archive, const std::string& folder, bool good) {
  const std::unique_ptr<UnzipComponent> unzip = factory.Create();
  EXPECT_EQ(unzip->FailureText(), "");
  EXPECT_FALSE(unzip->SetArchiveFile(archive));
  EXPECT_FALSE(unzip->SetExtractFolder(folder));
  std::string first = "1", second = "2";
  std::int32_t result = -1;
  EXPECT_FALSE(unzip->Extract(first, second, result));
  EXPECT_EQ(first + second, "12");
  EXPECT_EQ(result == 0, good);
  EXPECT_EQ(unzip->FailureText().empty(), good);
}

TEST_F(ArchiveUnzipTest, BothComponentsLookAlikeToACaller) {
  home_.Write("pack.zip", Zip({{"x", "1"}}));
  RecordingUnzipFactory recording;
  recording.results = {0, 7};
  recording.failure_text = "why";
  ArchiveUnzipFactory real;
  for (UnzipFactory* factory : {static_cast<UnzipFactory*>(&recording), static_cast<UnzipFactory*>(&real)}) {
    CheckCallersView(*factory, CorePath(home_ / "pack.zip"), CorePath(home_ / "target"), true);
    CheckCallersView(*factory, CorePath(home_ / "none.zip"), CorePath(home_ / "target"), false);
  }
}

}  // namespace
}  // namespace tsly
