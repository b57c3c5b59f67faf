// The contract of every backend of the settings registry (ports/registry.h).
#include <gtest/gtest.h>

#include "contract/registry_helpers.h"
#include "posix/sqlite_registry.h"
#include "support/memory_registry.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

class RegistryContract : public ::testing::TestWithParam<bool> {
 protected:
  TempFolder folder;
  SqliteRegistry sqlite{folder.NativePath("a\\user.sqlite"), folder.NativePath("b\\machine.sqlite")};
  MemoryRegistry memory;
  RegistryEditor& registry = GetParam() ? static_cast<RegistryEditor&>(sqlite) : memory;

  RegKey key = 77;
  bool created = true;
  std::uint32_t type = 77, length = 77;
  std::string buffer = "######";
};

INSTANTIATE_TEST_SUITE_P(SqliteAndMemory, RegistryContract, ::testing::Bool());

TEST_P(RegistryContract, KeepsTypeAndDataOfAValue) {
  const std::string cases[] = {std::string("text\0", 5), std::string("\0\1\377\0\0", 5), "",
                               std::string(1 << 20, '\7') + std::string(3, '\0')};
  for (const RegKey root : {kCurrentUser, kLocalMachine, kClassesRoot}) {
    key = Made(registry, root, "Data\\" + std::to_string(root));
    for (const std::uint32_t wanted : {kRegSz, kRegDword, 0xFFFFFFFFu}) {
      for (const auto& data : cases) {
        ASSERT_EQ(registry.Set(key, "v", wanted, data), kSuccess);
        EXPECT_EQ(registry.Query(key, "v", type, {}, length), kSuccess);
        EXPECT_EQ(type, wanted);
        EXPECT_TRUE(Get(registry, key, "", "v") == data) << data.size();
      }
    }
    EXPECT_EQ(List(registry, root, "data"), "[" + std::to_string(root) + "]") << "roots are separate";
  }
}

TEST_P(RegistryContract, ReportsTypeAndSizeAndFillsOnlyALargeEnoughBuffer) {
  ASSERT_EQ(Set(registry, kCurrentUser, "K", "v", "abcd", kRegBinary), kSuccess);
  key = Opened(registry, kCurrentUser, "K");
  EXPECT_EQ(registry.Query(key, "other", type, buffer, length), kFileNotFound);
  EXPECT_EQ(std::to_string(type) + std::to_string(length) + buffer, "7777######");
  const std::pair<int, std::string> cases[] = {
      {kSuccess,  ""      },
      {kMoreData, "###"   },
      {kSuccess,  "abcd"  },
      {kSuccess,  "abcd##"}
  };
  for (const auto& [code, content] : cases) {
    buffer.assign(content.size(), '#');
    type = length = 0;
    EXPECT_EQ(registry.Query(key, "V", type, buffer, length), code) << content;
    EXPECT_EQ(type, kRegBinary);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(buffer, content);
  }
}

TEST_P(RegistryContract, IgnoresCaseAndKeepsTheFirstSpelling) {
  ASSERT_EQ(Set(registry, kCurrentUser, "Ünïted\\ЖУРНАЛ", "Größe Ä", "1"), kSuccess);
  ASSERT_EQ(registry.Create(kCurrentUser, "üNÏTED\\журнал", key, created), kSuccess);
  EXPECT_FALSE(created);
  ASSERT_EQ(registry.Set(key, "GRößE ä", kRegSz, std::string("2")), kSuccess);
  EXPECT_EQ(List(registry, kCurrentUser, ""), "[Ünïted]");
  EXPECT_EQ(List(registry, kCurrentUser, "ünïted"), "[ЖУРНАЛ]");
  EXPECT_EQ(List(registry, key, ""), "'Größe Ä'");
  EXPECT_EQ(Get(registry, key, "", "größe Ä"), "2");
  EXPECT_EQ(Get(registry, key, "", "grösse ä"), "-");
}

