#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/paths.h"
#include "posix/posix_files.h"
#include "posix/posix_folders.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

// The system defines these numbers.
static_assert(kCsidlPersonal == 5 && kCsidlMyPictures == 39 && kCsidlProgramFiles == 38 && kCsidlAppData == 26);
static_assert(kCsidlCommonAppData == 35 && kCsidlCommonDocuments == 46 && kCsidlCommonPictures == 54);

// Sets only the variables of the test among those that the home depends on.
Home HomeFrom(const std::vector<std::string>& wanted) {
  ScopedEnvironment::Variables variables;
  for (const char* name : {"TSLY_HOME", "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "TMPDIR"}) variables[name];
  for (const auto& text : wanted) variables[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
  const ScopedEnvironment environment(variables);
  return Home::FromEnvironment();
}

std::string FolderPath(Folders& folders, int csidl) {
  std::string path;
  const int code = folders.SpecialFolder(csidl, path);
  return code == 0 ? path : "code " + std::to_string(code);
}

TEST(Home, UsesTheUsualFolders) {
  const TempFolder folder;
  folder.Write("config\\user-dirs.dirs",
               "# XDG_PICTURES_DIR=\"/comment\"\nXDG_DOCUMENTS_DIR=\"$HOME/My \\\"Papers\\\"\"\n"
               "XDG_DOCUMENTS_DIR_X=\"/x\"\n  XDG_PICTURES_DIR=\"/srv/pictures\"\nXDG_PICTURES_DIR=\"relative\"\n");
  folder.Write("u\\.config\\user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
  Home home = HomeFrom({"HOME=/u", "XDG_CONFIG_HOME=" + folder.NativePath("config").string(), "XDG_DATA_HOME=/data/"});
  EXPECT_EQ(home.user_registry, folder.NativePath("config/tessaly-studio/user.sqlite"));
  EXPECT_EQ(home.machine_registry, "/var/lib/tessaly-studio/machine.sqlite");
  EXPECT_EQ(home.documents, "/u/My \"Papers\"");
  EXPECT_EQ(home.pictures, "/srv/pictures");
  EXPECT_EQ(home.program_files, "/opt");
  EXPECT_EQ(home.app_data, "/data");
  EXPECT_EQ(home.common_app_data, "/var/lib/tessaly-studio/CommonAppData");
  EXPECT_EQ(home.own_common_app_data, "/data/tessaly-studio/CommonAppData");
  EXPECT_TRUE(home.temp.empty());

  home = HomeFrom({"HOME=" + folder.NativePath("u").string(), "XDG_DATA_HOME=relative"});
  EXPECT_EQ(home.documents, folder.NativePath("u"));
  EXPECT_EQ(home.pictures, folder.NativePath("u/Pictures"));
  EXPECT_EQ(home.app_data, folder.NativePath("u/.local/share"));
}

TEST(Home, UsesThePasswdEntryWithoutHome) {
  const Home home = HomeFrom({});
  EXPECT_TRUE(home.user_registry.is_absolute());
  EXPECT_TRUE(home.user_registry.string().ends_with("/.config/tessaly-studio/user.sqlite"));
}

class FoldersContract : public testing::Test {
 protected:
  const TempFolder folder;
  Home home = HomeFrom({"TSLY_HOME=" + folder.NativePath("home/").string()});
  PosixFolders folders{home};
};

TEST_F(FoldersContract, AreBelowOneFolder) {
  EXPECT_EQ(home.user_registry, folder.NativePath("home/registry/user.sqlite"));
  EXPECT_EQ(home.machine_registry, folder.NativePath("home/registry/machine.sqlite"));
  EXPECT_EQ(home.own_common_pictures, home.common_pictures);
  EXPECT_FALSE(folder.Has("home"));
}

TEST_F(FoldersContract, CreatesEachFolderOnDemandWithTheRightsOfItsUse) {
  const std::tuple<int, const char*, unsigned> cases[] = {
      {kCsidlPersonal,        "Documents",       0750},
      {kCsidlAppData,         "AppData",         0700},
      {kCsidlCommonAppData,   "CommonAppData",   0755},
      {kCsidlProgramFiles,    "ProgramFiles",    0755},
      {kCsidlMyPictures,      "Pictures",        0750},
      {kCsidlCommonDocuments, "CommonDocuments", 0755},
      {kCsidlCommonPictures,  "CommonPictures",  0755},
  };
  const mode_t former = umask(0);
  for (const mode_t mask : {0, 027}) {
    umask(mask);
    for (const auto& [csidl, last, mode] : cases) {
      const std::string name = std::string("home\\folders\\") + last;
      EXPECT_FALSE(folder.Has(name));
      EXPECT_EQ(FolderPath(folders, csidl), folder.CorePath(name));
      const unsigned wanted = mode == 0750 && mask == 0 ? 0755 : mode;
      EXPECT_EQ(fs::status(folder.NativePath(name)).permissions(), fs::perms(wanted)) << name << mask;
    }
    EXPECT_EQ(fs::status(folder.NativePath("home")).permissions(), fs::perms(0700));
    fs::remove_all(folder.NativePath("home"));
  }
  umask(former);
}

TEST_F(FoldersContract, ReportsMissingFolders) {
  std::string path = "as it was";
  EXPECT_NE(folders.SpecialFolder(1, path), kSuccess);
  folder.Write("home\\folders\\Documents", "a file in the folder's place");
  EXPECT_NE(folders.SpecialFolder(kCsidlPersonal, path), kSuccess);
  EXPECT_EQ(path, "as it was");
}

TEST_F(FoldersContract, ReplacesAnUnwritableCommonFolderByTheUsersOwn) {
  fs::create_directories(folder.NativePath("machine/there"));
  fs::create_directories(folder.NativePath("own"));
  for (const char* name : {"", "machine", "machine/there"}) fs::permissions(folder.NativePath(name), fs::perms(0755));
  fs::permissions(folder.NativePath("own"), fs::perms::all);
  home.common_app_data = folder.NativePath("machine/there");
  home.common_documents = folder.NativePath("machine/missing");
  home.own_common_app_data = folder.NativePath("own/a");
  home.own_common_documents = folder.NativePath("own/d");
  PosixFolders machine(home);
  EXPECT_EQ(FolderPath(machine, kCsidlCommonAppData), folder.CorePath("machine\\there"));
  for (const char* name : {"machine/there", "machine"}) fs::permissions(folder.NativePath(name), fs::perms(0555));
  const auto is_own = [&] {
    return FolderPath(machine, kCsidlCommonAppData) == folder.CorePath("own\\a") &&
           FolderPath(machine, kCsidlCommonDocuments) == folder.CorePath("own\\d");
  };
  EXPECT_EQ(AsOrdinaryUser(is_own), 1);
  EXPECT_TRUE(folder.Has("own\\a"));
  fs::permissions(folder.NativePath("machine"), fs::perms(0755));
}

TEST_F(FoldersContract, ATemporaryFailureKeepsTheFolder) {
  fs::permissions(folder.NativePath(), fs::perms(0777));
  home.own_common_app_data = folder.NativePath("own");
  const auto keep_their_places = [&] {
    const rlimit none{3, 3};
    setrlimit(RLIMIT_NOFILE, &none);
    PosixFolders short_of_files(home);
    return FolderPath(short_of_files, kCsidlAppData) == folder.CorePath("home\\folders\\AppData") &&
           FolderPath(short_of_files, kCsidlCommonAppData) == folder.CorePath("home\\folders\\CommonAppData");
  };
  EXPECT_EQ(AsOrdinaryUser(keep_their_places), 1);
  home.common_app_data = home.own_common_app_data = folder.NativePath("own/below");
  folder.Write("own", "a file in its way");
  PosixFolders blocked(home);
  EXPECT_EQ(FolderPath(blocked, kCsidlCommonAppData), folder.CorePath("own\\below")) << "never empty";
}

TEST_F(FoldersContract, CreatesTemporaryFiles) {
  std::string temp, path;
  ASSERT_EQ(folders.TemporaryFolder(temp), kSuccess);
  EXPECT_EQ(temp, folder.CorePath("home\\temp\\"));

  std::set<std::string> names;
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(folders.MakeTempFile(i % 2 == 0 ? temp : folder.CorePath("home\\TEMP"), "tsl", path), kSuccess);
    const std::string name = fs::path(Replace(path, "\\", "/")).filename();
    EXPECT_TRUE(name.starts_with("tsl") && name.ends_with(".tmp") && name.size() > 7) << name;
    EXPECT_EQ(name.find_first_not_of("0123456789ABCDEF", 3), name.size() - 4) << name;
    EXPECT_EQ(folder.Read("home\\temp\\" + name), "");
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 100u);

  EXPECT_NE(folders.MakeTempFile(folder.CorePath("missing"), "tsl", path), kSuccess);
  EXPECT_NE(folders.MakeTempFile("f:\\", "tsl", path), kSuccess);
}

// A folder that others can write to contains only a private folder of the user.
TEST_F(FoldersContract, KeepsTemporaryFilesInAPrivateFolder) {
  const ScopedEnvironment environment("TMPDIR", folder.NativePath("shared").string());
  const std::string name = "tessaly-studio-" + std::to_string(geteuid()), kept = folder.CorePath("shared\\" + name);
  const fs::path native = folder.NativePath("shared") / name;
  const auto temp_path = [this] {
    PosixFolders process(home);
    std::string path;
    process.TemporaryFolder(path);
    const fs::path made = Replace(path, "\\", "/");
    const bool is_closed = path.empty() || fs::symlink_status(made.parent_path()).permissions() == fs::perms(0700);
    return is_closed ? path : "open to others: " + path;
  };
  const auto share = [&] {
    fs::remove_all(folder.NativePath("shared"));
    fs::create_directories(folder.NativePath("shared"));
    fs::permissions(folder.NativePath("shared"), fs::perms(01777));
  };
  home.temp.clear();
  share();
  for (int run = 0; run < 2; ++run) EXPECT_EQ(temp_path(), kept + "\\") << "shared by all processes";
  EXPECT_EQ(NativePath("C:\\TEMP\\x"), native / "x");

  const std::function<void()> plants[] = {
      [&] { fs::create_directory_symlink(folder.NativePath(), native); },
      [&] { fs::create_directory(native), fs::permissions(native, fs::perms(0770)); },
      [&] { folder.Write("shared\\" + name, "a file"); },
  };
  for (const auto& plant : plants) {
    share();
    plant();
    const std::string other = temp_path();
    EXPECT_TRUE(other.starts_with(folder.CorePath("shared\\tessaly-studio-"))) << other;
    EXPECT_NE(other, kept + "\\");
    EXPECT_FALSE(fs::exists(Replace(other, "\\", "/"))) << "removed with its process if empty";
    EXPECT_TRUE(NativePath("C:\\TEMP\\x").starts_with("/dev/null/"));
  }

  // The same for a folder of the home that others can write to; nothing if no folder can be created.
  share();
  home.temp = folder.NativePath("shared");
  EXPECT_EQ(temp_path(), kept + "\\");
  fs::permissions(folder.NativePath(), fs::perms(0755));
  const auto has_none = [&] { return temp_path().empty() && NativePath("C:\\TEMP").starts_with("/dev/null/"); };
  EXPECT_EQ(AsOrdinaryUser(has_none), 0) << "creates its own";
  fs::permissions(folder.NativePath("shared"), fs::perms(01555));
  fs::remove_all(folder.NativePath("shared") / ("tessaly-studio-" + std::to_string(65534)));
  EXPECT_EQ(AsOrdinaryUser(has_none), geteuid() == 0 ? 1 : 0);
  fs::permissions(folder.NativePath("shared"), fs::perms(0777));
  EXPECT_EQ(temp_path(), "") << "others could replace it";
}

// In the core a backslash is a separator; in the system it is an ordinary character, and names aren't necessarily text.
TEST_F(FoldersContract, SupportsAHomeWithABackslashInItsName) {
  for (const std::string name : {"back\\slash", "\\", "\xFF\\\xEF\x81", "a\\\\\xEF"}) {
    const fs::path root = folder.NativePath() / name;
    PosixFolders odd(HomeFrom({"TSLY_HOME=" + root.string()}));
    const std::string app_data = FolderPath(odd, kCsidlAppData);
    EXPECT_EQ(NativePath(app_data), root / "folders/AppData");
    std::string path;
    EXPECT_EQ(odd.MakeTempFile(app_data, "tsl", path), kSuccess);
    EXPECT_TRUE(fs::exists(NativePath(path))) << path;
    PosixFiles files;
    std::vector<std::string> found;
    std::ofstream(root / "folders/AppData/a\\b") << "x";
    EXPECT_EQ(files.Find(app_data + "\\a*", found), 0);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(
        files.Rename(app_data + "\\" + found[0], app_data + "\\" + "A" + found[0].substr(1, found[0].size() - 2) + "B"),
        0);
    EXPECT_TRUE(fs::exists(root / "folders/AppData/A\\B"));
    EXPECT_EQ(odd.TemporaryFolder(path), kSuccess);
    EXPECT_EQ(path, CorePath(root.string() + "/temp/"));
  }
  PosixFolders nameless(HomeFrom({"TSLY_HOME=" + folder.NativePath("\xEF\x81\x9C").string()}));
  std::string path;
  EXPECT_EQ(FolderPath(nameless, kCsidlAppData), "code 3");
  EXPECT_EQ(nameless.TemporaryFolder(path), kPathNotFound);
  // Only the folders of this home were created.
  for (const auto& entry : fs::directory_iterator(folder.NativePath())) {
    EXPECT_TRUE(fs::exists(entry.path() / "folders/AppData")) << entry.path();
  }
}

TEST_F(FoldersContract, PathsWithoutARootBeginInTheCurrentFolder) {
  folder.Write("Sub\\File", "");
  const fs::path before = fs::current_path();
  fs::current_path(folder.NativePath());
  const std::pair<const char*, const char*> cases[] = {
      {"sUB\\fILE", "Sub/File"         },
      {"1:x",       "1:x"              },
      {"a:Sub",     "/dev/null/nowhere"},
      {"Z:\\Sub",   "/dev/null/nowhere"},
  };
  for (const auto& [path, native] : cases) EXPECT_EQ(NativePath(path), native);
  fs::current_path(before);
}

TEST_F(FoldersContract, FindsTheProgram) {
  const std::string native = Replace(folders.ProgramFolder(), "\\", "/");
  EXPECT_TRUE(fs::equivalent(native, fs::canonical("/proc/self/exe").parent_path())) << native;
}

}  // namespace
}  // namespace tsly
