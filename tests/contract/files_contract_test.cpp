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
class FilesContract : public testing::TestWithParam<bool> {
 protected:
  int WriteFile(const std::string& path, std::string_view contents) {
    std::unique_ptr<FileWriter> writer;
    if (const int code = files.OpenForWriting(path, writer); code != 0) return code;
    const int code = writer->Write(contents);
    const int closing = writer->Close();
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
  const struct {
    const char* pattern;
    int code;
    const char* names;
  } cases[] = {
      {"*",            0,             all                          },
      {"*.*",          0,             all                          },
      {"*.txt",        0,             "B.TXT|a.txt|link.txt"       },
      {"?.TXT",        0,             "B.TXT|a.txt"                },
      {"*b*",          0,             "B.TXT|ab.txt.bak|Übung.ini"},
      {"NOEXT.*",      0,             "noext"                      },
      {"üBUNG.ini",   0,             "Übung.ini"                 },
      {"?bung.ini",    0,             "Übung.ini"                 },
      {"A.txt",        0,             "a.txt"                      },
      {"SUB\\*",       0,             "x"                          },
      {"Sub",          kFileNotFound, ""                           },
      {"pipe.txt",     kFileNotFound, ""                           },
      {"dangling.txt", kFileNotFound, ""                           },
      {"*.zip",        kFileNotFound, ""                           },
      {"",             kFileNotFound, ""                           },
      {"no\\a.txt",    kPathNotFound, ""                           },
      {"no\\*",        kPathNotFound, ""                           },
      {"a.txt\\*",     kPathNotFound, ""                           },
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    std::vector<std::string> names = {"left over"};
    EXPECT_EQ(files.Find(folder.CorePath() + "\\" + c.pattern, names), c.code);
    EXPECT_EQ(names, Split(c.names, "|"));
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
  EXPECT_EQ(files.Length(other, length), kAccessDenied);
  EXPECT_EQ(files.OpenForReading(other, reader), kAccessDenied);
  EXPECT_EQ(files.Copy(other, missing), kAccessDenied);
  EXPECT_EQ(folder.Read("other\\inner"), "x");
  EXPECT_EQ(files.Length(folder.CorePath("FILE"), length), 0);
  EXPECT_EQ(length, 5);
}

TEST_P(FilesContract, TakesWildcardsForPlainLettersOutsideFind) {
  const std::string star = folder.CorePath("a*?");
  folder.Write("abc", "keep");
  EXPECT_EQ(files.Delete(star), kFileNotFound);
  EXPECT_EQ(files.Copy(star, folder.CorePath("copy")), kFileNotFound);
  EXPECT_EQ(files.Rename(star, folder.CorePath("copy")), kFileNotFound);
  EXPECT_EQ(files.Copy(folder.CorePath("abc"), star), 0);
  EXPECT_EQ(files.Delete(star), 0);
  EXPECT_EQ(folder.Read("abc"), "keep");
}

TEST_P(FilesContract, RenamesWithoutReplacing) {
  const std::string from = folder.Write("from.txt", "new"), to = folder.Write("to.txt", "old");
  EXPECT_EQ(files.Rename(from, to), kAlreadyExists);
  EXPECT_EQ(folder.Read("to.txt"), "old");
  EXPECT_EQ(files.Rename(from, folder.CorePath("TO.TXT")), kAlreadyExists);
  EXPECT_EQ(files.Rename(from, folder.CorePath("no\\to.txt")), kPathNotFound);
  EXPECT_EQ(files.Rename(from, folder.CorePath("From.txt")), 0);
  EXPECT_EQ(folder.Read("From.txt"), "new");
  EXPECT_FALSE(folder.Has("from.txt"));
}

TEST_P(FilesContract, ReportsARenameAcrossFileSystems) {
  struct stat here {
  }, there{};
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
  EXPECT_EQ(AsOrdinaryUser([&] {
              signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{4096, 4096};
              if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
              if (files.Copy(from, folder.CorePath("copy")) != kDiskFull) return 2;
              if (files.Append(folder.CorePath("log"), big) != kDiskFull) return 3;
              if (WriteFile(folder.CorePath("large"), big) != kDiskFull) return 4;
              return WriteFile(folder.CorePath("held"), big.substr(0, 5000)) == kDiskFull ? 0 : 5;
            }),
            0);
  EXPECT_FALSE(folder.Has("copy"));
}

TEST_P(FilesContract, ReportsMissingRights) {
  const std::string file = folder.Write("file", "x");
  fs::permissions(folder.NativePath(), fs::perms(0555));
  fs::permissions(folder.NativePath("file"), fs::perms(0));
  EXPECT_EQ(AsOrdinaryUser([&] {
              std::unique_ptr<FileReader> reader;
              if (files.Delete(file) != kAccessDenied) return 1;
              if (files.Append(file, "x") != kAccessDenied) return 2;
              if (files.OpenForReading(file, reader) != kAccessDenied) return 3;
              if (files.Rename(file, folder.CorePath("new")) != kAccessDenied) return 4;
              if (files.MakeFolder(folder.CorePath("sub")) != kAccessDenied) return 5;
              return WriteFile(folder.CorePath("new"), "x") == kAccessDenied ? 0 : 6;
            }),
            0);
  fs::permissions(folder.NativePath(), fs::perms(0755));
}

INSTANTIATE_TEST_SUITE_P(PosixAndForwarded, FilesContract, testing::Bool());

TEST(FailingFiles, FailsWhatATestNames) {
  const TempFolder folder;
  PosixFiles posix;
  FailingFiles files(posix);
  files.failures = {
      {FileCall::kMakeFolder, 2, kAccessDenied},
      {FileCall::kWrite,      0, kDiskFull    },
  };
  EXPECT_EQ(files.MakeFolder(folder.CorePath("1")), 0);
  EXPECT_EQ(files.MakeFolder(folder.CorePath("2")), kAccessDenied);
  EXPECT_EQ(files.MakeFolder(folder.CorePath("3")), 0);
  EXPECT_FALSE(folder.Has("2"));
  std::unique_ptr<FileWriter> writer;
  EXPECT_EQ(files.OpenForWriting(folder.CorePath("file"), writer), 0);
  EXPECT_EQ(writer->Write("x"), kDiskFull);
  EXPECT_EQ(writer->Close(), 0);
  EXPECT_EQ(files.calls[FileCall::kMakeFolder], 3);
}

TEST(Paths, FindsNamesInOtherCapitals) {
  const TempFolder folder;
  folder.Write("Ärger\\Both.txt", "");
  folder.Write("Ärger\\bOTH.txt", "");
  const struct {
    const char* core;
    const char* native;
  } cases[] = {
      {"äRGER\\bOTH.txt",      "Ärger/bOTH.txt"    },
      {"äRGER\\BOTH.TXT",      "Ärger/Both.txt"    }, // of two that fit always the same one
      {"ärger\\new\\FILE.txt", "Ärger/new/FILE.txt"},
      {"Ärger\\..\\äRGER",    "Ärger/../Ärger"   },
      {"missing\\ärger",       "missing/ärger"     },
  };
  for (const auto& c : cases) EXPECT_EQ(NativePath(folder.CorePath(c.core)), folder.NativePath(c.native)) << c.core;
}

TEST(Paths, DriveLettersNameNothingButTheFolderForTemporaryFiles) {
  const TempFolder folder;
  EXPECT_EQ(mkdir(NativePath("f:\\new").c_str(), 0777), -1);
  EXPECT_EQ(mkdir(NativePath("C:\\TEMPER").c_str(), 0777), -1);
  EXPECT_EQ(mkdir(NativePath(std::string("\\tmp\\a\0b", 8)).c_str(), 0777), -1);
  const ScopedEnvironment environment("TMPDIR", folder.NativePath().string());
  EXPECT_EQ(NativePath("c:\\Temp\\x"), folder.NativePath("x"));
  EXPECT_EQ(NativePath("C:\\TEMP"), folder.NativePath());
  const ScopedEnvironment broken("TMPDIR", "/no/such/folder");
  EXPECT_EQ(NativePath("C:\\TEMP\\new"), "/tmp/new");
}

}  // namespace
}  // namespace tsly
