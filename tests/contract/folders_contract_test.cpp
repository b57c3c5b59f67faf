#include <gtest/gtest.h>

#include <set>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/posix_folders.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

// The numbers are the system's, not ours to choose.
static_assert(kCsidlPersonal == 5 && kCsidlMyPictures == 39 && kCsidlProgramFiles == 38 && kCsidlAppData == 26);
static_assert(kCsidlCommonAppData == 35 && kCsidlCommonDocuments == 46 && kCsidlCommonPictures == 54);

// Nothing that the home depends on is set but what a test wants.
Home HomeFrom(ScopedEnvironment::Variables wanted) {
  for (const char* name : {"TSLY_HOME", "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "TMPDIR"}) wanted[name];
  const ScopedEnvironment environment(wanted);
  return Home::FromEnvironment();
}

Home HomeBelow(const TempFolder& folder) {
  return HomeFrom({
      {"TSLY_HOME", folder.NativePath("home/").string()}
  });
}

std::string FolderPath(Folders& folders, int csidl) {
  std::string buffer(2048, '\0');
  const int code = folders.GetFolderPath(csidl, buffer);
  return code == 0 ? buffer.c_str() : "code " + std::to_string(code);
}

TEST(Home, LiesInTheUsualPlaces) {
  const TempFolder folder;
  folder.Write("config\\user-dirs.dirs",
               "# XDG_PICTURES_DIR=\"/comment\"\nXDG_DOCUMENTS_DIR=\"$HOME/My \\\"Papers\\\"\"\n"
               "XDG_DOCUMENTS_DIR_X=\"/x\"\n  XDG_PICTURES_DIR=\"/srv/pictures\"\nXDG_PICTURES_DIR=\"relative\"\n");
  folder.Write("u\\.config\\user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
  Home home = HomeFrom({
      {"HOME",            "/u"                                },
      {"XDG_CONFIG_HOME", folder.NativePath("config").string()},
      {"XDG_DATA_HOME",   "/data/"                            },
      {"TMPDIR",          "/t"                                }
  });
  EXPECT_EQ(home.user_registry, folder.NativePath("config/tessaly-studio/user.sqlite"));
  EXPECT_EQ(home.machine_registry, "/var/lib/tessaly-studio/machine.sqlite");
  EXPECT_EQ(home.documents, "/u/My \"Papers\"");
  EXPECT_EQ(home.pictures, "/srv/pictures");
  EXPECT_EQ(home.program_files, "/opt");
  EXPECT_EQ(home.app_data, "/data");
  EXPECT_EQ(home.common_app_data, "/var/lib/tessaly-studio/CommonAppData");
  EXPECT_EQ(home.own_common_app_data, "/data/tessaly-studio/CommonAppData");
  EXPECT_EQ(home.temp, "/t");

  home = HomeFrom({
      {"HOME",          folder.NativePath("u").string()},
      {"XDG_DATA_HOME", "relative"                     }
  });
  EXPECT_EQ(home.documents, folder.NativePath("u"));
  EXPECT_EQ(home.pictures, folder.NativePath("u/Pictures"));
  EXPECT_EQ(home.app_data, folder.NativePath("u/.local/share"));
  EXPECT_EQ(home.temp, "/tmp");
}

TEST(Home, IsTheListedOneWithoutHome) {
  const Home home = HomeFrom({});
  EXPECT_TRUE(home.user_registry.is_absolute());
  EXPECT_TRUE(home.user_registry.string().ends_with("/.config/tessaly-studio/user.sqlite"));
}

class FoldersContract : public testing::Test {
 protected:
  const TempFolder folder;
  Home home = HomeBelow(folder);
  PosixFolders folders{home};
};

TEST_F(FoldersContract, LieBelowOneFolder) {
  EXPECT_EQ(home.user_registry, folder.NativePath("home/registry/user.sqlite"));
  EXPECT_EQ(home.machine_registry, folder.NativePath("home/registry/machine.sqlite"));
  EXPECT_EQ(home.own_common_pictures, home.common_pictures);
  EXPECT_FALSE(folder.Has("home"));
}

TEST_F(FoldersContract, MakesEachFolderWhenAskedForIt) {
  const std::pair<int, const char*> cases[] = {
      {kCsidlPersonal,        "Documents"      },
      {kCsidlAppData,         "AppData"        },
      {kCsidlCommonAppData,   "CommonAppData"  },
      {kCsidlProgramFiles,    "ProgramFiles"   },
      {kCsidlMyPictures,      "Pictures"       },
      {kCsidlCommonDocuments, "CommonDocuments"},
      {kCsidlCommonPictures,  "CommonPictures" },
  };
  for (int round = 0; round < 2; ++round) {
    for (const auto& [csidl, last] : cases) {
      const std::string name = std::string("home\\folders\\") + last;
      EXPECT_FALSE(folder.Has(name));
      EXPECT_EQ(FolderPath(folders, csidl), folder.CorePath(name));
      EXPECT_TRUE(folder.Has(name));
    }
    fs::remove_all(folder.NativePath("home"));
  }
}

TEST_F(FoldersContract, TellsWhenThereIsNone) {
  std::string buffer(FolderPath(folders, kCsidlAppData).size() + 1, '#');
  EXPECT_EQ(folders.GetFolderPath(kCsidlAppData, buffer), 0);
  EXPECT_EQ(folders.GetFolderPath(kCsidlAppData, std::span(buffer).subspan(1)), kMoreData);
  EXPECT_EQ(folders.GetFolderPath(kCsidlAppData, {}), kMoreData);
  EXPECT_NE(folders.GetFolderPath(1, buffer), 0);
  folder.Write("home\\folders\\Documents", "a file in the folder's place");
  EXPECT_NE(folders.GetFolderPath(kCsidlPersonal, buffer), 0);
}

TEST_F(FoldersContract, GivesACommonFolderThatCanNotBeWrittenAsTheUsersOwn) {
  fs::create_directories(folder.NativePath("machine/there"));
  fs::create_directories(folder.NativePath("own"));
  for (const char* name : {"", "machine", "machine/there"}) fs::permissions(folder.NativePath(name), fs::perms(0755));
  fs::permissions(folder.NativePath("own"), fs::perms::all);
  home.common_app_data = folder.NativePath("machine/there");
  home.common_documents = folder.NativePath("machine/missing");
  home.own_common_app_data = folder.NativePath("own/a");
  home.own_common_documents = folder.NativePath("own/d");
  folders = PosixFolders(home);
  EXPECT_EQ(FolderPath(folders, kCsidlCommonAppData), folder.CorePath("machine\\there"));
  for (const char* name : {"machine/there", "machine"}) fs::permissions(folder.NativePath(name), fs::perms(0555));
  const auto is_own = [&] {
    return FolderPath(folders, kCsidlCommonAppData) == folder.CorePath("own\\a") &&
           FolderPath(folders, kCsidlCommonDocuments) == folder.CorePath("own\\d");
  };
  EXPECT_EQ(AsOrdinaryUser(is_own), 1);
  EXPECT_TRUE(folder.Has("own\\a"));
  fs::permissions(folder.NativePath("machine"), fs::perms(0755));
}

TEST_F(FoldersContract, MakesTemporaryFiles) {
  std::string buffer(2048, '#');
  ASSERT_NE(folders.GetTempPath(buffer), 0u);
  const std::string temp = buffer.c_str();
  EXPECT_EQ(temp, folder.CorePath("home\\temp\\"));
  EXPECT_EQ(folders.GetTempPath(std::span(buffer).first(temp.size())), 0u);

  std::set<std::string> names;
  for (int i = 0; i < 100; ++i) {
    ASSERT_NE(folders.GetTempFileName(i % 2 == 0 ? temp : folder.CorePath("home\\TEMP"), "tsl", buffer), 0u);
    const std::string name = fs::path(Replace(buffer.c_str(), "\\", "/")).filename();
    EXPECT_TRUE(name.starts_with("tsl") && name.ends_with(".tmp") && name.size() > 7) << name;
    EXPECT_EQ(name.find_first_not_of("0123456789ABCDEF", 3), name.size() - 4) << name;
    EXPECT_EQ(folder.Read("home\\temp\\" + name), "");
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 100u);

  EXPECT_EQ(folders.GetTempFileName(folder.CorePath("missing"), "tsl", buffer), 0u);
  EXPECT_EQ(folders.GetTempFileName("f:\\", "tsl", buffer), 0u);
  fs::create_directories(folder.NativePath("empty"));
  EXPECT_EQ(folders.GetTempFileName(folder.CorePath("empty"), "tsl", std::span(buffer).first(8)), 0u);
  EXPECT_TRUE(fs::is_empty(folder.NativePath("empty")));
}

TEST_F(FoldersContract, FindsTheProgram) {
  const std::string native = Replace(folders.ProgramFolder(), "\\", "/");
  EXPECT_TRUE(fs::equivalent(native, fs::canonical("/proc/self/exe").parent_path())) << native;
}

}  // namespace
}  // namespace tsly