TEST_P(RegistryContract, CreateAddsMissingKeysAndOpenAddsNone) {
  EXPECT_EQ(registry.Open(kCurrentUser, "A\\B", key), kFileNotFound);
  EXPECT_EQ(key, 77u);
  created = false;
  ASSERT_EQ(registry.Create(kCurrentUser, "A\\B\\C", key, created), kSuccess);
  EXPECT_TRUE(created);
  EXPECT_NE(Made(registry, key, "D"), 0u);
  ASSERT_EQ(registry.Create(kCurrentUser, "A\\B", key, created), kSuccess);
  EXPECT_FALSE(created) << "only the last part counts";
  for (const char* path : {"a", "A\\b", "A\\B\\C", "A\\B\\C\\D", ""}) {
    EXPECT_NE(Opened(registry, kCurrentUser, path), 0u) << path;
  }
  EXPECT_EQ(List(registry, kLocalMachine, "A"), "-");
  EXPECT_EQ(List(registry, Opened(registry, kCurrentUser, "A"), "C"), "-");
}

TEST_P(RegistryContract, RefusesInvalidPathsAndNames) {
  const std::string longest(kRegMaxPartLength, 'p'), name(kRegMaxNameLength, 'n'), with_zero("A\0B", 3);
  for (const std::string& path :
       {std::string("\\A"), std::string("A\\"), std::string("A\\\\B"), std::string("\\"), with_zero, longest + "p"}) {
    EXPECT_EQ(registry.Open(kCurrentUser, path, key), kInvalidParameter) << path;
    EXPECT_EQ(registry.Create(kCurrentUser, path, key, created), kInvalidParameter) << path;
    EXPECT_EQ(registry.DeleteTree(kCurrentUser, path), kInvalidParameter) << path;
    EXPECT_EQ(key, 77u);
  }
  EXPECT_EQ(Set(registry, kCurrentUser, longest + "\\" + longest, name, ""), kSuccess);
  EXPECT_EQ(Set(registry, kCurrentUser, "K", name + "n", ""), kInvalidParameter);
  EXPECT_EQ(Set(registry, kCurrentUser, "K", with_zero, ""), kInvalidParameter);
}

TEST_P(RegistryContract, EnumeratesEveryNameOnceInAStableOrder) {
  for (const char* name : {"b", "", "C", "a", "ä"}) EXPECT_EQ(Set(registry, kCurrentUser, "K\\Values", name, ""), 0);
  for (const char* path : {"K\\b\\inner", "K\\A", "K\\c", "K]", "K[", "Kind", "K\\Ä"}) {
    EXPECT_NE(Made(registry, kCurrentUser, path), 0u);
  }
  EXPECT_EQ(List(registry, kCurrentUser, "K"), "[A][b][c][Values][Ä]");
  const std::string values = List(registry, kCurrentUser, "K\\Values");
  EXPECT_EQ(values.size(), std::string("'''C''a''b''ä'").size());
  for (const char* name : {"'b'", "''", "'C'", "'a'", "'ä'"}) EXPECT_NE(values.find(name), std::string::npos) << name;
  EXPECT_EQ(List(registry, kCurrentUser, "K\\Values"), values);

  ASSERT_EQ(Set(registry, kCurrentUser, "One", "four", ""), kSuccess);
  const RegKey one = Opened(registry, kCurrentUser, "One");
  EXPECT_EQ(registry.Enumerate(one, 0, std::span(buffer).first(4), length), kMoreData);
  EXPECT_EQ(registry.Enumerate(one, 1, buffer, length), kNoMoreItems);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(registry.Enumerate(one, 0, std::span(buffer).first(5), length), kSuccess);
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(buffer, std::string("four\0#", 6));
}

TEST_P(RegistryContract, HandlesOpenedForReadingRefuseWrites) {
  ASSERT_EQ(Set(registry, kCurrentUser, "K\\Below", "v", "1"), kSuccess);
  key = Opened(registry, kCurrentUser, "K\\Below");
  EXPECT_EQ(registry.Set(key, "v", kRegSz, std::string("2")), kAccessDenied);
  EXPECT_EQ(registry.DeleteValue(key, "v"), kAccessDenied);
  EXPECT_EQ(registry.DeleteTree(Opened(registry, kCurrentUser, "K"), "Below"), kAccessDenied);
  EXPECT_EQ(Get(registry, kCurrentUser, "K\\Below", "v"), "1");
}

