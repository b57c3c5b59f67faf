#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/paths.h"
#include "posix/posix_files.h"
#include "support/failing_files.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

int CountOf(int code, const std::vector<int>& codes) {
  return static_cast<int>(std::count(codes.begin(), codes.end(), code));
}

class FilesContract : public testing::TestWithParam<bool> {
 protected:
  int WriteFile(const std::string& path, std::string_view contents) {
    std::unique_ptr<FileWriter> writer;
    if (const int code = files.OpenForWriting(path, writer); code != 0) return code;
    const int code = writer->Write(contents), closing = writer->Close();
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

TEST_P(FilesContract, GivesTheCodes) {
  const std::string file = folder.Write("file", "12345"), inner = folder.Write("dir\\inner", "x");
  const std::string other = folder.CorePath("other"), missing = folder.CorePath("missing");
  std::int64_t length = 0;
  std::unique_ptr<FileReader> reader;
  std::unique_ptr<FileWriter> writer;
  const auto calls = [&](const std::string& path) {
    return std::vector<int>{files.Delete(path),         files.Rename(path, other),          files.Copy(path, other),
                            files.Length(path, length), files.OpenForReading(path, reader), files.MakeFolder(path),
                            files.Append(path, "x"),    files.OpenForWriting(path, writer), files.Copy(inner, path)};
  };
  for (const std::string& path : {folder.CorePath("no\\missing"), folder.CorePath("file\\below"),
                                  std::string("f:\\file"), folder.CorePath("file") + std::string(1, '\0')}) {
    EXPECT_EQ(calls(path), std::vector<int>(9, kPathNotFound)) << path;
  }
  EXPECT_EQ(calls(folder.CorePath(std::string(300, 'n'))), std::vector<int>(9, kNameTooLong));
  EXPECT_EQ(calls(missing), (std::vector<int>{2, 2, 2, 2, 2, 0, 5, 5, 5}));
  EXPECT_EQ(calls(folder.CorePath("DIR")), (std::vector<int>{5, 0, 2, 2, 2, 0, 5, 5, 2}));
  EXPECT_EQ(files.MakeFolder(other), kAlreadyExists);
  EXPECT_EQ(CountOf(kAccessDenied,
                    {files.Length(other, length), files.OpenForReading(other, reader), files.Copy(other, missing)}),
            3);
  EXPECT_EQ(folder.Read("other\\inner"), "x");
  EXPECT_EQ(files.Length(folder.CorePath("FILE"), length), 0);
  EXPECT_EQ(length, 5);
}

TEST_P(FilesContract, TakesWildcardsForPlainLettersOutsideFind) {
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

TEST_P(FilesContract, WritesAndReads) {
  const std::string path = folder.Write("file", "0123456789");
  std::unique_ptr<FileWriter> writer;
  ASSERT_EQ(files.OpenForWriting(path, writer), 0);
  EXPECT_EQ(writer->Write("ab"), 0);
  writer.reset();
  EXPECT_EQ(folder.Read("file"), "0123456789");  // what wasn't closed is dropped
  EXPECT_EQ(WriteFile(path, "ab"), 0);
  EXPECT_EQ(files.Append(path, "\r\n"), 0);
  EXPECT_EQ(folder.Read("file"), "ab23456789\r\n");

  std::string expected;
  ASSERT_EQ(files.OpenForWriting(folder.CorePath("big"), writer), 0);
  for (const std::size_t size : {1u, 65'535u, 1u, 200'000u, 65'536u, 7u}) {
    const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
    EXPECT_EQ(writer->Write(piece), 0);
    expected += piece;
  }
  EXPECT_EQ(writer->Close(), 0);
  EXPECT_EQ(writer->Close(), kInvalidHandle);
  EXPECT_EQ(writer->Write("x"), kInvalidHandle);

  std::unique_ptr<FileReader> reader;
  ASSERT_EQ(files.OpenForReading(folder.CorePath("BIG"), reader), 0);
  std::string contents, chunk(8192, '\0');
  for (std::size_t got = 1; got > 0; contents.append(chunk, 0, got)) ASSERT_EQ(reader->Read(chunk, got), 0);
  EXPECT_TRUE(contents == expected);
}

// A limit on the size of files stands in for a full disk.
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
}

TEST_P(FilesContract, ReportsMissingRights) {
  const std::string file = folder.Write("file", "x");
  fs::permissions(folder.NativePath(), fs::perms(0555));
  fs::permissions(folder.NativePath("file"), fs::perms(0));
  const auto refusals = [&] {
    std::unique_ptr<FileReader> reader;
    return CountOf(kAccessDenied, {files.Delete(file), files.Append(file, "x"), files.OpenForReading(file, reader),
                                   files.MakeFolder(folder.CorePath("sub")), files.Rename(file, folder.CorePath("new")),
                                   WriteFile(folder.CorePath("new"), "x")});
  };
  EXPECT_EQ(AsOrdinaryUser(refusals), 6);
  fs::permissions(folder.NativePath(), fs::perms(0755));
}

INSTANTIATE_TEST_SUITE_P(PosixAndForwarded, FilesContract, testing::Bool());

TEST(Paths, FindsNamesInOtherCapitals) {
  const TempFolder folder;
  folder.Write("Ärger\\Both.txt", "");
  folder.Write("Ärger\\bOTH.txt", "");
  const std::pair<const char*, const char*> cases[] = {
      {"äRGER\\bOTH.txt",      "Ärger/bOTH.txt"    },
      {"äRGER\\BOTH.TXT",      "Ärger/Both.txt"    }, // of two that fit always the same one
      {"ärger\\new\\FILE.txt", "Ärger/new/FILE.txt"},
      {"Ärger\\..\\äRGER",    "Ärger/../Ärger"   },
      {"missing\\ärger",       "missing/ärger"     },
  };
  for (const auto& [core, native] : cases) EXPECT_EQ(NativePath(folder.CorePath(core)), folder.NativePath(native));
}

TEST(Paths, DriveLettersNameNothingButTheFolderForTemporaryFiles) {
  const TempFolder folder;
  for (const std::string& path : {std::string("f:\\new"), std::string("C:\\TEMPER"), std::string("\\tmp\\a\0b", 8)}) {
    EXPECT_EQ(mkdir(NativePath(path).c_str(), 0777), -1) << path;
  }
  const ScopedEnvironment environment("TMPDIR", folder.NativePath().string());
  EXPECT_EQ(NativePath("c:\\Temp\\x"), folder.NativePath("x"));
  EXPECT_EQ(NativePath("C:\\TEMP"), folder.NativePath());
  const ScopedEnvironment broken("TMPDIR", "/no/such/folder");
  EXPECT_EQ(NativePath("C:\\TEMP\\new"), "/tmp/new");
}

}  // namespace
}  // namespace tsly
