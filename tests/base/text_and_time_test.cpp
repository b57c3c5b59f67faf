#include <gtest/gtest.h>

#include "base/date_time.h"
#include "base/text.h"

namespace tsly {
namespace {

TEST(Text, LowerCaseFoldsLettersOfAllAlphabetsAndKeepsTheLength) {
  const std::pair<const char*, const char*> rows[] = {
      {"ABCxyz[]@`",               "abcxyz[]@`"              },
      {"\u00C4\u00D6\u00DC\u00DF", "\u00E4\u00F6\u00FC\u00DF"},
      {"\u0391\u03A9\u0416\u042F", "\u03B1\u03C9\u0436\u044F"},
      {"\u0130\u0131I",            "\u0130\u0131i"           }, // no Turkish rules, no mappings that change the length
      {"\u6F22\u5B57",             "\u6F22\u5B57"            },
      {"\xFF\xC3X\xE2\x82",        "\xFF\xC3x\xE2\x82"       }, // invalid UTF-8 stays
  };
  for (const auto& [text, lower] : rows) EXPECT_EQ(LowerCase(text), lower);
}

TEST(Text, TrimmingTakesBlanksOnly) {
  EXPECT_EQ(Trim("  a b \t "), "a b \t");
  EXPECT_EQ(TrimStart("  a "), "a ");
  EXPECT_EQ(TrimEnd(" a  "), " a");
  EXPECT_EQ(Trim("   "), "");
}

TEST(Text, SplitKeepsEmptyParts) {
  using Parts = std::vector<std::string>;
  EXPECT_EQ(Split("", " "), Parts{});
  EXPECT_EQ(Split("a  b ", " "), (Parts{"a", "", "b", ""}));
  EXPECT_EQ(Split(std::string_view("a\0b\0", 4), std::string_view("\0", 1)), (Parts{"a", "b", ""}));
}

TEST(Text, ReplaceIgnoresCaseAndDoesNotSearchReplacements) {
  EXPECT_EQ(Replace("[name] and [NAME]", "[Name]", "[NAME]x"), "[NAME]x and [NAME]x");
  EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
  EXPECT_EQ(Replace("text", "", "x"), "text");
  EXPECT_EQ(Replace("\u00C4[X]\u00D6", "[x]", "1"), "\u00C41\u00D6");
}

TEST(Text, WholeNumbers) {
  for (const std::int32_t number : {0, -5, INT32_MAX, INT32_MIN}) EXPECT_EQ(ToInt32(std::to_string(number)), number);
  EXPECT_EQ(ToInt32(" +12 "), 12);
  for (const char* none : {"2147483648", "3000000000", "", " ", "+", "+-1", "1.0", "1e3", "0x10", "12 3", "abc"}) {
    EXPECT_EQ(ToInt32(none), std::nullopt) << none;
  }
}

TEST(Text, NumbersAtTheStartOfAText) {
  const std::tuple<const char*, std::int32_t, std::optional<double>> rows[] = {
      {"3",        3,  3.0         },
      {" 2 weeks", 2,  std::nullopt},
      {"-1",       -1, -1.0        },
      {"1.9",      1,  1.9         },
      {".5",       0,  0.5         },
      {"+7 ",      7,  7.0         },
      {"1e10",     0,  1e10        },
      {"inf",      0,  std::nullopt},
      {"",         0,  std::nullopt},
  };
  for (const auto& [text, whole, all] : rows) {
    EXPECT_EQ(LeadingInt32(text), whole) << text;
    EXPECT_EQ(ToDouble(text), all) << text;
  }
}

TEST(Text, HexadecimalDigits) {
  EXPECT_EQ(LeadingHex("ffffffff"), -1);
  EXPECT_EQ(LeadingHex("8000"), 32768);
  EXPECT_EQ(LeadingHex("1A2Bzz"), 6699);
  for (const char* none : {"", "zz"}) EXPECT_EQ(LeadingHex(none), 0) << none;
  EXPECT_EQ(LeadingHex("112345678"), 0x12345678);
  EXPECT_EQ(Hex(-1), "FFFFFFFF");
  EXPECT_EQ(Hex(12029), "2EFD");
}

TEST(Text, PlainDecimalsAreShortAndIgnoreTheLocale) {
  const std::pair<double, const char*> kCases[] = {
      {60060630, "60060630"         },
      {1e15,     "1000000000000000" },
      {0.5,      "0.5"              },
      {10.2,     "10.2"             },
      {1.0 / 3,  "0.333333333333333"},
      {0,        "0"                },
      {-3,       "-3"               },
  };
  for (const auto& [number, text] : kCases) EXPECT_EQ(PlainDecimal(number), text);
}

TEST(DateTime, FormatsDateTimes) {
  const std::pair<DateTime, const char*> rows[] = {
      {0,                "1899-12-30 00:00:00"},
      {-1.25,            "1899-12-29 06:00:00"},
      {2,                "1900-01-01 00:00:00"},
      {41708.7708333333, "2014-03-10 18:30:00"},
      {41708.99999999,   "2014-03-11 00:00:00"}, // rounded to the second first
      {36585,            "2000-02-29 00:00:00"},
      {1e12,             "9999-12-31 00:00:00"},
  };
  for (const auto& [when, stamp] : rows) EXPECT_EQ(LogStamp(when), stamp);
}

TEST(DateTime, WholeMinutesAreStoredExactly) {
  const DateTime when = MakeDateTime({.year = 2014, .month = 3, .day = 10, .hour = 18, .minute = 30});
  EXPECT_DOUBLE_EQ(when * 1440, 60060630);
  EXPECT_EQ(MakeDateTime({.year = 1899, .month = 12, .day = 29, .hour = 6}), -1.25);
}

TEST(DateTime, TextsUseTheUsersSeparators) {
  const DateTime when = MakeDateTime({.year = 2014, .month = 3, .day = 9, .hour = 8, .minute = 5, .second = 7});
  EXPECT_EQ(MonthDayYear(when, "/"), "03/09/2014");
  EXPECT_EQ(DayMonthYear(when, "."), "09.03.2014");
  EXPECT_EQ(HourMinute(when, "."), "08.05");
  EXPECT_EQ(GeneralDate(when, "/", ":"), "03/09/2014 08:05:07");
  EXPECT_EQ(GeneralDate(41708, "/", ":"), "03/10/2014");
  EXPECT_EQ(GeneralDate(0.5, "/", ":"), "12:00:00");
}

}  // namespace
}  // namespace tsly
