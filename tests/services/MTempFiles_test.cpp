#include "services/MTempFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "support/headless_app.h"
#include "support/scoped_environment.h"

namespace tsly {
namespace {

class TempFilesTest : public testing::Test {
 protected:
  // Below the product's folder.
  std::string Name(const std::string& path) {
    const std::string folder = app.ProductFolder();
    EXPECT_TRUE(path.starts_with(folder)) << path;
    return path.substr(folder.size());
  }
  std::string InFolder(const std::string& name) { return "AppData\\Quillon Systems\\Tessaly Studio\\" + name; }

  HeadlessApp app;
  MTempFiles& temp_files = app.program->temp_files;
};

TEST_F(TempFilesTest, AGivenNameIsUnchangedAndOnlyTheFolderIsCreated) {
  EXPECT_EQ(Name(temp_files.GetTempFile("pack.zip", "tmp")), "pack.zip");
  EXPECT_FALSE(app.folder.Has(InFolder("pack.zip")));
  EXPECT_TRUE(app.folder.Has(InFolder("")));
}

TEST_F(TempFilesTest, NumberedNamesTakeTheFirstFreeNumberAndCreateTheFile) {
  app.folder.Write(InFolder("tsl00000.zip"), "old");
  app.folder.Write(InFolder("TSL00001.ZIP"), "old");
  EXPECT_EQ(Name(temp_files.GetTempFile("", "zip")), "tsl00002.zip");
  EXPECT_EQ(app.folder.Read(InFolder("tsl00002.zip")), "");
  EXPECT_EQ(app.folder.Read(InFolder("tsl00000.zip")), "old");
  EXPECT_EQ(Name(temp_files.GetTempFile("", "")), "tsl00000.");
  app.files.failures.push_back({FileCall::kMakeEmptyFile, app.files.calls[FileCall::kMakeEmptyFile] + 1, 183});
  EXPECT_EQ(Name(temp_files.GetTempFile("", "zip")), "tsl00004.zip") << "another process took 3";
}

TEST_F(TempFilesTest, TheSystemNamesFilesEndingInTmp) {
  for (const char* extension : {"tmp", "TMP"}) {
    const std::string name = Name(temp_files.GetTempFile("", extension));
    EXPECT_TRUE(name.starts_with("tsl") && name.ends_with(".tmp") && name != "tsl00000.tmp") << name;
    EXPECT_TRUE(app.folder.Has(InFolder(name)));
  }
}

TEST_F(TempFilesTest, FallbackFolders) {
  app.folders.nowhere = true;
  EXPECT_EQ(temp_files.GetTempFile("a.txt", ""), app.folder.CorePath("temp\\a.txt"));
  app.folders.no_temp = true;
  const ScopedEnvironment environment("TMPDIR", app.folder.NativePath().string());
  EXPECT_EQ(temp_files.GetTempFile("a.txt", ""), "C:\\TEMP\\a.txt");
  EXPECT_EQ(temp_files.GetTempFile("", "tmp"), "C:\\TEMP\\tsl00000.tmp") << "the system has none";
}

TEST_F(TempFilesTest, AProcessThatRunsAloneDeletesTheFilesOfAKilledOne) {
  const auto left = [&] {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(app.folder.NativePath(InFolder("")))) {
      names.insert(entry.path().filename());
    }
    return names;
  };
  const auto store = [&](MTempFiles& owner, const char* name) {
    EXPECT_EQ(Name(owner.GetTempFile(name, "")), name);
    app.folder.Write(InFolder(name), "x");
  };
  const auto process = [&] { return std::make_unique<MTempFiles>(app.program->global, app.folders, app.files); };
  app.folder.Write(InFolder("theirs"), "x");
  auto killed = process();
  store(*killed, "killed.zip");
  auto executing = process();
  store(*executing, "setup.zip");
  executing->LeaveTempFiles();
  executing.reset();
  auto other = process();
  store(*other, "other.zip");
  killed.reset();
  using Names = std::set<std::string>;
  EXPECT_EQ(left(), (Names{"killed.zip", "other.zip", "setup.zip", "theirs", " tslFiles.lst"})) << "not alone";
  other.reset();
  app.folder.Write(InFolder("..\\elsewhere"), "x");
  EXPECT_EQ(app.files.Append(app.ProductFolder() + " tslFiles.lst", "+..\\elsewhere\n+../elsewhere\n+thei"), 0);
  store(temp_files, "new.zip");
  EXPECT_EQ(left(), (Names{"new.zip", "setup.zip", "theirs", " tslFiles.lst"}));
  temp_files.DeleteTempFiles();
  EXPECT_EQ(left(), (Names{"setup.zip", "theirs"}));
  EXPECT_TRUE(app.folder.Has(InFolder("..\\elsewhere")));
}

TEST_F(TempFilesTest, DeletesEachPathOnceAndForgetsAll) {
  for (const char* name : {"one.zip", "Two.zip", "three.zip"}) app.folder.Write(InFolder(name), "x");
  for (const char* name : {"gone.zip", "one.zip", "ONE.ZIP", "Two.zip", "three.zip"}) temp_files.GetTempFile(name, "");
  app.files.calls.clear();
  app.files.failures.push_back({FileCall::kDelete, 3, 32});
  for (int time = 0; time < 2; ++time) temp_files.DeleteTempFiles();
  EXPECT_EQ(app.files.calls[FileCall::kDelete], 4) << "names that differ only in case are one entry";
  EXPECT_FALSE(app.folder.Has(InFolder("one.zip")));
  EXPECT_TRUE(app.folder.Has(InFolder("Two.zip"))) << "in use";
  EXPECT_FALSE(app.folder.Has(InFolder("three.zip")));
  temp_files.GetTempFile("four.zip", "");
  EXPECT_FALSE(app.folder.Has(InFolder("Two.zip"))) << "deleted by the next process or run";
}

}  // namespace
}  // namespace tsly
