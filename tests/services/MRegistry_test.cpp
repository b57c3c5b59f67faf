#include "services/MRegistry.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "ports/system_codes.h"
#include "services/MRegistryConstants.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

constexpr const char* kKey = "SOFTWARE\\Test";

class MRegistryTest : public testing::Test {
 protected:
  ~MRegistryTest() override { EXPECT_EQ(store.OpenHandles(), 0u) << "a handle was left open"; }

  void Store(const std::string& name, std::uint32_t type, std::string_view bytes) {
    RegKey key = 0;
    bool created = false;
    ASSERT_EQ(store.Create(kCurrentUser, kKey, key, created), kSuccess);
    ASSERT_EQ(store.Set(key, name, type, bytes), kSuccess);
    store.Close(key);
  }
  void ExpectStored(std::uint32_t expected_type, const std::string& expected) {
    RegKey key = 0;
    std::uint32_t type = 0, size = 0;
    std::string bytes(100, '\0');
    EXPECT_EQ(store.Open(kCurrentUser, kKey, key), kSuccess);
    EXPECT_EQ(store.Query(key, "value", type, bytes, size), kSuccess);
    store.Close(key);
    EXPECT_EQ(std::pair(type, bytes.substr(0, size)), std::pair(expected_type, expected));
  }

  MemoryRegistry store;
  FixedLocale locale;
  MRegistry registry{store, locale};
};

RegData Text(std::string text) { return text; }

std::string Zero(std::string text) { return text + '\0'; }

TEST_F(MRegistryTest, JoinsPaths) {
  // The key, the subkey and the path, without one backslash at each end of the key.
  for (const char* row :
       {"||", "A||A", "|B|B", "A|B|A\\B", "A\\|B|A\\B", "\\A|B|A\\B", "A\\\\\\\\|B|A\\\\\\B", "\\\\A||A"}) {
    const std::vector<std::string> parts = Split(row, "|");
    EXPECT_EQ(MRegistry::JoinRegPath(parts[0], parts[1]), parts[2]);
  }
}

TEST_F(MRegistryTest, WritesEachTypeInItsForm) {
  locale.date_separator = ".";
  const RegData date = DateValue{41708.7708333333};
  const std::string nought(4, '\0'), one("\1\0\0\0", 4);
  const std::tuple<RegData, std::uint32_t, std::string> cases[] = {
      {-2,                   kRegDword, "\xFE\xFF\xFF\xFF"         },
      {true,                 kRegDword, one                        },
      {false,                kRegDword, nought                     },
      {60060630.0,           kRegSz,    Zero("60060630")           },
      {2.5,                  kRegSz,    Zero("2.5")                },
      {date,                 kRegSz,    Zero("03.10.2014 18:30:00")},
      {Text("7.0.1300.0"),   kRegSz,    Zero("7.0.1300.0")         },
      {Text("Espa\u00F1ol"), kRegSz,    Zero("Espa\u00F1ol")       },
      {Text(""),             kRegSz,    Zero("")                   },
  };
  for (const auto& [data, type, bytes] : cases) {
    EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", data), 0);
    ExpectStored(type, bytes);
  }
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Other", {}), 13);
  EXPECT_EQ(registry.RegErrorText, "Unable to save this type of data in the Registry");
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, kKey, "Other", ""));
}

TEST_F(MRegistryTest, AnExplicitTypeWritesTheTextForm) {
  const std::string nought(4, '\0'), number("\2\1\0\0", 4);
  const std::tuple<RegData, std::uint32_t, std::optional<std::uint32_t>, std::string> cases[] = {
      {Text("abc"), kRegSz,       std::nullopt, "abc"      },
      {Text("abc"), kRegExpandSz, 4,            nought     },
      {Text("abc"), kRegBinary,   2,            "ab"       },
      {Text("abc"), kRegSz,       99,           Zero("abc")},
      {Text("258"), kRegDword,    4,            number     },
      {77,          kRegSz,       std::nullopt, "77"       },
  };
  for (const auto& [data, type, length, bytes] : cases) {
    EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", data, "", type, length), 0);
    ExpectStored(type, bytes);
  }
}

