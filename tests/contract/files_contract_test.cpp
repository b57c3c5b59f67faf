#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/durable_file.h"
#include "posix/paths.h"
#include "posix/posix_files.h"
#include "support/failing_files.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
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

int CountOf(int code, const std::vector<int>& codes) {
  return static_cast<int>(std::count(codes.begin(), codes.end(), code));
}

class FilesContract : public testing::TestWithParam<bool> {
 protected:
  int WriteFile(const std::string& path, std::string_view contents) {
    std::unique_ptr<NewFile> file;
    std::shared_ptr<OpenFile> stored;
    if (const int code = files.Create(path, file); code != 0) return code;
    const int code = file->Write(contents), closing = file->Commit(stored);
    return code != 0 ? code : closing;
  }

  PosixFiles posix;
  FailingFiles forwarding{posix};
  Files& files = GetParam() ? static_cast<Files&>(forwarding) : posix;
  TempFolder folder;
};

TEST_P(FilesContract, FindsNormalFilesByName) {
  for (const char* name : {"a.txt", "B.TXT", "noext", ".hidden", "Übung.ini", "ab.txt.bak", "Sub\\x"}) {
    folder.Write(name, "");
  }
  fs::create_symlink("a.txt", folder.NativePath("link.txt"));
  fs::create_symlink("Sub", folder.NativePath("sublink.txt"));
  fs::create_symlink("gone", folder.NativePath("dangling.txt"));
  ASSERT_EQ(mkfifo(folder.NativePath("pipe.txt").c_str(), 0666), 0);
  const char* const all = ".hidden|B.TXT|a.txt|ab.txt.bak|link.txt|noext|Übung.ini";
  const std::tuple<const char*, int, const char*> cases[] = {
      {"*|*.*",                            0,             all                          },
      {"*.txt",                            0,             "B.TXT|a.txt|link.txt"       },
      {"?.TXT",                            0,             "B.TXT|a.txt"                },
      {"*b*",                              0,             "B.TXT|ab.txt.bak|Übung.ini"},
      {"NOEXT.*",                          0,             "noext"                      },
      {"üBUNG.ini|?bung.ini",             0,             "Übung.ini"                 },
      {"A.txt",                            0,             "a.txt"                      },
      {"SUB\\*",                           0,             "x"                          },
      {"Sub||pipe.txt|dangling.txt|*.zip", kFileNotFound, ""                           },
      {"no\\a.txt|no\\*|a.txt\\*",         kPathNotFound, ""                           },
  };
  for (const auto& [patterns, code, expected] : cases) {
    for (const std::string& pattern : Split(patterns, "|")) {
      std::vector<std::string> names = {"left over"};
      EXPECT_EQ(files.Find(folder.CorePath() + "\\" + pattern, names), code) << pattern;
      EXPECT_EQ(names, Split(expected, "|")) << pattern;
    }
  }
}

TEST_P(FilesContract, ReturnsResultCodes) {
  const std::string file = folder.Write("file", "12345"), inner = folder.Write("dir\\inner", "x");
  const std::string other = folder.CorePath("other"), missing = folder.CorePath("missing");
  std::int64_t length = 0;
  std::shared_ptr<OpenFile> file_held;
  const auto calls = [&](const std::string& path) {
    return std::vector<int>{files.Delete(path),
                            files.Rename(path, other),
                            files.Copy(path, other),
                            files.OpenForReading(path, file_held),
                            files.MakeFolder(path, FolderUse::kUserAlone),
                            files.MakeEmptyFile(path),
                            files.Append(path, "x"),
                            WriteFile(path, "x"),
                            files.Copy(inner, path)};
  };
  for (const std::string& path : {folder.CorePath("no\\missing"), folder.CorePath("file\\below"),
                                  std::string("f:\\file"), folder.CorePath("file") + std::string(1, '\0')}) {
    EXPECT_EQ(calls(path), std::vector<int>(9, kPathNotFound)) << path;
  }
  EXPECT_EQ(calls(folder.CorePath(std::string(300, 'n'))), std::vector<int>(9, kNameTooLong));
  EXPECT_EQ(calls(missing), (std::vector<int>{2, 2, 2, 2, 0, 183, 5, 5, 5}));
  EXPECT_EQ(calls(folder.CorePath("DIR")), (std::vector<int>{5, 0, 2, 2, 0, 183, 5, 5, 2}));
  EXPECT_EQ(files.MakeFolder(other, FolderUse::kUserAlone), kAlreadyExists);
  EXPECT_EQ(CountOf(kAccessDenied, {files.OpenForReading(other, file_held), files.Copy(other, missing)}), 2);
  EXPECT_EQ(folder.Read("other\\inner"), "x");
  ASSERT_EQ(files.OpenForReading(folder.CorePath("FILE"), file_held), 0);
  EXPECT_EQ(file_held->Length(length), 0);
  EXPECT_EQ(length, 5);
}

