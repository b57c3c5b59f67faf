#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "base/text.h"
#include "edition.h"
#include "ports/system_codes.h"
#include "support/failing_files.h"
#include "support/ordinary_user.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string Unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escaped = text[i] == '\\';
    if (escaped) ++i;
    const auto letter = escaped ? "rnt0"sv.find(text.at(i)) : std::string::npos;
    if (escaped && text[i] == 'x') {
      plain += static_cast<char>(LeadingHex(text.substr(i + 1, 2)));
      i += 2;
    } else if (escaped && text[i] == '{') {
      plain.append(std::stoul(text.substr(i + 1)), 'x');
      i = text.find('}', i);
    } else {
      plain += letter != std::string::npos ? "\r\n\t\0"[letter] : text[i];
    }
  }
  return plain;
}

struct Argument {
  explicit Argument(const std::string& column) : is_null(column == "<null>"), text(Unescaped(column)) {}
  const char* get() const { return is_null ? nullptr : text.c_str(); }
  bool is_null;
  std::string text;
};

std::string Value(ProfileReader& reader, const std::string& file, const char* section = "s", const char* key = "k") {
  std::string buffer(200, '#');
  const auto length = reader.Read(section, key, "DEF", buffer, file);
  return buffer.substr(0, length);
}

// Waits until the files are old enough to be cached; until then every call reads them again.
void LetSettle(IniReader& reader, const std::vector<std::string>& files) {
  for (int before = -1; before != reader.ReadCount();) {
    before = reader.ReadCount();
    for (const std::string& file : files) Value(reader, file);
  }
}

struct ProfileContract : testing::Test {
  const TempFolder folder;
  IniReader reader;
};

TEST_F(ProfileContract, Cases) {
  std::ifstream lines(TSLY_SOURCE_DIR "/tests/contract/profile_cases.tsv");
  int cases = 0;
  for (std::string line; std::getline(lines, line); ++cases) {
    if (line.starts_with('#')) continue;
    SCOPED_TRACE(line.substr(0, 120));
    const auto column = Split(line, "\t");
    ASSERT_EQ(column.size(), 8u);
    const std::string file = folder.CorePath(column[0]);
    if (column[1] != "<none>") folder.Write(column[0], Unescaped(column[1]));
    const Argument section(column[2]), key(column[3]), fallback(column[4]);
    std::string buffer(std::stoul(column[5]), '#');
    const std::string written = Unescaped(column[7]);
    EXPECT_EQ(reader.Read(section.get(), key.get(), fallback.get(), buffer, file), std::stoul(column[6]));
    EXPECT_EQ(buffer, written + std::string(buffer.size() - written.size(), '#'));
  }
  EXPECT_GE(cases, 82);
}

