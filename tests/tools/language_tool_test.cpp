// The translators' tool: which faults it finds, and in which line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/text.h"
#include "support/headless_toolkit.h"
#include "support/temp_folder.h"
#include "tslyLanguage/commands.h"

namespace tsly {
namespace {

const std::string kEnglish = std::string(TSLY_SOURCE_DIR) + "/resources/Languages/English.ini";

std::string English() {
  std::ifstream file(kEnglish, std::ios::binary);
  return Replace(std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>()), "\r\n", "\n");
}

class LanguageToolTest : public testing::Test {
 protected:
  LanguageToolStatus Run(const std::vector<std::string>& words) {
    out.str("");
    error.str("");
    return LanguageTool{.toolkit = toolkit, .english = kEnglish, .out = out, .error = error}.Run(words);
  }
  // What is found in a file of these contents, without its name.
  std::string Check(const std::string& contents) {
    folder.Write("a.ini", contents);
    const std::string path = folder.NativePath("a.ini");
    const LanguageToolStatus status = Run({"check", path});
    const std::string found = Replace(out.str(), path + ":", "");
    EXPECT_EQ(status, found.empty() ? LanguageToolStatus::kDone : LanguageToolStatus::kFound);
    return found;
  }

  TempFolder folder;
  HeadlessToolkit toolkit;
  std::ostringstream out, error;
};

TEST_F(LanguageToolTest, ReportsEachFaultWithItsLine) {
  const struct {
    const char *text, *replacement, *found;
  } kCases[] = {
      {"OK=OK",                "",                                                                                    "10: \"OK\" is missing from [Miscellaneous]"                    },
      {"OK=OK",                "OK=",                                                                                 "11: \"OK\" is empty"                                           },
      {"OK=OK",                "OK=ok\nok=OK",                                                                        "12: duplicate key; the program reads the one in line 11"       },
      {"OK=OK",                "OK=OK\nTitle=x",                                                                      "12: \"Title\" belongs in the section [Software updates]"       },
      {"OK=OK",                "OK=OK\nCancel=x",                                                                     "12: unknown key \"Cancel\""                                    },
      {"OK=OK",                "OK=OK\nCancel",                                                                       "12: neither a [section] nor a key"                             },
      {"OK=OK",                "OK=OK\nA\\nB=x\n[General]\nx=1",                                                      "13: duplicate section; the program reads the one in line 1"    },
      {"OK=OK",                "OK=one\\ntwo",                                                                        "11: the text is too long: several lines"                       },
      {"OK=OK",                "OK=So many words that no button could ever hold them all",                            "11: the text is too long"                                      },
      {"[Misc",                "[Mixed]\n[Misc",                                                                      "10: unknown section \"Mixed\""                                 },
      {"[General]",            "x=1\n[General]",                                                                      "1: \"x\" is before the first [section]"                        },
      {"Description=Tess",     "Description=Bess",                                                                    "2: \"Description\" has to be \"Tessaly Studio Resources file\""},
      {"Version=7.0.1576",     "Version=6.0",                                                                         "5: \"Version\" has to be one that the program accepts"         },
      {"Language=English\n",   "",                                                                                    "1: \"Language\" has to be"                                     },
      {"abbreviated=EN",       "abbreviated=",                                                                        "4: \"Language, abbreviated\" has to be"                        },
      {"western european",     "western",                                                                             "6: \"Charset\" has to be a known character set"                },
      {"Downloading [NAME] (", "Downloading (",                                                                       "[NAME] is missing from the text"                               },
      {"Downloading [NAME] (", "[Datei] [NAME] (",                                                                    "[Datei] is no placeholder of this text; it has [NAME], "       },
      {"Title=",               "Title=[TITLE]",                                                                       "21: [TITLE] is no placeholder of this text; it has none"       },
      {"\" passed.\"",         "\" passed.",                                                                          "unmatched double quote"                                        },
      {"Main Caption=",        "Main Caption=1\\n2\\n3\\n4\\n5\\n6\\n",                                               "22: the text is too long: "                                    },
      {"Check Caption=",       "Check Caption=A lead-in that leaves no room for the text after it in the same row, ",
       "24: the text is too long: "                                                                                                                                                   },
      {"Title=",               "Title=x\ry\r",                                                                        "22: neither a [section] nor a key"                             },
      {"Title=",               "Title=\xE9",                                                                          "21: this line isn't UTF-8"                                     },
  };
  EXPECT_EQ(Check(English()), "");
  EXPECT_EQ(Check("\xEF\xBB\xBF" + Replace(English(), "\n", "\r\n")), "");
  for (const auto& row : kCases) {
    std::string contents = English();
    const auto at = contents.find(row.text);
    ASSERT_NE(at, std::string::npos) << row.text;
    const std::string found = Check(contents.replace(at, std::string(row.text).size(), row.replacement));
    EXPECT_NE(found.find(row.found), std::string::npos) << row.replacement << ": " << found;
  }
}

TEST_F(LanguageToolTest, ReportsAFileThatIsNoLanguageFileOnce) {
  EXPECT_EQ(Check(std::string("[\0G\0", 4)), "0: not a UTF-8 text file; save it in that encoding\n");
  const std::string unreadable = "0: not readable as a language file (a text file of at most 1 MiB)\n";
  EXPECT_EQ(Check(std::string(2 << 20, 'x')), unreadable);
  for (const char* name : {"", "missing.ini"}) {
    const std::string path = folder.NativePath(name);
    EXPECT_EQ(Run({"check", path, kEnglish}), LanguageToolStatus::kFound);
    EXPECT_EQ(out.str(), path + ":" + unreadable);
  }
}

TEST_F(LanguageToolTest, CreatesANewFileThatStillShowsEnglishTexts) {
  const auto former = std::filesystem::current_path();
  std::filesystem::current_path(folder.NativePath());
  EXPECT_EQ(Run({"new", "Latin"}), LanguageToolStatus::kDone);
  const std::string written = folder.Read("Latin.ini");
  const std::string skeleton = Replace(written, "\r\n", "\n");
  EXPECT_NE(skeleton.find("\nLanguage=Latin\n"), std::string::npos);
  EXPECT_NE(skeleton.find("\n;Title=Tessaly Studio updates\n"), std::string::npos);
  // It is complete once the empty values are filled in and the semicolons removed.
  std::string complete = Replace(Replace(skeleton, "\n;", "\n"), "Charset=", "Charset=turkish");
  complete = Replace(complete, "abbreviated=", "abbreviated=LA");
  EXPECT_EQ(Check(complete.substr(complete.find("[General]"))), "");

  for (const char* name : {"Latin", "", "../x", "a:b"}) {
    EXPECT_EQ(Run({"new", name}), LanguageToolStatus::kRefused) << name;
    EXPECT_NE(error.str(), "");
  }
  EXPECT_EQ(folder.Read("Latin.ini"), written);
  for (const char* line : {"", "check", "new", "new a b", "x y"}) {
    const std::vector<std::string> words = Split(line, " ");
    EXPECT_EQ(Run(words), LanguageToolStatus::kUsage);
  }
  std::filesystem::current_path(former);
}

}  // namespace
}  // namespace tsly
