// The settings tool: its arguments, its exit statuses, and the text format of registry editors.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "base/text.h"
#include "support/memory_registry.h"
#include "support/temp_folder.h"
#include "tslyReg/commands.h"
#include "tslyReg/reg_text.h"

namespace tsly {
namespace {

const std::string kHeading = std::string(kRegTextHeading) + "\n";

struct Ran {
  int status;
  std::string out, error;
};

// `words` are separated by bars.
Ran Tool(RegistryEditor& registry, const std::string& words, const std::string& input = "") {
  std::istringstream in(input);
  std::ostringstream out, error;
  const ToolStatus status = RunTool(registry, Split(words, "|"), {in, out, error});
  return {static_cast<int>(status), out.str(), error.str()};
}

TEST(RegTool, SetsShowsAndDeletes) {
  MemoryRegistry registry;
  EXPECT_EQ(Tool(registry, "set|HKCU\\K\\Below|v|sz|1").status, 0);
  std::string listing = "[Below]\n";
  const std::pair<std::string, std::string> rows[] = {
      {"|sz|plain",                   "plain"      },
      {"a=\"b\"|expand_sz|%TEMP%\\x", "%TEMP%\\x"  },
      {"Bytes|binary|00FFa0",         "00ffa0"     },
      {"d|dword|4294967295",          "4294967295" },
      {"E|dword|0x1F",                "31"         },
      {"f|binary|",                   ""           },
      {"g|sz|tab\tend",               "tab\\x09end"}
  };
  for (const auto& [words, shown] : rows) {
    EXPECT_EQ(Tool(registry, "set|hkcu\\K|" + words).status, 0) << words;
    listing += Replace(words.substr(0, words.rfind('|') + 1), "|", "\t") + shown + "\n";
  }
  EXPECT_EQ(Tool(registry, "list|HKEY_CURRENT_USER\\k").out, listing);
  EXPECT_EQ(Tool(registry, "get|HKCU\\K|bytes").out, "00ffa0\n");
  EXPECT_EQ(Tool(registry, "get|HKCU\\K|g").out, "tab\tend\n") << "get prints the value unchanged";
  EXPECT_EQ(Tool(registry, "delete|HKCU\\K|BYTES").status, 0);
  EXPECT_EQ(Tool(registry, "get|HKCU\\K|bytes").status, 1);
  EXPECT_EQ(Tool(registry, "delete|HKCU\\K").status, 0);
  EXPECT_EQ(Tool(registry, "list|HKCU").out, "");
  EXPECT_EQ(registry.OpenHandles(), 0u);
}

TEST(RegTool, ExitStatusReportsTheKindOfFailure) {
  MemoryRegistry registry;
  Tool(registry, "set|HKLM\\K|v|sz|1");
  registry.denied = true;
  for (const char* words :
       {"", "list", "show|HKCU", "list|HKCU|more", "list|HKEY_USERS\\A", "list|HKCU\\", "get|HKCU\\\\A|v",
        "get|HKCU\\A", "set|HKCU\\A|v|sz", "set|HKCU\\A|v|qword|1", "set|HKCU\\A|v|dword|x",
        "set|HKCU\\A|v|dword|4294967296", "set|HKCU\\A|v|dword|-1", "set|HKCU\\A|v|dword|0x",
        "set|HKCU\\A|v|binary|abc", "set|HKCU\\A|v|binary|0g", "import"}) {
    const Ran ran = Tool(registry, words);
    EXPECT_EQ(ran.status, 2) << words;
    EXPECT_TRUE(ran.error.starts_with("usage: tslyReg") && ran.out.empty()) << words;
  }
  for (const char* words : {"list|HKCU\\A", "get|HKCU\\A|v", "get|HKLM\\K|w", "delete|HKCU\\A", "delete|HKCU\\A|v",
                            "export|HKCU\\A", "import|/none"}) {
    EXPECT_EQ(Tool(registry, words).status, 1) << words;
  }
  EXPECT_EQ(Tool(registry, "set|HKCU\\A|" + std::string(kRegMaxNameLength + 1, 'n') + "|sz|1").status, 3);
  EXPECT_EQ(Tool(registry, "list|HKCU").out, "") << "no key was created";
  for (const char* words : {"set|HKLM\\K|v|sz|2", "delete|HKLM\\K", "delete|HKCU", "delete|HKLM\\K|v",
                            "export|HKLM\\K|/no/file", "import|/"}) {
    const Ran ran = Tool(registry, words);
    EXPECT_TRUE(ran.status == 3 && !ran.error.empty()) << words << ran.status;
  }
  EXPECT_EQ(Tool(registry, "import|-", kHeading + "[HKCU\\A]\n[HKLM\\B]\n").error, "tslyReg: -:3: code 5\n");
  EXPECT_EQ(Tool(registry, "list|HKCU").out, "") << "an import that fails changes nothing";
  EXPECT_EQ(Tool(registry, "import|/proc/self/mem").error, "tslyReg: can't read /proc/self/mem\n");
  EXPECT_EQ(Tool(registry, "get|HKLM\\K|v").out, "1\n");
}

TEST(RegTool, ExportsInOrderWithEveryType) {
  MemoryRegistry registry;
  for (const auto& words :
       {"\\b|x|dword|255", "|path|sz|C:\\a \"b\"", "|E|expand_sz|ä", "||sz|", "\\A|two\nlines|sz|x",
        "\\b|bin|binary|11111111111111111111111111111111111111111111111111111111111111111111111111111111111111111111",
        "\\b|lines|sz|a\nb"}) {
    ASSERT_EQ(Tool(registry, std::string("set|HKLM\\Soft") + words).status, 0) << words;
  }
  const Ran refused = Tool(registry, "export|HKLM\\Soft");
  EXPECT_TRUE(refused.status == 3 && refused.out.empty()) << "a name with a line end can't be written";
  Tool(registry, "delete|HKLM\\Soft\\A|two\nlines");
  const std::string text = kHeading + R"(
[HKEY_LOCAL_MACHINE\Soft]
@=""
"E"=hex(2):e4,00,00,00
"path"="C:\\a \"b\""

[HKEY_LOCAL_MACHINE\Soft\A]

[HKEY_LOCAL_MACHINE\Soft\b]
"bin"=hex:11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,\
  11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11,11
"lines"=hex(1):61,00,0a,00,62,00,00,00
"x"=dword:000000ff
)";
  EXPECT_EQ(Tool(registry, "export|hklm\\soft").out, text);

