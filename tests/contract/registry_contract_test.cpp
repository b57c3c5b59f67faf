// What every backend of the settings registry has to keep (ports/registry.h).
#include <gtest/gtest.h>

#include "contract/registry_helpers.h"
#include "posix/sqlite_registry.h"
#include "support/memory_registry.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

struct SqliteBackend {
  TempFolder folder;
  SqliteRegistry registry{folder.NativePath("a\\user.sqlite"), folder.NativePath("b\\machine.sqlite")};
};

struct MemoryBackend {
  MemoryRegistry registry;
};

template <typename Backend>
struct RegistryContract : ::testing::Test {
  Backend backend;
  RegistryEditor& registry = backend.registry;
};

using Backends = ::testing::Types<SqliteBackend, MemoryBackend>;
TYPED_TEST_SUITE(RegistryContract, Backends);

TYPED_TEST(RegistryContract, KeepsTypeAndDataOfAValue) {
  const std::string cases[] = {std::string("text\0", 5), std::string("\0\1\377\0\0", 5), "",
                               std::string(1 << 20, '\7') + std::string(3, '\0')};
  for (const RegKey root : {kCurrentUser, kLocalMachine, kClassesRoot}) {
    const RegKey key = Made(this->registry, root, "Data\\" + std::to_string(root));
    for (const std::uint32_t type : {kRegSz, kRegDword, 0xFFFFFFFFu}) {
      for (const auto& data : cases) {
        ASSERT_EQ(this->registry.Set(key, "v", type, data), kSuccess);
        std::uint32_t kept = 0, size = 0;
        EXPECT_EQ(this->registry.Query(key, "v", kept, {}, size), kSuccess);
        EXPECT_EQ(kept, type);
        EXPECT_TRUE(Get(this->registry, key, "", "v") == data) << data.size();
      }
    }
    EXPECT_EQ(List(this->registry, root, "data"), "[" + std::to_string(root) + "]") << "roots stand apart";
  }
}

TYPED_TEST(RegistryContract, TellsTypeAndSizeAndFillsOnlyABufferThatIsLargeEnough) {
  ASSERT_EQ(Set(this->registry, kCurrentUser, "K", "v", "abcd", kRegBinary), kSuccess);
  const RegKey key = Opened(this->registry, kCurrentUser, "K");
  struct Case {
    std::size_t buffer;
    int code;
    std::string content;
  };
  for (const Case& c : {
           Case{0, kSuccess,  ""      },
           {3, kMoreData, "###"   },
           {4, kSuccess,  "abcd"  },
           {6, kSuccess,  "abcd##"}
  }) {
    std::string buffer(c.buffer, '#');
    std::uint32_t type = 0, size = 0;
    EXPECT_EQ(this->registry.Query(key, "V", type, buffer, size), c.code) << c.buffer;
    EXPECT_EQ(type, kRegBinary);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(buffer, c.content);
  }
  std::string buffer = "##";
  std::uint32_t type = 77, size = 88;
  EXPECT_EQ(this->registry.Query(key, "other", type, buffer, size), kFileNotFound);
  EXPECT_EQ(std::to_string(type) + std::to_string(size) + buffer, "7788##");
}

TYPED_TEST(RegistryContract, ComparesWithoutRegardToCaseAndKeepsTheFirstWriting) {
  ASSERT_EQ(Set(this->registry, kCurrentUser, "Ünïted\\ЖУРНАЛ", "Größe Ä", "1"), kSuccess);
  RegKey key = 0;
  bool created = true;
  ASSERT_EQ(this->registry.Create(kCurrentUser, "üNÏTED\\журнал", key, created), kSuccess);
  EXPECT_FALSE(created);
  ASSERT_EQ(this->registry.Set(key, "GRößE ä", kRegSz, std::string("2")), kSuccess);
  EXPECT_EQ(List(this->registry, kCurrentUser, ""), "[Ünïted]");
  EXPECT_EQ(List(this->registry, kCurrentUser, "ünïted"), "[ЖУРНАЛ]");
  EXPECT_EQ(List(this->registry, key, ""), "'Größe Ä'");
  EXPECT_EQ(Get(this->registry, key, "", "größe Ä"), "2");
  EXPECT_EQ(Get(this->registry, key, "", "grösse ä"), "-");
}