TEST_P(FilesContract, TreatsWildcardsLiterallyExceptInFind) {
  const std::string star = folder.CorePath("a*?");
  folder.Write("abc", "keep");
  const std::string copy = folder.CorePath("copy");
  EXPECT_EQ(CountOf(kFileNotFound, {files.Delete(star), files.Copy(star, copy), files.Rename(star, copy)}), 3);
  EXPECT_EQ(files.Copy(folder.CorePath("abc"), star), 0);
  EXPECT_EQ(files.Delete(star), 0);
  EXPECT_EQ(folder.Read("abc"), "keep");
}

TEST_P(FilesContract, RenamesWithoutReplacing) {
  const std::string from = folder.Write("from.txt", "new"), to = folder.Write("to.txt", "old");
  EXPECT_EQ(files.Rename(from, to), kAlreadyExists);
  EXPECT_EQ(files.Rename(from, folder.CorePath("TO.TXT")), kAlreadyExists);
  EXPECT_EQ(folder.Read("to.txt"), "old");
  EXPECT_EQ(files.Rename(from, folder.CorePath("no\\to.txt")), kPathNotFound);
  EXPECT_EQ(files.Rename(from, folder.CorePath("From.txt")), 0);
  EXPECT_EQ(folder.Read("From.txt"), "new");
  EXPECT_FALSE(folder.Has("from.txt"));
}

TEST_P(FilesContract, ReportsARenameAcrossFileSystems) {
  struct stat here = {}, there = {};
  ASSERT_EQ(stat(folder.NativePath().c_str(), &here), 0);
  if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) GTEST_SKIP() << "one file system only";
  const std::string from = folder.Write("from.txt", "x");
  EXPECT_EQ(files.Rename(from, "\\dev\\shm" + from.substr(from.rfind('\\'))), kNotSameDevice);
  EXPECT_EQ(folder.Read("from.txt"), "x");
}