TEST_F(ProfileContract, CodePages) {
  const std::tuple<std::uint32_t, std::string_view, const char*, const char*> cases[] = {
      {1252,  "[s]\nk=\xE9\x80\xA0"sv,                               "k",    "\u00E9\u20AC\u00A0"},
      {1252,  "[s]\nK\xC9Y=v"sv,                                     "kéy", "v"                 },
      {1252,  "[s]\nk=a\x81z"sv,                                     "k",    "a\uFFFDz"          },
      {1252,  "\xEF\xBB\xBF[s]\nk=v"sv,                              "k",    "DEF"               },
      {932,   "[s]\nk=\x83\x5C\\n\x81\x5B"sv,                        "k",    "ソ\\nー"         },
      {932,   "[s]\nk=a\x83\nl=w"sv,                                 "l",    "w"                 }, // a partial character
      {1251,  "[s]\n\xCA\xCB=\xE4\xE0"sv,                            "кл", "да"              },
      {1255,  "[s]\nk=\xE0"sv,                                       "k",    "א"                }, // a point could have followed
      {1258,  "[s]\nk=a\x81z"sv,                                     "k",    "a\uFFFDz"          },
      {65001, "\xEF\xBB\xBF[s]\nk=\xC3\xA9"sv,                       "k",    "é"                },
      {1252,  "\xFF\xFE[\0s\0]\0\n\0k\0=\0\x30\x04\n\0\0\xD8\n\0"sv, "k",    "а"                },
      {28605, "[s]\nk=\xA4\xE9"sv,                                   "k",    "€é"             },
      {20866, "[s]\nk=\xC4\xC1"sv,                                   "k",    "да"              },
      {21866, "[s]\nk=\xA4"sv,                                       "k",    "є"                },
      {28602, "[s]\nk=v\xE9"sv,                                      "k",    "v\uFFFD"           }, // not a published code page
      {64999, "[s]\nk=a\xC3\xA9z"sv,                                 "k",    "a\uFFFD\uFFFDz"    },
  };
  for (const auto& [code_page, file, key, value] : cases) {
    IniReader coded(code_page);
    EXPECT_EQ(Value(coded, folder.Write("x.ini", file), "s", key), value) << code_page;
  }
  std::string coded_text, text;
  for (int i = 0; i < 70000; ++i) coded_text += "\x83\x5C", text += "ソ";
  IniReader coded(932);
  std::string buffer(300000, '#');
  const auto length = coded.Read("s", "odd", "", buffer, folder.Write("x.ini", "[s]\nodd=" + coded_text));
  EXPECT_TRUE(buffer.substr(0, length) == text);
}

// From the system's allocator, or from the sanitizer's.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));
std::size_t AllocatedBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(ProfileContract, MemoryIsAtMostFourTimesTheFile) {
  const std::function<std::string(int)> lines[] = {
      [](int) { return "a=\n"; },
      [](int i) { return "[" + std::to_string(i) + "]\n"; },
      [](int i) { return i % 200 == 0 ? "[" + std::to_string(i) + "]\n" : static_cast<char>(i % 200 + 55) + "=\n"s; },
      [](int i) { return "k" + std::to_string(i) + "=" + std::to_string(i) + "\n"; },
      [](int i) { return i == 1 ? "k=" : std::string("x"); },
  };
  for (const auto& line : lines) {
    std::string text = "[s]\na=1\n";
    for (int i = 1; text.size() < 1'000'000; ++i) text += line(i);
    const std::string file = folder.Write("x.ini", text);
    const std::size_t before = AllocatedBytes();
    IniReader anew;
    EXPECT_EQ(Value(anew, file, "S", "A"), "1");
    EXPECT_LT(AllocatedBytes() - before, 4 * text.size()) << text.substr(0, 40);
    for (int i = 1; text.starts_with("[s]\na=1\nk1=") && i < 50000; i += 7) {
      ASSERT_EQ(Value(anew, file, "S", ("K" + std::to_string(i)).c_str()), std::to_string(i));
    }
  }
}

TEST_F(ProfileContract, PinnedFilesAreReadOnce) {
  const std::string file = folder.Write("x.ini", "[s]\nk=\xE9\n");
  IniReader coded(1252);
  SystemFiles real;
  FailingFiles files(real);
  std::shared_ptr<OpenFile> document;
  ASSERT_EQ(files.OpenForReading(file, document), 0);
  EXPECT_EQ(coded.Pin(file, document.get()), 0);
  folder.Write("x.ini", "[s]\nk=another\n");
  for (int i = 0; i < 9; ++i) Value(coded, folder.Write(std::to_string(i), "[s]\nk=v"));
  EXPECT_EQ(Value(coded, file), "é");
  EXPECT_EQ(Value(coded, folder.CorePath("X.ini")), "another");  // another spelling
  files.failures.push_back({FileCall::kRead, 0, kReadFault});
  EXPECT_EQ(coded.Pin(file, document.get()), kReadFault);
  EXPECT_EQ(Value(coded, file), "DEF");
  coded.Unpin(file);
  EXPECT_EQ(Value(coded, file), "another");
  EXPECT_EQ(coded.Pin(file, nullptr), 0);
  EXPECT_EQ(Value(coded, file), "DEF");
}