  const TempFolder folder;
  const std::string file = folder.NativePath("x.reg").native();
  ASSERT_EQ(Tool(registry, "export|HKLM\\Soft|" + file).status, 0);
  EXPECT_EQ(folder.Read("x.reg").substr(0, 4), std::string("\xFF\xFEW\0", 4));
  EXPECT_EQ(folder.Read("x.reg").substr(2 * kHeading.size(), 8), std::string("\r\0\n\0\r\0\n\0", 8));
  MemoryRegistry other;
  ASSERT_EQ(Tool(other, "import|" + file).status, 0);
  EXPECT_EQ(Tool(other, "export|HKLM\\Soft").out, text);
}

TEST(RegTool, ImportRestoresWhatWasExported) {
  std::mt19937 random(20);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  const auto text = [&](unsigned most) {
    static const auto kPieces = Split("a|\\|\"|;|]|=|\t|ä|漢|😀| |@|\xEF\xBB\xBF", "|");
    std::string made;
    for (unsigned i = below(most + 1); i-- > 0;) made += kPieces[below(13)];
    return made;
  };
  for (int round = 0; round < 200; ++round) {
    ExportedKey key;
    key.key = {kCurrentUser, "k" + Replace(text(8), "\\", "/")};
    for (unsigned v = 0; v < 8; ++v) {
      ExportedValue value{text(30), 1 + below(4), text(40)};
      if (value.type == kRegBinary || value.type == kRegDword) {
        value.data.resize(below(3) != 0 ? 4 : below(120));
        for (char& c : value.data) c = static_cast<char>(below(256));
      } else if (below(4) != 0) {
        value.data += std::string(below(3) == 0 ? 2 : 0, below(2) == 0 ? '\n' : '\0') + '\0';
      }
      key.values.push_back(value);
    }
    const WrittenRegText written = FormatRegText({key});
    for (const auto& line : Split(written.text, "\n"))
      EXPECT_TRUE(line.size() <= 80 || !line.starts_with("  ")) << line;
    for (const auto& file : {written.text, kUtf8Mark + written.text, AsEditorsFile(written.text)}) {
      const ReadRegText read = ParseRegText(file);
      ASSERT_EQ(read.fault_line, 0u) << read.fault << "\n" << written.text;
      ASSERT_EQ(read.changes.size(), 1 + key.values.size()) << written.text;
      EXPECT_EQ(read.changes[0].key.path, key.key.path);
      for (auto change = read.changes.begin(); const auto& [name, type, data] : key.values) {
        ++change;
        EXPECT_EQ(std::tie(change->name, change->type, change->data), std::tie(name, type, data));
      }
    }
  }
}

TEST(RegTool, ImportsHandWrittenFiles) {
  MemoryRegistry registry;
  for (const char* words : {"K|gone|sz|1", "K|kept|sz|kept", "Old\\Below|v|sz|1"}) {
    Tool(registry, std::string("set|HKCU\\") + words);
  }
  const Ran ran = Tool(registry, "import|-",
                       kHeading + "; a comment\n\n  [HKCU\\K]  \r\n\"gone\"=-\r\n" + R"("not there" = - ; nor now
@="; no comment" ; one
"d"=DWORD:1f;x
"b"=hex:01,\
  2 , \ ; more
	ff
"none"=hex:
"e"=hex(2):41,00,00,00
[-HKEY_CURRENT_USER\old]
[-HKEY_CURRENT_USER\never there]
[HKCR\.x])");
  EXPECT_EQ(ran.error, "");
  EXPECT_EQ(Tool(registry, "list|HKCU\\K").out,
            "\tsz\t; no comment\nb\tbinary\t0102ff\nd\tdword\t31\ne\texpand_sz\tA\nkept\tsz\tkept\nnone\tbinary\t\n");
  EXPECT_EQ(Tool(registry, "list|HKCU").out, "[K]\n");
  EXPECT_EQ(Tool(registry, "list|HKCR").out, "[.x]\n");
}

TEST(RegTool, AFileWithAnInvalidLineChangesNothing) {
  const std::string bad_data[] = {
      "hex(7):00,00", "hex(b):00",     "qword:1",  "dword:123456789",  "dword:",
      "dword:1 2",    "hex:1,",        "hex:001",  "hex:0x",           "hex(2):41",
      "hex(1):00,d8", "\"a",           "\"a\\n\"", "\"a\" b",          "",
      "-1",           "\"a\x01\"",     "\"\xFF\"", "\"\xED\xA0\x80\"", std::string("\"a\0\"", 4),
      "hex:01,\\",    "\"two\rlines\""};
  std::vector<std::string> bad_lines =
      Split("\"v\" \"v=\"a\" v=\"a\" @ =1 [HKCU\\A [HKEY_USERS\\A] [HKCU\\\\A] [HKCU\\A\\] [] [-HKCU]", " ");
  bad_lines.push_back("[HKCU\\A] x");
  bad_lines.push_back("[HKCU\\" + std::string(kRegMaxPartLength + 1, 'k') + "]");
  bad_lines.push_back("\"" + std::string(kRegMaxNameLength + 1, 'n') + "\"=-");
  for (const auto& data : bad_data) bad_lines.push_back("\"v\"=" + data);
  for (const auto& line : bad_lines) {
    MemoryRegistry registry;
    const Ran ran = Tool(registry, "import|-", kHeading + "[HKCU\\K]\n\"w\"=\"1\"\n" + line);
    EXPECT_EQ(ran.status, 3) << line;
    EXPECT_TRUE(ran.error.starts_with("tslyReg: -:4: ")) << line << ran.error;
    EXPECT_EQ(Tool(registry, "list|HKCU").out, "") << line;
  }
  MemoryRegistry registry;
  for (const std::string& file :
       {std::string(), std::string("REGEDIT4\n\n[HKCU\\A]\n"), kHeading.substr(1), "\xFF\xFE" + kHeading + "odd",
        "\n" + kHeading, kHeading + "\"v\"=\"no key\"", kHeading + "[-HKCU\\A]\n\"v\"=\"no key\""}) {
    EXPECT_EQ(Tool(registry, "import|-", file).status, 3) << file;
  }
}

}  // namespace
}  // namespace tsly