TYPED_TEST(RegistryContract, CreateMakesWhatIsMissingAndOpenMakesNothing) {
  RegKey key = 77;
  bool created = false;
  EXPECT_EQ(this->registry.Open(kCurrentUser, "A\\B", key), kFileNotFound);
  EXPECT_EQ(key, 77u);
  ASSERT_EQ(this->registry.Create(kCurrentUser, "A\\B\\C", key, created), kSuccess);
  EXPECT_TRUE(created);
  EXPECT_NE(Made(this->registry, key, "D"), 0u);
  ASSERT_EQ(this->registry.Create(kCurrentUser, "A\\B", key, created), kSuccess);
  EXPECT_FALSE(created) << "only the last part counts";
  for (const char* path : {"a", "A\\b", "A\\B\\C", "A\\B\\C\\D", ""}) {
    EXPECT_NE(Opened(this->registry, kCurrentUser, path), 0u) << path;
  }
  EXPECT_EQ(List(this->registry, kLocalMachine, "A"), "-");
  EXPECT_EQ(List(this->registry, Opened(this->registry, kCurrentUser, "A"), "C"), "-");
}

TYPED_TEST(RegistryContract, RefusesPathsAndNamesThatCannotBe) {
  const std::string longest(kRegMaxPartLength, 'p'), name(kRegMaxNameLength, 'n');
  for (const std::string& path : {std::string("\\A"), std::string("A\\"), std::string("A\\\\B"), std::string("\\"),
                                  std::string("A\0B", 3), longest + "p"}) {
    RegKey key = 77;
    bool created = true;
    EXPECT_EQ(this->registry.Open(kCurrentUser, path, key), kInvalidParameter) << path;
    EXPECT_EQ(this->registry.Create(kCurrentUser, path, key, created), kInvalidParameter) << path;
    EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, path), kInvalidParameter) << path;
    EXPECT_EQ(key, 77u);
  }
  EXPECT_EQ(Set(this->registry, kCurrentUser, longest + "\\" + longest, name, ""), kSuccess);
  EXPECT_EQ(Set(this->registry, kCurrentUser, "K", name + "n", ""), kInvalidParameter);
  EXPECT_EQ(Set(this->registry, kCurrentUser, "K", std::string("a\0b", 3), ""), kInvalidParameter);
}

TYPED_TEST(RegistryContract, EnumeratesEveryNameOnceInAnOrderThatHolds) {
  for (const char* name : {"b", "", "C", "a", "ä"}) {
    ASSERT_EQ(Set(this->registry, kCurrentUser, "K\\Values", name, ""), kSuccess);
  }
  for (const char* path : {"K\\b\\inner", "K\\A", "K\\c", "K]", "K[", "Kind", "K\\Ä"}) {
    ASSERT_NE(Made(this->registry, kCurrentUser, path), 0u);
  }
  EXPECT_EQ(List(this->registry, kCurrentUser, "K"), "[A][b][c][Values][Ä]");
  const std::string values = List(this->registry, kCurrentUser, "K\\Values");
  EXPECT_EQ(values.size(), std::string("'''C''a''b''ä'").size());
  for (const char* name : {"'b'", "''", "'C'", "'a'", "'ä'"}) EXPECT_NE(values.find(name), std::string::npos) << name;
  EXPECT_EQ(List(this->registry, kCurrentUser, "K\\Values"), values);

  ASSERT_EQ(Set(this->registry, kCurrentUser, "One", "four", ""), kSuccess);
  const RegKey one = Opened(this->registry, kCurrentUser, "One");
  std::string buffer = "######";
  std::uint32_t length = 77;
  EXPECT_EQ(this->registry.Enumerate(one, 0, std::span(buffer).first(4), length), kMoreData);
  EXPECT_EQ(this->registry.Enumerate(one, 1, buffer, length), kNoMoreItems);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(this->registry.Enumerate(one, 0, std::span(buffer).first(5), length), kSuccess);
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(buffer, std::string("four\0#", 6));
}

