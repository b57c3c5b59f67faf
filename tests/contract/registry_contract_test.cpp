// What every backend of the settings registry has to keep (ports/registry.h).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "contract/registry_helpers.h"
#include "ports/system_codes.h"
#include "posix/sqlite_registry.h"
#include "support/memory_registry.h"

namespace tsly {
namespace {

struct SqliteBackend {
  TempFolder folder;
  SqliteRegistry registry{folder.path / "a/user.sqlite", folder.path / "b/machine.sqlite"};
};

struct MemoryBackend {
  MemoryRegistry registry;
};

template <typename Backend>
class RegistryContract : public ::testing::Test {
 protected:
  RegKey Make(RegKey root, const std::string& path) {
    RegKey key = 0;
    bool created = false;
    EXPECT_EQ(registry.Create(root, path, key, created), kSuccess) << path;
    return key;
  }
  RegKey Opened(RegKey root, const std::string& path) {
    RegKey key = 0;
    EXPECT_EQ(registry.Open(root, path, key), kSuccess) << path;
    return key;
  }
  std::vector<std::string> Names(RegKey key) {
    std::vector<std::string> names;
    std::string buffer(100, '#');
    std::uint32_t length = 0;
    while (registry.Enumerate(key, static_cast<std::uint32_t>(names.size()), buffer, length) == kSuccess) {
      EXPECT_EQ(buffer[length], '\0');
      names.push_back(buffer.substr(0, length));
    }
    return names;
  }
  std::vector<std::string> Keys(RegKey key) {
    std::vector<std::string> names;
    std::string name;
    while (registry.EnumerateKeys(key, static_cast<std::uint32_t>(names.size()), name) == kSuccess) {
      names.push_back(name);
    }
    return names;
  }

  Backend backend;
  RegistryEditor& registry = backend.registry;
};

using Backends = ::testing::Types<SqliteBackend, MemoryBackend>;
TYPED_TEST_SUITE(RegistryContract, Backends);

TYPED_TEST(RegistryContract, KeepsTypeAndDataOfAValue) {
  const std::string cases[] = {std::string("text\0", 5), std::string("\0\1\377\0\0", 5), "",
                               std::string(1 << 20, '\7') + std::string(3, '\0')};
  for (const RegKey root : {kCurrentUser, kLocalMachine, kClassesRoot}) {
    for (const std::uint32_t type : {kRegSz, kRegExpandSz, kRegBinary, kRegDword, 0xFFFFFFFFu}) {
      const RegKey key = this->Make(root, "Data\\" + std::to_string(type));
      for (const auto& data : cases) {
        ASSERT_EQ(this->registry.Set(key, "v", type, data), kSuccess);
        EXPECT_EQ(Read(this->registry, key, "v"), (Found{kSuccess, type, data}));
      }
    }
  }
  EXPECT_EQ(this->Keys(kCurrentUser), std::vector<std::string>{"Data"}) << "roots stand apart";
}

TYPED_TEST(RegistryContract, TellsTypeAndSizeAndFillsOnlyABufferThatIsLargeEnough) {
  const RegKey key = this->Make(kCurrentUser, "K");
  ASSERT_EQ(this->registry.Set(key, "v", kRegBinary, std::string("abcd")), kSuccess);
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
  EXPECT_EQ(type, 77u);
  EXPECT_EQ(size, 88u);
  EXPECT_EQ(buffer, "##");
}

TYPED_TEST(RegistryContract, ComparesWithoutRegardToCaseAndKeepsTheFirstWriting) {
  const RegKey key = this->Make(kCurrentUser, "Ünïted\\ЖУРНАЛ");
  ASSERT_EQ(this->registry.Set(key, "Größe Ä", kRegSz, std::string("1")), kSuccess);
  bool created = true;
  RegKey again = 0;
  ASSERT_EQ(this->registry.Create(kCurrentUser, "üNÏTED\\журнал", again, created), kSuccess);
  EXPECT_FALSE(created);
  ASSERT_EQ(this->registry.Set(again, "GRößE ä", kRegSz, std::string("2")), kSuccess);
  EXPECT_EQ(this->Names(key), std::vector<std::string>{"Größe Ä"});
  EXPECT_EQ(Read(this->registry, key, "gröSSe ä").code, kFileNotFound);
  EXPECT_EQ(Read(this->registry, key, "größe Ä").data, "2");
  EXPECT_EQ(this->Keys(kCurrentUser), std::vector<std::string>{"Ünïted"});
  EXPECT_EQ(this->Keys(this->Opened(kCurrentUser, "ünïted")), std::vector<std::string>{"ЖУРНАЛ"});
}

TYPED_TEST(RegistryContract, CreateMakesWhatIsMissingAndOpenMakesNothing) {
  RegKey key = 77;
  bool created = true;
  EXPECT_EQ(this->registry.Open(kCurrentUser, "A\\B", key), kFileNotFound);
  EXPECT_EQ(key, 77u);
  ASSERT_EQ(this->registry.Create(kCurrentUser, "A\\B\\C", key, created), kSuccess);
  EXPECT_TRUE(created);
  ASSERT_EQ(this->registry.Create(key, "D", key, created), kSuccess);
  EXPECT_TRUE(created);
  ASSERT_EQ(this->registry.Create(kCurrentUser, "A\\B", key, created), kSuccess);
  EXPECT_FALSE(created) << "only the last part counts";
  for (const char* path : {"a", "A\\b", "A\\B\\C", "A\\B\\C\\D", ""}) this->Opened(kCurrentUser, path);
  EXPECT_EQ(this->registry.Open(kLocalMachine, "A", key), kFileNotFound);
  EXPECT_EQ(this->registry.Open(this->Opened(kCurrentUser, "A"), "C", key), kFileNotFound);
}

TYPED_TEST(RegistryContract, RefusesPathsAndNamesThatCannotBe) {
  const std::string longest(kRegMaxPartLength, 'p');
  for (const auto& path : {std::string("\\A"), std::string("A\\"), std::string("A\\\\B"), std::string("\\"),
                           std::string("A\0B", 3), longest + "p"}) {
    RegKey key = 77;
    bool created = true;
    EXPECT_EQ(this->registry.Open(kCurrentUser, path, key), kInvalidParameter) << path;
    EXPECT_EQ(this->registry.Create(kCurrentUser, path, key, created), kInvalidParameter) << path;
    EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, path), kInvalidParameter) << path;
    EXPECT_EQ(key, 77u);
  }
  const RegKey key = this->Make(kCurrentUser, longest + "\\" + longest);
  const std::string name(kRegMaxNameLength, 'n');
  EXPECT_EQ(this->registry.Set(key, name, kRegSz, {}), kSuccess);
  EXPECT_EQ(this->registry.Set(key, name + "n", kRegSz, {}), kInvalidParameter);
  EXPECT_EQ(this->registry.Set(key, std::string("a\0b", 3), kRegSz, {}), kInvalidParameter);
}