TEST_F(ProfileContract, ARewrittenFileIsReadAgain) {
  const std::string file = folder.Write("x.ini", "[s]\nk=00\n"), native = folder.NativePath("x.ini");
  for (int i = 10; i < 99; ++i) {
    folder.Write("x.ini", "[s]\nk=" + std::to_string(i) + "\n");
    ASSERT_EQ(Value(reader, file), std::to_string(i));
  }
  LetSettle(reader, {file});
  struct stat before {};
  ASSERT_EQ(stat(native.c_str(), &before), 0);
  folder.Write("x.ini", "[s]\nk=++\n");
  const timespec times[] = {before.st_atim, before.st_mtim};  // as a copying program may do
  ASSERT_EQ(utimensat(AT_FDCWD, native.c_str(), times, 0), 0);
  EXPECT_EQ(Value(reader, file), "++");
  std::filesystem::remove(native);
  EXPECT_EQ(Value(reader, file), "DEF");
}

// The next change could have the same stamp. A slow machine may need several attempts to be fast enough.
TEST_F(ProfileContract, ARecentFileIsNotCached) {
  int reads = 0;
  for (int attempt = 0; attempt < 100 && reads != 2; ++attempt) {
    IniReader anew;
    const std::string file = folder.Write("x.ini", "[s]\nk=v\n");
    for (int call = 0; call < 2; ++call) Value(anew, file);
    reads = anew.ReadCount();
  }
  EXPECT_EQ(reads, 2);
}

TEST_F(ProfileContract, CachesTheLastEightFiles) {
  std::vector<std::string> files;
  for (int i = 0; i < 9; ++i) files.push_back(folder.Write(std::to_string(i), "[s]\nk=" + std::to_string(i)));
  const std::string ninth = files.back();
  files.pop_back();
  LetSettle(reader, files);
  const int before = reader.ReadCount();
  EXPECT_EQ(Value(reader, files[0]), "0");
  EXPECT_EQ(Value(reader, ninth), "8");
  EXPECT_EQ(reader.ReadCount(), before + 1);
  for (const std::size_t i : {0u, 2u, 3u, 4u, 5u, 6u, 7u}) EXPECT_EQ(Value(reader, files[i]), std::to_string(i));
  EXPECT_EQ(reader.ReadCount(), before + 1);
  EXPECT_EQ(Value(reader, files[1]), "1");  // the least recently used one was dropped
  EXPECT_EQ(reader.ReadCount(), before + 2);
}

TEST_F(ProfileContract, UnreadableFilesCountAsMissing) {
  const std::string large = folder.Write("Large.ini", "[s]\nk=v\n"), small = folder.Write("small.ini", "[s]\nk=v\n");
  EXPECT_EQ(Value(reader, folder.CorePath("lARGE.INI")), "v");
  ASSERT_EQ(truncate(folder.NativePath("Large.ini").c_str(), (off_t{256} << 20) + 1), 0);
  ASSERT_EQ(mkfifo(folder.NativePath("pipe").c_str(), 0666), 0);
  for (const std::string& file :
       {folder.CorePath(), std::string("\\sys\\kernel\\uevent_seqnum"), folder.CorePath("no\\x.ini"),
        std::string("f:\\x.ini"), folder.CorePath("pipe"), large}) {
    EXPECT_EQ(Value(reader, file), "DEF") << file;
  }
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  IniReader anew;
  EXPECT_EQ(Value(anew, small), "DEF");  // only for this call
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(Value(anew, small), "v");
  const std::string secret = folder.Write("secret.ini", "[s]\nk=v\n");
  std::filesystem::permissions(folder.NativePath(), std::filesystem::perms(0755));
  std::filesystem::permissions(folder.NativePath("secret.ini"), std::filesystem::perms(0));
  EXPECT_EQ(AsOrdinaryUser([&] { return Value(reader, secret) == "DEF" ? 0 : 1; }), 0);
}

}  // namespace
}  // namespace tsly
