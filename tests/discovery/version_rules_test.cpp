#include "discovery/version_rules.h"

#include <gtest/gtest.h>

#include <map>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

TEST(VersionRules, WhatCountsAsNewer) {
  // Installed and offered. If the offered version has more fields, equal common ones suffice, and a greater one doesn't
  // end the scan.
  const auto newer = [](const std::string& row) { return IsNewerVersion(Split(row, "|")[0], Split(row, "|")[1]); };
  for (const char* row :
       {"7.0.1300.0|7.0.1301.0", "7.0.1300.5|7.0.1301", "7.0|7.0.0.0", "1.5|1.6.0", "0.0.0.0|0.0.0.1",
        "7.0.abc.0|7.0.1.0", "7.0.3000000000|7.0.1", "7.-1|7.0", "7..1|7.0.2", " 7.0 |  7.1 ", "2|10"}) {
    EXPECT_TRUE(newer(row)) << row;
  }
  for (const char* row : {"7.0.1301.0|7.0.1300.0", "7.0.1300.0|7.0.1300.0", "7.0.1300.5|7.0.1300", "1.5|2.0.0",
                          "1.5|1.4.9", "7.0.1.0|7.0.abc.0", "7.0|", "   |7.0"}) {
    EXPECT_FALSE(newer(row)) << row;
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
      {{"A", "B", "C"},         {{"A", "B"}, {"B", "C"}},        {"A", "C"}     }, // an excluded one excludes nothing
      {{"B", "A", "C"},         {{"A", "B"}, {"B", "C"}},        {"A"}          },
      {{"A", "B"},              {{"A", "A"}, {"B", "A"}},        {"B"}          }, // excludes itself; later ones still count
      {{"A", "B"},              {{"A", "A,B"}},                  {}             },
      {{"Designer", "Samples"}, {{"Designer", "x, samples ,,"}}, {"Designer"}   },
      {{"A", "B"},              {{"A", "B*"}, {"B", "?"}},       {"A", "B"}     }, // whole names
      {{"A", "B"},              {{"C", "A,B"}},                  {"A", "B"}     }, // only offered modules exclude others
      {{" A ", "B"},            {{" A ", "b"}},                  {"A"}          },
      {{"A", "B", "a"},         {{"B", "A"}},                    {"B"}          },
  };
  for (const auto& row : kCases) {
    Names names = row.offered, left = row.left;
    for (Names* list : {&names, &left}) list->insert(list->begin(), "");
    ApplyExcludes(names, [&](const std::string& module) {
      const auto line = row.excludes.find(module);
      return line == row.excludes.end() ? "" : line->second;
    });
    EXPECT_EQ(names, left);
  }
}

TEST(VersionRules, TheInstalledVersionComesFromTheRegistryAndTheOfferedOneFromTheFile) {
  HeadlessApp app;
  const std::string file = app.folder.Write("updates.ini", "[Versions]\r\nA=7.0.2\r\nEmpty=\r\nNull=0.0.0.0\r\n");
  for (const char* installed : {"7.0.1", "7.0.2", "   "}) {
    app.SetVersionValue("Version: a", std::string(installed));
    EXPECT_EQ(app.dialog().IsNewVersion("A", file), std::string(installed) == "7.0.1");
  }
  for (const char* none : {"Empty", "Null", "Unknown"}) EXPECT_FALSE(app.dialog().IsNewVersion(none, file)) << none;
  EXPECT_FALSE(app.dialog().IsNewVersion("A", app.folder.CorePath("missing.ini")));
}

// Any file from a server results in a list or in "nothing new".
TEST(VersionRules, InvalidFilesOfferTheirReadableParts) {
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
    StartedApp app("/showupdates", {Received(document)}, std::deque<std::int32_t>(expected.empty() ? 1 : 0, kAnswerOk));
    std::string offered;
    const auto& names = app.dialog().UpdateNames;
    for (std::size_t i = 1; i < names.size(); ++i) offered += "|" + names[i];
    EXPECT_TRUE(offered == expected) << offered.substr(0, 100);
    EXPECT_EQ(app.controls().picStep200.Visible(), !expected.empty());
  }
}

}  // namespace
}  // namespace tsly
