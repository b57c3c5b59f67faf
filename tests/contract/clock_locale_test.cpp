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

TEST(SystemClock, TellsLocalTimeInWholeSeconds) {
  constexpr double kUnixDayZero = 25569;
  SystemClock clock;
  const struct {
    const char* zone;
    double days;
  } cases[] = {
      {"UTC0",      0         },
      {"XXX-05:30", 5.5 / 24  },
      {"YYY+11",    -11.0 / 24},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AsOrdinaryUser([&] {
                setenv("TZ", c.zone, 1);
                const std::int64_t before = UnixSeconds();
                for (int i = 0; i < 100; ++i) {
                  const double told = (clock.Now() - c.days - kUnixDayZero) * 86400;
                  const std::int64_t second = std::llround(told);
                  if (std::abs(told - static_cast<double>(second)) > 0.0001) return 1;
                  if (second < before || second > UnixSeconds()) return 2;
                }
                return 0;
              }),
              0)
        << c.zone;
  }
}

TEST(SystemClock, HasASteadySideThatGoesForward) {
  SystemClock clock;
  const SteadyTime begin = clock.Steady();
  const auto system_begin = std::chrono::steady_clock::now();
  while (clock.Steady() == begin) {
  }
  EXPECT_GT(clock.Steady(), begin);
  EXPECT_LT(clock.Steady() - begin, std::chrono::steady_clock::now() - system_begin + std::chrono::seconds(1));
}

std::string CodePage(Locale& locale) {
  char buffer[10];
  const int length = locale.DefaultCodePage(buffer);
  return length > 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "none";
}

TEST(LocaleContract, TranslatesCodePages) {
  PosixLocale locale(std::nullopt);
  std::istringstream cases(
      "1252 0 932 128 949 129 936 134 950 136 1253 161 1254 162 1258 163 1255 177 1256 178 1257 186 1251 204 874 222 "
      "1250 238 65001 0 437 -1");
  std::int32_t expected = 0;
  for (std::uint32_t code_page = 0; cases >> code_page >> expected;) {
    std::int32_t charset = -1;
    EXPECT_EQ(locale.TranslateCodePage(code_page, charset), expected >= 0) << code_page;
    EXPECT_EQ(charset, expected) << code_page;
  }
}

TEST(LocaleContract, TellsTheCodePage) {
  PosixLocale given(932);
  EXPECT_EQ(CodePage(given), std::string("932\0", 4));
  char buffer[3];
  EXPECT_EQ(given.DefaultCodePage(buffer), 0);
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"1251",        1251},
      {"",            0   },
      {"0",           0   },
      {"utf8",        0   },
      {"1252 ",       0   },
      {"-1",          0   },
      {"99999999999", 0   },
  };
  for (const auto& [text, code_page] : cases) {
    const ScopedEnvironment environment("TSLY_CODEPAGE", text);
    EXPECT_EQ(CodePageFromEnvironment().value_or(0), code_page) << text;
  }
}

// A locale in code page 1251, because machines have few that aren't in UTF-8. Its sources lack much, which is
// complained of and doesn't matter here.
void MakeLocale(const TempFolder& folder, const std::string& name, const std::string& date, const std::string& time) {
  folder.Write("charmap", "<code_set_name> CP1251\n<escape_char> /\nCHARMAP\n<U0000>..<U007F> /x00\nEND CHARMAP\n");
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
  const struct {
    const char* locale;
    std::string code_page, date, time;
  } cases[] = {
      {"C",       std::string("65001\0", 6), "/", ":"},
      {"missing", std::string("65001\0", 6), "/", ":"},
      {"C.UTF-8", std::string("65001\0", 6), "/", ":"},
      {"made",    std::string("1251\0",  5), ".", "-"},
      {"words",   std::string("1251\0",  5), "/", ":"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AsOrdinaryUser([&] {
                setenv("LOCPATH", folder.NativePath().c_str(), 1);
                setenv("LC_ALL", c.locale, 1);
                PosixLocale locale(std::nullopt);
                if (CodePage(locale) != c.code_page) return 1;
                if (locale.DateSeparator() != c.date) return 2;
                return locale.TimeSeparator() == c.time ? 0 : 3;
              }),
              0)
        << c.locale;
  }
}

}  // namespace
}  // namespace tsly
