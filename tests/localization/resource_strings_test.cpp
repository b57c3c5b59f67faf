#include <gtest/gtest.h>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

class ResourceStringsTest : public testing::Test {
 protected:
  // Sets the language files and runs the set-up; messages about their validity are answered.
  void SetUp(const std::string& french, const std::string& english) {
    app.folder.Write("app\\Languages\\French.ini", french);
    app.folder.Write("app\\Languages\\English.ini", english);
    app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("French"));
    app.toolkit.answers.assign(4, kAnswerOk);
    app.Start();
  }
  using testing::Test::SetUp;
  // The text, or the description of the failure in angle brackets.
  std::string Text(const std::string& key) {
    try {
      return app.program->localization.GetResString(key);
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number, -1);
      EXPECT_EQ(error.source, "GetResString");
      return "<" + error.description + ">";
    }
  }
  HeadlessApp app;
};

TEST_F(ResourceStringsTest, TheSelectedFileComesFirstKeyByKey) {
  SetUp(kLanguageHead + "[Software updates]\r\nBoth=un\r\nEmpty=\r\nFirst=seul\r\n[Error messages]\r\nOops=ici\r\n",
        kLanguageHead + "[Software updates]\r\nBoth=one\r\nEmpty=one\r\nSecond=only\r\nSecond empty=\r\n");
  const struct {
    const char *key, *text;
  } kCases[] = {
      {"49:Both",         "un"                                                                      },
      {"49:Empty",        ""                                                                        },
      {"49:First",        "seul"                                                                    },
      {"49:Second",       "only"                                                                    },
      {"49:Second empty", ""                                                                        },
      {"49:Nowhere",      "<Resource string not found: \"Nowhere\" in section \"Software updates\">"},
      {"99:Oops",         "ici"                                                                     },
      {"Oops",            "ici"                                                                     },
      {":Oops",           "ici"                                                                     },
      {"54:Oops",         "ici"                                                                     },
      {"53:Oops",         "<Resource string not found: \"Oops\" in section \"\">"                   },
  };
  for (const auto& row : kCases) EXPECT_EQ(Text(row.key), row.text) << row.key;
}

TEST_F(ResourceStringsTest, TextsAreCleanedUp) {
  const std::string cases[] = {"a\\nb\\nc|a\r\nb\r\nc",
                               "a\\012b|a\r\nb",
                               "\"\"  quoted  \"\"|  quoted  ",
                               "\"\"|",
                               "\"|",
                               "\"open|\"open",
                               "C:\\New|C:\\New",
                               "say \"x\"|say \"x\"",
                               "\"   \"|   ",
                               "' \"  x \" '|  x "};  // the reader takes the outer pair
  std::string file = kLanguageHead + "[Software updates]\r\n";
  for (std::size_t i = 0; i < std::size(cases); ++i) file += std::to_string(i) + "=" + Split(cases[i], "|")[0] + "\r\n";
  SetUp(file, kLanguageHead);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(Text("49:" + std::to_string(i)), Split(cases[i], "|")[1]) << cases[i];
  }
}

TEST_F(ResourceStringsTest, TheNotFoundTextIsAResourceItself) {
  SetUp(kLanguageHead + "Resource missing=no [resource_number]\\n[RESOURCE_SECTION]\r\n", kLanguageHead);
  EXPECT_EQ(Text("49:Key"), "<no Key\r\nSoftware updates>");
}

TEST_F(ResourceStringsTest, LanguageInfoHoldsWhatTheSelectedFileSays) {
  SetUp(kLanguageHead + "Language=Fran\u00E7ais\r\nLanguage, abbreviated=FR\r\nDefault skin=Blue\r\n", kLanguageHead);
  const char* kExpected[] = {"French", "Fran\u00E7ais", "FR", "7.0.1576", "Blue"};
  for (std::int32_t i = 0; i < 5; ++i) EXPECT_EQ(app.program->localization.GetLanguageInfo(i), kExpected[i]);
  EXPECT_THROW(app.program->localization.GetLanguageInfo(5), RuntimeError);
  EXPECT_THROW(app.program->localization.GetLanguageInfo(-2), RuntimeError);
}

}  // namespace
}  // namespace tsly
