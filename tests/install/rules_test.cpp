// The rules of the installation: path macros and checksums.
#include <gtest/gtest.h>

#include "base/runtime_error.h"
#include "install/cCRC32.h"
#include "install/path_macros.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

TEST(PathMacros, Expand) {
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"",                       "",                         true },
      {"x.exe",                  "x.exe",                    true },
      {"{app}setup.exe",         "\\opt\\app\\setup.exe",    true },
      {"{app}\\setup.exe",       "\\opt\\app\\setup.exe",    true },
      {"{APP}{app}",             "\\opt\\app\\\\opt\\app\\", true },
      {"\"{current}x y\" /q",    "\"\\tmp\\packs\\x y\" /q", true },
      {"{CommonAppData}\\Cards", "\\var\\Cards",             true },
      {"{windows}\\x.exe",       "{windows}\\x.exe",         false},
      {"{current}\\x}",          "\\tmp\\packs\\x}",         false},
      {"{",                      "{",                        false},
  };
  for (const auto& [path, wanted, whole] : rows) {
    std::string expanded = "before";
    EXPECT_EQ(ExpandMacros(path, {"\\tmp\\packs\\a.zip", "\\opt\\app", "\\var\\"}, expanded), whole);
    EXPECT_EQ(expanded, wanted);
  }
  for (const std::string pack : {"pack.zip", "\\pack.zip"}) {
    std::string expanded;
    ExpandMacros("{current}", {pack, "", ""}, expanded);
    EXPECT_EQ(expanded, pack + "\\") << "a document without a folder counts as one";
  }
}

class ChecksumTest : public testing::Test {
 protected:
  HeadlessApp app{"", 1};
  cCRC32 checksum{app.files, app.loop};

  // Bit by bit, without a table.
  static std::int32_t Slowly(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
      crc ^= static_cast<unsigned char>(c);
      for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return static_cast<std::int32_t>(~crc);
  }
};

TEST_F(ChecksumTest, FilesOfAllLengths) {
  EXPECT_EQ(checksum.GetFileCrc32(app.folder.Write("nine", "123456789")), static_cast<std::int32_t>(0xCBF43926));
  EXPECT_EQ(checksum.GetFileCrc32(app.folder.Write("empty", "")), 0);
  EXPECT_EQ(checksum.GetFileCrc32(app.folder.CorePath("missing")), 0);
  EXPECT_EQ(checksum.GetFileCrc32(app.folder.CorePath("app")), 0) << "a folder";
  for (const std::size_t length : {1u, 8191u, 8192u, 8193u, 16384u}) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
    EXPECT_EQ(checksum.GetFileCrc32(app.folder.Write("data", bytes)), Slowly(bytes)) << length;
  }
}

TEST_F(ChecksumTest, EventsRunWhileAFileIsRead) {
  // Each event posts the next, so every byte processes one.
  int events = 0;
  std::function<void()> event = [&] {
    ++events;
    app.loop.Post(event);
  };
  app.loop.Post(event);
  checksum.GetFileCrc32(app.folder.Write("data", std::string(100, 'x')));
  EXPECT_EQ(events, 101) << "once before the chunk and once before each byte";
}

TEST_F(ChecksumTest, AFileThatCannotBeReadMatchesNothing) {
  const std::string file = app.folder.Write("nine", "123456789");
  for (const FileCall call : {FileCall::kOpenForReading, FileCall::kRead}) {
    app.files.failures = std::vector(1, FailingFiles::Failure{call, 0, 5});
    const std::int32_t crc = checksum.GetFileCrc32(file);
    EXPECT_NE(crc, static_cast<std::int32_t>(0xCBF43926));
    EXPECT_NE(crc, 0) << "the value of a missing checksum";

    // Zeros at the end of a pack could be mistaken for missing bytes.
    const std::string zeros = app.folder.Write("zeros", std::string(8194, '\0'));
    EXPECT_NE(checksum.GetFileCrc32(zeros), Slowly(std::string(8194, '\0')));
  }
}

TEST_F(ChecksumTest, ArraysAreLimitedToTheirIndexes) {
  const std::vector<std::uint8_t> bytes(32769, 1);
  EXPECT_EQ(checksum.GetByteArrayCrc32({}), 0);
  EXPECT_EQ(checksum.GetByteArrayCrc32(std::span(bytes).first(32768)), Slowly(std::string(32768, '\1')));
  try {
    checksum.GetByteArrayCrc32(bytes);
    FAIL() << "no overflow";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.number, kErrorOverflow);
  }
}

}  // namespace
}  // namespace tsly