TEST_F(MRegistryTest, ReadsEachTypeAndReturnsTheDefaultForOthers) {
  const RegData fallback = Text("default");
  const std::string with_zeros("\0a\0", 3), eight(8, '\1');
  const std::tuple<std::uint32_t, std::string, RegData> cases[] = {
      {kRegSz,       Zero("text"),       Text("text")    },
      {kRegSz,       "no zero",          Text("no zero") },
      {kRegSz,       Zero(""),           Text("")        },
      {kRegSz,       "",                 Text("")        },
      {kRegExpandSz, Zero("%PATH%"),     Text("%PATH%")  },
      {kRegBinary,   with_zeros,         Text(with_zeros)},
      {kRegDword,    "\xFE\xFF\xFF\xFF", RegData(-2)     },
      {kRegDword,    "\7",               RegData(7)      },
      {kRegDword,    eight,              fallback        },
      {7,            Zero("several"),    fallback        },
      {11,           eight,              fallback        },
  };
  for (const auto& [type, bytes, data] : cases) {
    Store("Value", type, bytes);
    EXPECT_EQ(registry.GetRegValue(kCurrentUser, kKey, "VALUE", fallback), data) << type;
  }
}

TEST_F(MRegistryTest, ReportsFailuresOnlyInItsRecord) {
  Store("There", kRegSz, Zero("x"));
  const char* const unopened = "Unable to open registry key";
  const std::tuple<const char*, int, const char*, const char*, RegData, const char*> reads[] = {
      {"",      0,    kKey,      "There",   Text("x"), ""                         },
      {"",      0,    kKey,      "Missing", 5,         ""                         },
      {"",      2,    "Nowhere", "There",   5,         unopened                   },
      {"Open",  5,    kKey,      "There",   5,         unopened                   },
      {"Query", 1009, kKey,      "There",   5,         "Error while reading value"},
  };
  for (const auto& [failing, number, key, name, data, text] : reads) {
    if (*failing != '\0') store.fail[failing] = number;
    EXPECT_EQ(registry.GetRegValue(kCurrentUser, key, name, 5), data);
    EXPECT_EQ(registry.RegErrorNumber, number);
    EXPECT_EQ(registry.RegErrorText, text);
  }
  const std::tuple<const char*, int, const char*> writes[] = {
      {"Create", 5,   unopened                                  },
      {"Set",    112, "Error while writing data in the Registry"},
      {"",       0,   ""                                        }, // every routine clears the record first
  };
  for (const auto& [failing, number, text] : writes) {
    if (*failing != '\0') store.fail[failing] = number;
    EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "There", 1), number);
    EXPECT_EQ(registry.RegErrorNumber, number);
    EXPECT_EQ(registry.RegErrorText, text);
  }
}

TEST_F(MRegistryTest, ListsNamesFromIndexOne) {
  std::vector<std::string> names;
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names), 0);
  EXPECT_EQ(registry.RegErrorText, "Unable to open registry key");
  Store("One", kRegSz, Zero("1"));
  Store(std::string(3000, 'n'), kRegSz, Zero("2"));
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names), 2);
  ASSERT_EQ(names.size(), 3u);
  EXPECT_EQ(names[0], "");
  EXPECT_EQ(names[1].size() + names[2].size(), 3003u);
  EXPECT_TRUE(registry.RegValueExists(kCurrentUser, kKey, "oNE", ""));
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, kKey, "On", ""));

  Store(std::string(5000, 'n'), kRegSz, Zero("3"));
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names), 0) << "a name longer than the buffer ends the list";
  EXPECT_EQ(registry.RegErrorNumber, kMoreData);
  EXPECT_EQ(registry.RegErrorText, "Unable to read the value names for the Registry");
  EXPECT_EQ(names, std::vector<std::string>{""});
}

TEST_F(MRegistryTest, AnUnknownRootIsTheCurrentUsers) {
  EXPECT_EQ(registry.SetRegSubkeyValue(5, "SOFTWARE", "Test", "Value", 7), 0);
  EXPECT_EQ(registry.GetRegValue(kCurrentUser, kKey, "Value", 0), RegData(7));
  EXPECT_EQ(registry.GetRegSubkeyValue(0x80000003, "SOFTWARE", "Test", "Value", 0), RegData(7));
  EXPECT_EQ(registry.GetRegValue(kLocalMachine, kKey, "Value", 0), RegData(0));
}

TEST_F(MRegistryTest, RemoteComputersAreNotSupported) {
  EXPECT_EQ(registry.GetRegValue(kCurrentUser, kKey, "Value", 5, "far"), RegData());
  EXPECT_EQ(registry.RegErrorText, "Cannot open Registry for computer far");
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", 5, "\\\\far"), kBadNetworkPath);
  EXPECT_EQ(registry.RegErrorText, "Cannot open Registry for computer far");
  std::vector<std::string> names;
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names, "far"), kBadNetworkPath);
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, kKey, "Value", "far"));
}

}  // namespace
}  // namespace tsly
