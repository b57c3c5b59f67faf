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

// Whatever a server sends ends as a list that can be shown, or as nothing new.
TEST(VersionRules, OddFilesOfferWhatCanBeReadInThem) {
  const std::string n(1, '\0'), name(1 << 20, 'n'), nines(1 << 20, '9'), zeros(4 << 20, '\0');
  const std::pair<std::string, std::string> kCases[] = {
      {"",                                                                    ""               },
      {"\x89PNG\r\n\x1A\n" + n + name + n,                                    ""               },
      {zeros,                                                                 ""               },
      {"<!doctype html>\n<p>[Versions]</p>\nA=1\n",                           ""               },
      {"[Versions]\nA=1",                                                     "|A"             },
      {"[Versions]\rA=1\rB=1\r",                                              "|A|B"           },
      {"[Versions]\nA" + n + "B=1\nC=1\n",                                    "|C"             },
      {"[Versions\nA=1\n",                                                    ""               },
      {"[Versions]\nA=1\n[Versions]\nB=1\n",                                  "|A"             },
      {"[Versions]\nA=1\na=0\n",                                              "|A|a"           },
      {"[Versions]\nVersions=1\nExcludes=1\n[Excludes]\nVersions=Excludes\n", "|Versions"      },
      {"[Versions]\nA]=1\nB[C]=1\n[D]=1\n",                                   "|A]|B[C]"       },
      {"[Versions]\nA=b=1\nC:D=1\n \tE \t= \t\"1\" \n=1\nF\n",                "|C:D|E"         },
      {"[Versions]\n" + name + "=1\nA=1." + name + "\nB=" + nines + "\n",     "|" + name + "|A"},
  };
  for (const auto& [document, expected] : kCases) {
    SCOPED_TRACE(document.substr(0, 60));
    HeadlessApp app("/showupdates");
    app.transfer.answers = {Received(document)};
    if (expected.empty()) app.toolkit.answers = {kAnswerOk};
    app.Start();
    std::string offered;
    const auto& names = app.dialog().UpdateNames;
    for (std::size_t i = 1; i < names.size(); ++i) offered += "|" + names[i];
    EXPECT_TRUE(offered == expected) << offered.substr(0, 100);
    EXPECT_EQ(app.controls().picStep200.Visible(), !expected.empty());
  }
}

}  // namespace
}  // namespace tsly
