#include "discovery/version_rules.h"

#include <gtest/gtest.h>

#include <map>

#include "support/headless_app.h"

namespace tsly {
namespace {

TEST(VersionRules, WhatCountsAsNewer) {
  const struct {
    const char *installed, *offered;
    bool newer;
  } kCases[] = {
      {"7.0.1300.0",     "7.0.1301.0", true },
      {"7.0.1301.0",     "7.0.1300.0", false},
      {"7.0.1300.0",     "7.0.1300.0", false},
      {"7.0.1300.5",     "7.0.1301",   true },
      {"7.0.1300.5",     "7.0.1300",   false},
      {"7.0",            "7.0.0.0",    true }, // more fields, all common ones equal
      {"1.5",            "2.0.0",      false}, // more fields: a greater one doesn't end the scan
      {"1.5",            "1.6.0",      true },
      {"1.5",            "1.4.9",      false},
      {"0.0.0.0",        "0.0.0.0",    false},
      {"0.0.0.0",        "0.0.0.1",    true },
      {"7.0.abc.0",      "7.0.1.0",    true },
      {"7.0.1.0",        "7.0.abc.0",  false},
      {"7.0.3000000000", "7.0.1",      true },
      {"7.-1",           "7.0",        true },
      {"7..1",           "7.0.2",      true },
      {" 7.0 ",          "  7.1 ",     true },
      {"7.0",            "",           false},
      {"   ",            "7.0",        false},
      {"2",              "10",         true },
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(IsNewerVersion(row.installed, row.offered), row.newer) << row.installed << " -> " << row.offered;
  }
}

TEST(VersionRules, WhoExcludesWhom) {
  using Lines = std::map<std::string, std::string>;
  using Names = std::vector<std::string>;
  const struct {
    Names offered;
    Lines excludes;
    Names left;
  } kCases[] = {
      {{"A", "B", "C"},         {},                              {"A", "B", "C"}},
      {{"A", "B", "C"},         {{"A", "B"}, {"B", "C"}},        {"A", "C"}     }, // a blanked one acts no more
      {{"B", "A", "C"},         {{"A", "B"}, {"B", "C"}},        {"A"}          },
      {{"A", "B"},              {{"A", "A"}, {"B", "A"}},        {"B"}          }, // itself, and later ones still act
      {{"A", "B"},              {{"A", "A,B"}},                  {}             },
      {{"Designer", "Samples"}, {{"Designer", "x, samples ,,"}}, {"Designer"}   },
      {{"A", "B"},              {{"A", "B*"}, {"B", "?"}},       {"A", "B"}     }, // whole names
      {{"A", "B"},              {{"C", "A,B"}},                  {"A", "B"}     }, // only what is on offer acts
      {{" A ", "B"},            {{" A ", "b"}},                  {"A"}          },
      {{"A", "B", "a"},         {{"B", "A"}},                    {"B"}          },
  };
  for (const auto& row : kCases) {
    Names names{""};
    names.insert(names.end(), row.offered.begin(), row.offered.end());
    ApplyExcludes(names, [&](const std::string& module) {
      const auto line = row.excludes.find(module);
      return line == row.excludes.end() ? "" : line->second;
    });
    Names left{""};
    left.insert(left.end(), row.left.begin(), row.left.end());
    EXPECT_EQ(names, left);
  }
}

TEST(VersionRules, TheInstalledVersionComesFromTheRegistryAndTheOfferedOneFromTheFile) {
  HeadlessApp app;
  const std::string file = app.folder.Write("updates.ini", "[Versions]\r\nA=7.0.2\r\nEmpty=\r\nNull=0.0.0.0\r\n");
  app.SetVersionValue("Version: a", std::string("7.0.1"));
  EXPECT_TRUE(app.dialog().IsNewVersion("A", file));
  app.SetVersionValue("Version: A", std::string("7.0.2"));
  EXPECT_FALSE(app.dialog().IsNewVersion("A", file));
  app.SetVersionValue("Version: A", std::string("   "));
  EXPECT_FALSE(app.dialog().IsNewVersion("A", file));
  EXPECT_FALSE(app.dialog().IsNewVersion("Empty", file));
  EXPECT_FALSE(app.dialog().IsNewVersion("Null", file)) << "nothing is newer than nothing";
  EXPECT_FALSE(app.dialog().IsNewVersion("Unknown", file));
  EXPECT_FALSE(app.dialog().IsNewVersion("A", app.folder.CorePath("missing.ini")));
}

}  // namespace
}  // namespace tsly