TYPED_TEST(RegistryContract, EnumeratesEveryNameOnceInAnOrderThatHolds) {
  const RegKey key = this->Make(kCurrentUser, "K");
  for (const char* name : {"b", "", "C", "a", "ä"}) ASSERT_EQ(this->registry.Set(key, name, kRegSz, {}), kSuccess);
  auto names = this->Names(key);
  EXPECT_EQ(this->Names(this->Opened(kCurrentUser, "K")), names);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"", "C", "a", "b", "ä"}));

  const RegKey one = this->Make(kCurrentUser, "One");
  ASSERT_EQ(this->registry.Set(one, "four", kRegSz, {}), kSuccess);
  std::string buffer = "#####";
  std::uint32_t length = 77;
  EXPECT_EQ(this->registry.Enumerate(one, 0, std::span(buffer).first(4), length), kMoreData);
  EXPECT_EQ(this->registry.Enumerate(one, 1, buffer, length), kNoMoreItems);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(this->registry.Enumerate(one, 0, buffer, length), kSuccess);
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(buffer, std::string("four\0", 5));
  EXPECT_EQ(this->registry.Enumerate(this->Make(kCurrentUser, "Empty"), 0, buffer, length), kNoMoreItems);
}

TYPED_TEST(RegistryContract, ListsTheSubkeysOfAKeyAloneInAlphabeticalOrder) {
  for (const char* path : {"K\\b\\inner", "K\\A", "K\\c", "K]", "K[", "Kind", "K\\Ä"}) this->Make(kCurrentUser, path);
  EXPECT_EQ(this->Keys(this->Opened(kCurrentUser, "K")), (std::vector<std::string>{"A", "b", "c", "Ä"}));
}

