#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "posix/posix_locale.h"
#include "posix/system_clock.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

std::int64_t UnixSeconds() {
  using namespace std::chrono;
  return floor<seconds>(system_clock::now()).time_since_epoch().count();
}

TEST(SystemClock, ReportsLocalTimeInWholeSeconds) {
  constexpr double kUnixDayZero = 25569;
  SystemClock clock;
  const std::pair<const char*, double> cases[] = {
      {"UTC0",      0    },
      {"XXX-05:30", 5.5  },
      {"YYY+11",    -11.0},
  };
  for (const auto& row : cases) {
    const auto is_right = [&] {
      setenv("TZ", row.first, 1);
      const std::int64_t before = UnixSeconds();
      for (int i = 0; i < 100; ++i) {
        const double reported = (clock.Now() - row.second / 24 - kUnixDayZero) * 86400;
        const std::int64_t second = std::llround(reported);
        if (std::abs(reported - static_cast<double>(second)) > 0.0001) return false;
        if (second < before || second > UnixSeconds()) return false;
      }
      return true;
    };
    EXPECT_EQ(AsOrdinaryUser(is_right), 1) << row.first;
  }
}

TEST(SystemClock, SteadyTimeNeverGoesBack) {
  SystemClock clock;
  const SteadyTime begin = clock.Steady();
  const auto system_begin = std::chrono::steady_clock::now();
  while (clock.Steady() == begin) continue;
  EXPECT_GT(clock.Steady(), begin);
  EXPECT_LT(clock.Steady() - begin, std::chrono::steady_clock::now() - system_begin + std::chrono::seconds(1));
}

TEST(LocaleContract, TranslatesCodePages) {
  PosixLocale locale(std::nullopt);
  std::istringstream cases(
      "1252 0 932 128 949 129 936 134 950 136 1253 161 1254 162 1258 163 1255 177 1256 178 1257 186 1251 204 874 222 "
      "1250 238 65001 0 437 -1");
  std::int32_t expected = 0;
  for (std::uint32_t code_page = 0; cases >> code_page >> expected;) {
    EXPECT_EQ(locale.CharsetOf(code_page).value_or(-1), expected) << code_page;
  }
}

TEST(LocaleContract, ReportsTheCodePage) {
  EXPECT_EQ(PosixLocale(932).DefaultCodePage(), 932u);
  for (const std::string text : {"1251", "", "0", "utf8", "1252 ", "-1", "99999999999"}) {
    const ScopedEnvironment environment("TSLY_CODEPAGE", text);
    EXPECT_EQ(CodePageFromEnvironment().value_or(0), text == "1251" ? 1251u : 0u) << text;
  }
}

// A locale in another code page, because machines have few that aren't in UTF-8. Its sources lack much, which is
// complained of and doesn't matter here.
void MakeLocale(const TempFolder& folder, const std::string& name, const std::string& date, const std::string& time,
                const std::string& codeset = "CP1251") {
  folder.Write("charmap",
               "<code_set_name> " + codeset + "\n<escape_char> /\nCHARMAP\n<U0000>..<U007F> /x00\nEND CHARMAP\n");
  folder.Write("source", "LC_TIME\nd_fmt \"" + date + "\"\nt_fmt \"" + time + "\"\nEND LC_TIME\n");
  const std::string command =
      "cd '" + folder.NativePath().string() + "' && localedef -c -i source -f ./charmap ./" + name + " >/dev/null 2>&1";
  EXPECT_NE(std::system(command.c_str()), -1);
  ASSERT_TRUE(folder.Has(name)) << command;
}

TEST(LocaleContract, FollowsTheEnvironment) {
  const TempFolder folder;
  ASSERT_NO_FATAL_FAILURE(MakeLocale(folder, "made", "%d. %m. %Y", "%H-%M-%S"));
  ASSERT_NO_FATAL_FAILURE(MakeLocale(folder, "words", "%d abc., %Y", "-03 %H h %M"));
  std::filesystem::permissions(folder.NativePath(), std::filesystem::perms(0755));
  const std::pair<const char*, const char*> cases[] = {
      {"C",       "65001 / :"},
      {"missing", "65001 / :"},
      {"C.UTF-8", "65001 / :"},
      {"made",    "1251 . -" },
      {"words",   "1251 / :" },
  };
  for (const auto& row : cases) {
    const auto is_told = [&] {
      setenv("LOCPATH", folder.NativePath().c_str(), 1);
      setenv("LC_ALL", row.first, 1);
      PosixLocale locale(std::nullopt);
      return std::to_string(locale.DefaultCodePage().value_or(0)) + " " + locale.DateSeparator() + " " +
                 locale.TimeSeparator() ==
             row.second;
    };
    EXPECT_EQ(AsOrdinaryUser(is_told), 1) << row.first;
  }
}

TEST(LocaleContract, EachCodesetHasItsCodePage) {
  std::istringstream cases(
      "UTF-8 65001 ISO-8859-1 1252 ISO-8859-15 1252 ISO-8859-2 1250 ISO-8859-4 1257 ISO-8859-5 1251 ISO-8859-6 1256 "
      "ISO-8859-7 1253 ISO-8859-8 1255 ISO-8859-9 1254 ISO-8859-13 1257 KOI8-R 1251 KOI8-U 1251 CP1250 1250 "
      "CP1252 1252 CP1255 1255 CP1256 1256 TIS-620 874 TCVN5712-1 1258 EUC-JP 932 SHIFT_JIS 932 EUC-KR 949 "
      "GB2312 936 GBK 936 GB18030 936 BIG5 950 BIG5-HKSCS 950 ARMSCII-8 0");
  const TempFolder folder;
  const ScopedEnvironment path("LOCPATH", folder.NativePath().string());
  std::string expected;
  for (std::string codeset; cases >> codeset >> expected;) {
    ASSERT_NO_FATAL_FAILURE(MakeLocale(folder, "l" + codeset, "%d", "%H", codeset));
    const ScopedEnvironment name("LC_ALL", "l" + codeset);
    PosixLocale locale(std::nullopt);
    EXPECT_EQ(std::to_string(locale.DefaultCodePage().value_or(0)), expected) << codeset;
  }
}

}  // namespace
}  // namespace tsly