TEST_P(RegistryContract, ClosedAndUnknownHandlesAreRefused) {
  const RegKey closed = Made(registry, kCurrentUser, "K");
  EXPECT_EQ(registry.Close(closed), kSuccess);
  for (const RegKey wrong : {closed, RegKey{0}, RegKey{0x80000003}, RegKey{0xFFFFFFFFFF}}) {
    for (const int code :
         {registry.Close(wrong), registry.Open(wrong, "", key), registry.Create(wrong, "A", key, created),
          registry.Query(wrong, "v", type, buffer, length), registry.Set(wrong, "v", kRegSz, {}),
          registry.Enumerate(wrong, 0, buffer, length), registry.EnumerateKeys(wrong, 0, buffer),
          registry.DeleteValue(wrong, "v"), registry.DeleteTree(wrong, "A")}) {
      EXPECT_EQ(code, kInvalidHandle) << wrong;
    }
  }
  for (const RegKey root : {kClassesRoot, kCurrentUser, kLocalMachine}) {
    EXPECT_EQ(registry.Close(root), kSuccess);
    EXPECT_EQ(registry.Close(Opened(registry, root, "")), kSuccess) << "still open";
    EXPECT_EQ(registry.Connect("\\\\elsewhere", root, key), kBadNetworkPath);
    EXPECT_EQ(key, 77u);
  }
}

TEST_P(RegistryContract, RemovesValuesAndWholeTrees) {
  for (const char* path : {"A\\B\\C", "A\\Bee", "A\\B]", "A\\B [1]"}) {
    EXPECT_EQ(Set(registry, kCurrentUser, path, "v", ""), kSuccess);
  }
  key = Made(registry, kCurrentUser, "A\\B\\C");
  EXPECT_EQ(registry.DeleteValue(key, "V"), kSuccess);
  EXPECT_EQ(registry.DeleteValue(key, "v"), kFileNotFound);
  EXPECT_EQ(Get(registry, key, "", "v"), "-");
  ASSERT_EQ(registry.Set(key, "again", kRegSz, {}), kSuccess);

  EXPECT_EQ(registry.DeleteTree(kCurrentUser, "a\\b"), kSuccess);
  EXPECT_EQ(registry.DeleteTree(kCurrentUser, "a\\b"), kFileNotFound);
  EXPECT_EQ(registry.DeleteTree(kCurrentUser, ""), kInvalidParameter);
  EXPECT_EQ(List(registry, kCurrentUser, "A"), "[B [1]][B]][Bee]");
  for (const char* path : {"A\\B]", "A\\Bee"}) EXPECT_EQ(List(registry, kCurrentUser, path), "'v'") << path;
  EXPECT_EQ(registry.Set(key, "v", kRegSz, {}), kKeyDeleted) << "a removed key refuses writes";
  EXPECT_EQ(registry.Query(key, "again", type, {}, length), kFileNotFound);
  EXPECT_EQ(registry.Enumerate(key, 0, buffer, length), kNoMoreItems);
  ASSERT_NE(Made(registry, kCurrentUser, "A\\B\\C"), 0u);
  EXPECT_EQ(List(registry, kCurrentUser, "A\\B\\C"), "") << "old contents must not reappear";
}

TEST_P(RegistryContract, TogetherAppliesAllChangesOrNone) {
  ASSERT_EQ(Set(registry, kCurrentUser, "K", "v", "1"), kSuccess);
  for (const int code : {kDiskFull, kSuccess}) {
    const int result = registry.Together([&] {
      EXPECT_EQ(registry.DeleteTree(kCurrentUser, "K"), kSuccess);
      for (const RegKey root : {kCurrentUser, kLocalMachine}) {
        EXPECT_EQ(Set(registry, root, "L", "v", "2"), kSuccess);
        EXPECT_EQ(Get(registry, root, "L", "v"), "2") << "visible at once";
      }
      return code;
    });
    EXPECT_EQ(result, code);
    for (const RegKey root : {kCurrentUser, kLocalMachine}) {
      EXPECT_EQ(Get(registry, root, "L", "v"), code == kSuccess ? "2" : "-");
    }
    EXPECT_EQ(Get(registry, kCurrentUser, "K", "v"), code == kSuccess ? "-" : "1");
  }
}

}  // namespace
}  // namespace tsly