TYPED_TEST(RegistryContract, HandlesOpenedForReadingWriteNothing) {
  ASSERT_EQ(Set(this->registry, kCurrentUser, "K\\Below", "v", "1"), kSuccess);
  const RegKey key = Opened(this->registry, kCurrentUser, "K\\Below");
  EXPECT_EQ(this->registry.Set(key, "v", kRegSz, std::string("2")), kAccessDenied);
  EXPECT_EQ(this->registry.DeleteValue(key, "v"), kAccessDenied);
  EXPECT_EQ(this->registry.DeleteTree(Opened(this->registry, kCurrentUser, "K"), "Below"), kAccessDenied);
  EXPECT_EQ(Get(this->registry, kCurrentUser, "K\\Below", "v"), "1");
}

TYPED_TEST(RegistryContract, ClosedAndUnknownHandlesAreRefused) {
  const RegKey closed = Made(this->registry, kCurrentUser, "K");
  EXPECT_EQ(this->registry.Close(closed), kSuccess);
  std::string buffer(9, '#');
  std::uint32_t number = 0;
  bool created = false;
  for (const RegKey key : {closed, RegKey{0}, RegKey{0x80000003}, RegKey{0xFFFFFFFFFF}}) {
    RegKey other = 0;
    const int codes[] = {this->registry.Close(key),
                         this->registry.Open(key, "", other),
                         this->registry.Create(key, "A", other, created),
                         this->registry.Query(key, "v", number, buffer, number),
                         this->registry.Set(key, "v", kRegSz, {}),
                         this->registry.Enumerate(key, 0, buffer, number),
                         this->registry.EnumerateKeys(key, 0, buffer),
                         this->registry.DeleteValue(key, "v"),
                         this->registry.DeleteTree(key, "A")};
    for (const int code : codes) EXPECT_EQ(code, kInvalidHandle) << key;
  }
  for (const RegKey root : {kClassesRoot, kCurrentUser, kLocalMachine}) {
    EXPECT_EQ(this->registry.Close(root), kSuccess);
    EXPECT_EQ(this->registry.Close(Opened(this->registry, root, "")), kSuccess) << "still open";
    RegKey key = 77;
    EXPECT_EQ(this->registry.Connect("\\\\elsewhere", root, key), kBadNetworkPath);
    EXPECT_EQ(key, 77u);
  }
}

TYPED_TEST(RegistryContract, RemovesValuesAndWholeTrees) {
  for (const char* path : {"A\\B\\C", "A\\Bee", "A\\B]", "A\\B [1]"}) {
    ASSERT_EQ(Set(this->registry, kCurrentUser, path, "v", ""), kSuccess);
  }
  const RegKey key = Made(this->registry, kCurrentUser, "A\\B\\C");
  EXPECT_EQ(this->registry.DeleteValue(key, "V"), kSuccess);
  EXPECT_EQ(this->registry.DeleteValue(key, "v"), kFileNotFound);
  EXPECT_EQ(Get(this->registry, key, "", "v"), "-");
  ASSERT_EQ(this->registry.Set(key, "again", kRegSz, {}), kSuccess);

  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, "a\\b"), kSuccess);
  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, "a\\b"), kFileNotFound);
  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, ""), kInvalidParameter);
  EXPECT_EQ(List(this->registry, kCurrentUser, "A"), "[B [1]][B]][Bee]");
  for (const char* path : {"A\\B]", "A\\Bee"}) EXPECT_EQ(List(this->registry, kCurrentUser, path), "'v'") << path;
  std::uint32_t number = 0;
  std::string buffer(9, '#');
  EXPECT_EQ(this->registry.Set(key, "v", kRegSz, {}), kKeyDeleted) << "a removed key takes nothing";
  EXPECT_EQ(this->registry.Query(key, "again", number, {}, number), kFileNotFound);
  EXPECT_EQ(this->registry.Enumerate(key, 0, buffer, number), kNoMoreItems);
  ASSERT_NE(Made(this->registry, kCurrentUser, "A\\B\\C"), 0u);
  EXPECT_EQ(List(this->registry, kCurrentUser, "A\\B\\C"), "") << "nothing comes back";
}

}  // namespace
}  // namespace tsly