TYPED_TEST(RegistryContract, HandlesOpenedForReadingWriteNothing) {
  const RegKey written = this->Make(kCurrentUser, "K\\Below");
  ASSERT_EQ(this->registry.Set(written, "v", kRegSz, std::string("1")), kSuccess);
  const RegKey key = this->Opened(kCurrentUser, "K\\Below");
  EXPECT_EQ(this->registry.Set(key, "v", kRegSz, std::string("2")), kAccessDenied);
  EXPECT_EQ(this->registry.DeleteValue(key, "v"), kAccessDenied);
  EXPECT_EQ(this->registry.DeleteTree(this->Opened(kCurrentUser, "K"), "Below"), kAccessDenied);
  EXPECT_EQ(Read(this->registry, key, "v").data, "1");
}

TYPED_TEST(RegistryContract, ClosedAndUnknownHandlesAreRefused) {
  const RegKey closed = this->Make(kCurrentUser, "K");
  const RegKey kept = this->Opened(kCurrentUser, "K");
  EXPECT_EQ(this->registry.Close(closed), kSuccess);
  std::string buffer(9, '#');
  std::uint32_t number = 0;
  bool created = false;
  for (RegKey key : {closed, RegKey{0}, RegKey{0x80000003}, RegKey{0xFFFFFFFFFF}}) {
    RegKey other = 0;
    EXPECT_EQ(this->registry.Close(key), kInvalidHandle);
    EXPECT_EQ(this->registry.Open(key, "", other), kInvalidHandle);
    EXPECT_EQ(this->registry.Create(key, "A", other, created), kInvalidHandle);
    EXPECT_EQ(this->registry.Query(key, "v", number, buffer, number), kInvalidHandle);
    EXPECT_EQ(this->registry.Set(key, "v", kRegSz, {}), kInvalidHandle);
    EXPECT_EQ(this->registry.Enumerate(key, 0, buffer, number), kInvalidHandle);
    EXPECT_EQ(this->registry.EnumerateKeys(key, 0, buffer), kInvalidHandle);
    EXPECT_EQ(this->registry.DeleteValue(key, "v"), kInvalidHandle);
    EXPECT_EQ(this->registry.DeleteTree(key, "A"), kInvalidHandle);
  }
  EXPECT_EQ(this->Names(kept).size(), 0u);
  EXPECT_EQ(this->registry.Close(kept), kSuccess);
  for (const RegKey root : {kClassesRoot, kCurrentUser, kLocalMachine}) {
    EXPECT_EQ(this->registry.Close(root), kSuccess);
    EXPECT_EQ(this->registry.Close(this->Opened(root, "")), kSuccess) << "still open";
  }
}

TYPED_TEST(RegistryContract, RemovesValuesAndWholeTrees) {
  for (const char* path : {"A\\B\\C", "A\\Bee", "A\\B]", "A\\B [1]"}) {
    ASSERT_EQ(this->registry.Set(this->Make(kCurrentUser, path), "v", kRegSz, {}), kSuccess);
  }
  const RegKey key = this->Make(kCurrentUser, "A\\B\\C");
  EXPECT_EQ(this->registry.DeleteValue(key, "V"), kSuccess);
  EXPECT_EQ(this->registry.DeleteValue(key, "v"), kFileNotFound);
  EXPECT_EQ(Read(this->registry, key, "v").code, kFileNotFound);
  ASSERT_EQ(this->registry.Set(key, "again", kRegSz, {}), kSuccess);

  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, "a\\b"), kSuccess);
  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, "a\\b"), kFileNotFound);
  EXPECT_EQ(this->registry.DeleteTree(kCurrentUser, ""), kInvalidParameter);
  const RegKey rest = this->Opened(kCurrentUser, "A");
  EXPECT_EQ(this->Keys(rest), (std::vector<std::string>{"B [1]", "B]", "Bee"}));
  for (const char* path : {"B]", "Bee"}) EXPECT_EQ(this->Names(this->Opened(rest, path)).size(), 1u) << path;

  EXPECT_EQ(this->registry.Set(key, "v", kRegSz, {}), kKeyDeleted) << "a removed key takes nothing";
  EXPECT_EQ(Read(this->registry, key, "again").code, kFileNotFound);
  EXPECT_EQ(this->Names(key).size(), 0u);
  EXPECT_EQ(this->Names(this->Make(kCurrentUser, "A\\B\\C")).size(), 0u) << "nothing comes back";
}

TYPED_TEST(RegistryContract, KnowsNoOtherComputer) {
  RegKey key = 77;
  EXPECT_EQ(this->registry.Connect("\\\\elsewhere", kLocalMachine, key), kBadNetworkPath);
  EXPECT_EQ(key, 77u);
}

}  // namespace
}  // namespace tsly