TEST_P(FilesContract, CopiesContentsAndKeepsTheMode) {
  const std::string big(700'000, 'b');
  const std::string from = folder.Write("from", big), to = folder.Write("to", big + "longer");
  fs::permissions(folder.NativePath("from"), fs::perms(0700));
  fs::permissions(folder.NativePath("to"), fs::perms(0640));
  EXPECT_EQ(files.Copy(from, to), 0);
  EXPECT_EQ(folder.Read("to"), big);
  EXPECT_EQ(fs::status(folder.NativePath("to")).permissions(), fs::perms(0640));
  EXPECT_EQ(files.Copy(from, folder.CorePath("new")), 0);
  EXPECT_EQ(fs::status(folder.NativePath("new")).permissions(), fs::perms(0700));
  fs::create_symlink("from", folder.NativePath("link"));
  EXPECT_EQ(files.Copy(from, folder.CorePath("link")), kSharingViolation);
  EXPECT_EQ(folder.Read("from"), big);
}

TEST_P(FilesContract, NamesNewFilesWhenComplete) {
  const std::string path = folder.Write("file", "former");
  std::unique_ptr<NewFile> file;
  std::shared_ptr<OpenFile> stored, former;
  ASSERT_EQ(files.OpenForReading(path, former), 0);
  ASSERT_EQ(files.Create(path, file), 0);
  EXPECT_EQ(file->Write("dropped"), 0);
  file.reset();
  EXPECT_EQ(folder.Read("file"), "former");

  ASSERT_EQ(files.Create(path, file), 0);
  std::string expected;
  for (const std::size_t size : {1u, 65'535u, 1u, 200'000u, 65'536u, 7u}) {
    const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
    EXPECT_EQ(file->Write(piece), 0);
    expected += piece;
  }
  EXPECT_EQ(folder.Read("file"), "former");
  EXPECT_EQ(file->Commit(stored), 0);
  EXPECT_EQ(CountOf(kInvalidHandle, {file->Commit(stored), file->Write("x")}), 2);
  EXPECT_TRUE(folder.Read("file") == expected);
  EXPECT_TRUE(stored->IsAt(folder.CorePath("FILE")));
  EXPECT_FALSE(former->IsAt(path));

  // An open file stays the same even if its name is reused.
  ASSERT_EQ(files.Delete(path), 0);
  EXPECT_FALSE(stored->IsAt(path));
  EXPECT_EQ(WriteFile(path, "another"), 0);
  EXPECT_FALSE(stored->IsAt(path));
  std::string contents, chunk(8192, '\0');
  for (std::size_t got = 1; got > 0; contents.append(chunk, 0, got)) {
    ASSERT_EQ(stored->ReadAt(static_cast<std::int64_t>(contents.size()), chunk, got), 0);
  }
  EXPECT_TRUE(contents == expected);
  EXPECT_EQ(files.Append(path, "\r\n"), 0);
  EXPECT_EQ(folder.Read("file"), "another\r\n");
}

// Other users may have created something under the names that the program writes to.
TEST_P(FilesContract, WritesNothingThroughForeignLinks) {
  const std::string victim = folder.Write("victim", "mine"), log = folder.CorePath("log");
  const fs::path native = folder.NativePath("log"), target = folder.NativePath("victim");
  const std::pair<const char*, std::function<void()>> plants[] = {
      {"link",          [&] { fs::create_symlink(target, native); }  },
      {"dangling link", [&] { fs::create_symlink("gone", native); }  },
      {"second name",   [&] { fs::create_hard_link(target, native); }},
      {"pipe",          [&] { mkfifo(native.c_str(), 0666); }        },
      {"foreign file",  [&] { folder.Write("log", "theirs"); }       },
  };
  for (const auto& [name, plant] : plants) {
    plant();
    const bool is_foreign = folder.Has("log") && lchown(native.c_str(), 65534, 65534) == 0;  // only root can do that
    if (is_foreign || !fs::is_regular_file(fs::symlink_status(native)) || fs::hard_link_count(native) > 1) {
      EXPECT_EQ(files.Append(log, "line"), kAccessDenied) << name;
    }
    EXPECT_EQ(WriteFile(log, "whole"), 0) << name;
    fs::remove(native);
    plant();
    EXPECT_EQ(files.Copy(folder.Write("source", "whole"), log), 0) << name;
    EXPECT_EQ(folder.Read("victim"), "mine") << name;
    EXPECT_FALSE(folder.Has("gone"));
    fs::remove(native);
  }
}

TEST_P(FilesContract, GrantsOthersOnlyTheRequestedRights) {
  const mode_t former = umask(0);
  for (const mode_t mask : {0, 077}) {
    umask(mask);
    const std::pair<int, unsigned> rows[] = {
        {files.MakeFolder(folder.CorePath("1"),     FolderUse::kUserAlone), 0700},
        {files.MakeFolder(folder.CorePath("2"),     FolderUse::kEveryone),  0755},
        {files.Append(folder.CorePath("3"),         "line"),                0600},
        {files.MakeEmptyFile(folder.CorePath("4")), 0600                  },
        {WriteFile(folder.CorePath("5"),                              "document"),                   0600    },
    };
    for (int i = 0; const auto& [code, mode] : rows) {
      const fs::path made = folder.NativePath(std::to_string(++i));
      EXPECT_EQ(code, 0) << i;
      EXPECT_EQ(fs::status(made).permissions(), fs::perms(mode)) << i;
      fs::remove(made);
    }
  }
  umask(former);
}

// A file size limit simulates a full disk.
TEST_P(FilesContract, ReportsAFullDisk) {
  const std::string big(100'000, 'b'), from = folder.Write("from", big);
  folder.Write("log", "");
  fs::permissions(folder.NativePath(), fs::perms(0777));
  fs::permissions(folder.NativePath("log"), fs::perms(0666));
  const auto failures = [&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, 4096};
    setrlimit(RLIMIT_FSIZE, &limit);
    return CountOf(kDiskFull,
                   {files.Copy(from, folder.CorePath("copy")), files.Append(folder.CorePath("log"), big),
                    WriteFile(folder.CorePath("large"), big), WriteFile(folder.CorePath("held"), big.substr(0, 5000))});
  };
  EXPECT_EQ(AsOrdinaryUser(failures), 4);
  EXPECT_FALSE(folder.Has("copy"));
  EXPECT_EQ(folder.Read("log"), "") << "partial line";
  folder.Write("copy", "old");
  fs::permissions(folder.NativePath("copy"), fs::perms(0666));
  AsOrdinaryUser(failures);
  EXPECT_EQ(folder.Read("copy"), "old") << "partial file under a final name";
}

TEST_P(FilesContract, CopiesInPlaceIfTheFolderIsNotWritable) {
  const std::string from = folder.Write("from", "new"), to = folder.Write("to", "longer than the new");
  fs::permissions(folder.NativePath("to"), fs::perms(0666));
  fs::permissions(folder.NativePath(), fs::perms(0555));
  EXPECT_EQ(AsOrdinaryUser([&] { return files.Copy(from, to); }), 0);
  EXPECT_EQ(folder.Read("to"), "new");
  fs::permissions(folder.NativePath(), fs::perms(0755));
}

TEST_P(FilesContract, ReportsMissingRights) {
  const std::string file = folder.Write("file", "x");
  fs::permissions(folder.NativePath(), fs::perms(0555));
  fs::permissions(folder.NativePath("file"), fs::perms(0));
  const auto refusals = [&] {
    std::shared_ptr<OpenFile> held;
    return CountOf(kAccessDenied, {files.Delete(file), files.Append(file, "x"), files.OpenForReading(file, held),
                                   files.MakeFolder(folder.CorePath("sub"), FolderUse::kEveryone),
                                   files.Rename(file, folder.CorePath("new")), WriteFile(folder.CorePath("new"), "x")});
  };
  EXPECT_EQ(AsOrdinaryUser(refusals), 6);
  fs::permissions(folder.NativePath(), fs::perms(0755));
}

INSTANTIATE_TEST_SUITE_P(PosixAndForwarded, FilesContract, testing::Bool());

TEST(Paths, FindsNamesInAnotherLetterCase) {
  const TempFolder folder;
  folder.Write("Ärger\\Both.txt", "");
  folder.Write("Ärger\\bOTH.txt", "");
  const std::pair<const char*, const char*> cases[] = {
      {"äRGER\\bOTH.txt",      "Ärger/bOTH.txt"    },
      {"äRGER\\BOTH.TXT",      "Ärger/Both.txt"    }, // always the same one of two matches
      {"ärger\\new\\FILE.txt", "Ärger/new/FILE.txt"},
      {"Ärger\\..\\äRGER",    "Ärger/../Ärger"   },
      {"missing\\ärger",       "missing/ärger"     },
  };
  for (const auto& [core, native] : cases) EXPECT_EQ(NativePath(folder.CorePath(core)), folder.NativePath(native));
}

TEST(Paths, OnlyTheTemporaryFolderHasADriveLetter) {
  const TempFolder folder;
  for (const std::string& path : {std::string("f:\\new"), std::string("C:\\TEMPER"), std::string("\\tmp\\a\0b", 8)}) {
    EXPECT_EQ(mkdir(NativePath(path).c_str(), 0777), -1) << path;
  }
  const ScopedEnvironment environment("TMPDIR", folder.NativePath().string());
  const fs::path own = folder.NativePath("tessaly-studio-" + std::to_string(geteuid()));
  EXPECT_EQ(NativePath("c:\\Temp\\x"), own / "x");
  EXPECT_EQ(NativePath("C:\\TEMP"), own);
}

// What no result shows: what is flushed to the disk, and in which order.
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
