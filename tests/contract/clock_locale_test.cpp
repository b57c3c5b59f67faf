#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <sstream>

#include "posix/posix_locale.h"
#include "posix/system_clock.h"
#include "support/ordinary_user.h"
#include "support/scoped_environment.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

TEST(SystemClock, TellsLocalTimeWithItsFraction) {
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
                for (int i = 0; i < 100; ++i) {
                  const std::chrono::duration<double, std::ratio<86400>> unix_days =
                      std::chrono::system_clock::now().time_since_epoch();
                  const double off = (clock.Now() - c.days - kUnixDayZero - unix_days.count()) * 86400;
                  if (off < -0.001 || off > 0.2) return 1;  // far less than a second: the fraction counts
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

// Locales of the environment, made here because machines have few of them.
TEST(LocaleContract, FollowsTheEnvironment) {
  const TempFolder folder;
  const struct {
    const char* locale;
    const char* make;  // the locale's source and its codeset
    std::string code_page, date, time;
  } cases[] = {
      {"C",       nullptr,              std::string("65001\0", 6), "/", ":"},
      {"missing", nullptr,              std::string("65001\0", 6), "/", ":"},
      {"C.UTF-8", nullptr,              std::string("65001\0", 6), "/", ":"},

      {"bulg",    "-i bg_BG -f CP1251", std::string("1251\0",  5), ".", ":"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.locale);
    const std::string target = folder.NativePath(c.locale).string();
    if (c.make != nullptr) {
      const std::string command = std::string("localedef -c ") + c.make + " " + target + " >/dev/null 2>&1";
      if (std::system(command.c_str()) != 0 && !folder.Has(c.locale)) continue;  // no sources on this machine
    }
    std::filesystem::permissions(folder.NativePath(), std::filesystem::perms(0755));
    EXPECT_EQ(AsOrdinaryUser([&] {
                setenv("LOCPATH", folder.NativePath().c_str(), 1);
                setenv("LC_ALL", c.locale, 1);
                PosixLocale locale(std::nullopt);
                if (CodePage(locale) != c.code_page) return 1;
                if (locale.DateSeparator() != c.date) return 2;
                return locale.TimeSeparator() == c.time ? 0 : 3;
              }),
              0);
  }
}

}  // namespace
}  // namespace tsly
