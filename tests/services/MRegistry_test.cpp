#include "services/MRegistry.h"

#include <gtest/gtest.h>

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
  std::string Stored(const std::string& name, std::uint32_t& type) {
    RegKey key = 0;
    EXPECT_EQ(store.Open(kCurrentUser, kKey, key), kSuccess);
    std::string bytes(100, '\0');
    std::uint32_t size = 0;
    const int code = store.Query(key, name, type, bytes, size);
    store.Close(key);
    return code == kSuccess ? bytes.substr(0, size) : "code " + std::to_string(code);
  }

  MemoryRegistry store;
  FixedLocale locale;
  MRegistry registry{store, locale};
};

RegData Date(DateTime moment) { return DateValue{moment}; }

RegData Text(std::string text) { return text; }

std::string Zero(std::string text) { return text + '\0'; }

TEST_F(MRegistryTest, JoinsPaths) {
  const struct {
    const char *key, *subkey, *path;
  } kCases[] = {
      {"",          "",  ""        },
      {"A",         "",  "A"       },
      {"",          "B", "B"       },
      {"A",         "B", "A\\B"    },
      {"A\\",       "B", "A\\B"    },
      {"\\A",       "B", "A\\B"    },
      {"A\\\\\\\\", "B", "A\\\\\\B"}, // one pass
      {"\\\\A",     "",  "A"       },
  };
  for (const auto& row : kCases) EXPECT_EQ(MRegistry::JoinRegPath(row.key, row.subkey), row.path);
}

TEST_F(MRegistryTest, WritesEachTypeInItsForm) {
  locale.date_separator = ".";
  const struct {
    RegData data;
    std::uint32_t type;
    std::string bytes;
  } kCases[] = {
      {RegData(-2),                  kRegDword, "\xFE\xFF\xFF\xFF"                                 },
      {true,                         kRegDword, std::string("\1\0\0\0",                              4)},
      {false,                            kRegDword,                                 std::string(4,                                                '\0')},
      {60060630.0,                       kRegSz,                                Zero("60060630")                          },
      {2.5,            kRegSz,Zero("2.5")            },
      {Date(41708.7708333333),                 kRegSz,                                     Zero("03.10.2014 18:30:00")                                                      },
      {std::string("7.0.1300.0"), kRegSz,Zero("7.0.1300.0")},
      {std::string("Espa\u00F1ol"),          kRegSz,                                              Zero("Espa\u00F1ol")                                                                                                                            },
      {std::string(),        kRegSz,Zero("")},
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", row.data), 0);
    std::uint32_t type = 0;
    EXPECT_EQ(Stored("value", type), row.bytes);
    EXPECT_EQ(type, row.type);
  }
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Other", {}), 13);
  EXPECT_EQ(registry.RegErrorText, "Unable to save this type of data in the Registry");
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, kKey, "Other", ""));
}

TEST_F(MRegistryTest, AnExplicitTypeSendsTheTextForm) {
  const struct {
    RegData data;
    std::uint32_t type;
    std::optional<std::uint32_t> length;
    std::string bytes;
  } kCases[] = {
      {std::string("abc"), kRegSz,       std::nullopt,    "abc"        },
      {std::string("abc"), kRegExpandSz, 4,               std::string(4, '\0')},
      {std::string("abc"),                  kRegBinary,             2, "ab"},
      {std::string("abc"),                  kRegSz,             99,     Zero("abc")   },
      {std::string("258"),                  kRegDword,             4,  std::string("\2\1\0\0",4)},
      {RegData(77),                kRegSz,                            std::nullopt,                                 "77"                          },
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", row.data, "", row.type, row.length), 0);
    std::uint32_t type = 0;
    EXPECT_EQ(Stored("Value", type), row.bytes);
    EXPECT_EQ(type, row.type);
  }
}

TEST_F(MRegistryTest, ReadsEachTypeAndGivesTheDefaultForOthers) {
  const RegData fallback = std::string("default");
  const std::string with_zeros("\0a\0", 3);
  const std::string eight(8, '\1');
  const struct {
    std::uint32_t type;
    std::string bytes;
    RegData data;
  } kCases[] = {
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
  for (const auto& row : kCases) {
    Store("Value", row.type, row.bytes);
    EXPECT_EQ(registry.GetRegValue(kCurrentUser, kKey, "VALUE", fallback), row.data) << row.type;
  }
}

TEST_F(MRegistryTest, TellsFailuresInItsRecordAlone) {
  Store("There", kRegSz, Zero("x"));
  const struct {
    const char* failing;  // operation and code; null: none
    int code;
    const char *key, *value;
    RegData data;
    int number;
    const char* text;
  } kCases[] = {
      {nullptr, 0,    kKey,      "There",   std::string("x"), 0,    ""                           },
      {nullptr, 0,    kKey,      "Missing", 5,                0,    ""                           },
      {nullptr, 0,    "Nowhere", "There",   5,                2,    "Unable to open registry key"},
      {"Open",  5,    kKey,      "There",   5,                5,    "Unable to open registry key"},
      {"Query", 1009, kKey,      "There",   5,                1009, "Error while reading value"  },
  };
  for (const auto& row : kCases) {
    if (row.failing != nullptr) store.fail[row.failing] = row.code;
    EXPECT_EQ(registry.GetRegValue(kCurrentUser, row.key, row.value, 5), row.data);
    EXPECT_EQ(registry.RegErrorNumber, row.number);
    EXPECT_EQ(registry.RegErrorText, row.text);
  }

  store.fail["Create"] = 5;
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "There", 1), 5);
  EXPECT_EQ(registry.RegErrorText, "Unable to open registry key");
  store.fail["Set"] = 112;
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "There", 1), 112);
  EXPECT_EQ(registry.RegErrorText, "Error while writing data in the Registry");
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "There", 1), 0);
  EXPECT_EQ(registry.RegErrorNumber, 0) << "every routine clears the record first";
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
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, "Nowhere", "One", ""));

  Store(std::string(5000, 'n'), kRegSz, Zero("3"));
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names), 0) << "a name beyond the buffer ends the walk";
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

TEST_F(MRegistryTest, ARemoteComputerIsOutOfReach) {
  EXPECT_EQ(registry.GetRegValue(kCurrentUser, kKey, "Value", 5, "far"), RegData());
  EXPECT_EQ(registry.RegErrorNumber, kBadNetworkPath);
  EXPECT_EQ(registry.RegErrorText, "Cannot open Registry for computer far");
  EXPECT_EQ(registry.SetRegValue(kCurrentUser, kKey, "Value", 5, "\\\\far"), kBadNetworkPath);
  EXPECT_EQ(registry.RegErrorText, "Cannot open Registry for computer far");
  std::vector<std::string> names;
  EXPECT_EQ(registry.GetRegValueNames(kCurrentUser, kKey, names, "far"), kBadNetworkPath);
  EXPECT_FALSE(registry.RegValueExists(kCurrentUser, kKey, "Value", "far"));
}

}  // namespace
}  // namespace tsly
