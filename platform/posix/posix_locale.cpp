#include "posix/posix_locale.h"

#include <langinfo.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace tsly {
namespace {

struct CodesetRow {
  std::string_view codeset;
  std::uint32_t code_page;
};

// "ANSI_X3.4-1968" is the C locale's codeset; its text counts as UTF-8.
constexpr CodesetRow kCodesets[] = {
    {"UTF-8",          65001},
    {"ANSI_X3.4-1968", 65001},
    {"ISO-8859-1",     1252 },
    {"ISO-8859-15",    1252 },
    {"ISO-8859-2",     1250 },
    {"ISO-8859-4",     1257 },
    {"ISO-8859-5",     1251 },
    {"ISO-8859-6",     1256 },
    {"ISO-8859-7",     1253 },
    {"ISO-8859-8",     1255 },
    {"ISO-8859-9",     1254 },
    {"ISO-8859-13",    1257 },
    {"KOI8-R",         1251 },
    {"KOI8-U",         1251 },
    {"CP1250",         1250 },
    {"CP1251",         1251 },
    {"CP1252",         1252 },
    {"CP1255",         1255 },
    {"CP1256",         1256 },
    {"TIS-620",        874  },
    {"TCVN5712-1",     1258 },
    {"EUC-JP",         932  },
    {"SHIFT_JIS",      932  },
    {"EUC-KR",         949  },
    {"GB2312",         936  },
    {"GBK",            936  },
    {"GB18030",        936  },
    {"BIG5",           950  },
    {"BIG5-HKSCS",     950  },
};

struct CharsetRow {
  std::uint32_t code_page;
  std::int32_t charset;
};

constexpr CharsetRow kCharsets[] = {
    {65001, 0  },
    {1252,  0  },
    {932,   128},
    {949,   129},
    {936,   134},
    {950,   136},
    {1253,  161},
    {1254,  162},
    {1258,  163},
    {1255,  177},
    {1256,  178},
    {1257,  186},
    {1251,  204},
    {874,   222},
    {1250,  238},
};

std::optional<std::uint32_t> CodePageOf(std::string_view codeset) {
  for (const CodesetRow& row : kCodesets) {
    if (row.codeset == codeset) return row.code_page;
  }
  return std::nullopt;
}

locale_t EnvironmentLocale() {
  const locale_t named = newlocale(LC_ALL_MASK, "", nullptr);
  return named != nullptr ? named : newlocale(LC_ALL_MASK, "C", nullptr);
}

constexpr std::string_view kSeparators = ",-./:;'|_";

}  // namespace

std::optional<std::uint32_t> CodePageFromEnvironment() {
  const char* text = std::getenv("TSLY_CODEPAGE");
  if (text == nullptr) return std::nullopt;
  const std::string_view digits = text;
  std::uint32_t number = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (failure != std::errc() || end != digits.data() + digits.size() || number == 0) return std::nullopt;
  return number;
}

PosixLocale::PosixLocale(std::optional<std::uint32_t> code_page)
    : code_page_(code_page), locale_(EnvironmentLocale(), freelocale) {}

std::optional<std::uint32_t> PosixLocale::DefaultCodePage() {
  return code_page_ ? code_page_ : CodePageOf(nl_langinfo_l(CODESET, locale_.get()));
}

std::optional<std::int32_t> PosixLocale::CharsetOf(std::uint32_t code_page) {
  for (const CharsetRow& row : kCharsets) {
    if (row.code_page == code_page) return row.charset;
  }
  return std::nullopt;
}

std::string PosixLocale::DateSeparator() { return SeparatorIn("%x", "/"); }

std::string PosixLocale::TimeSeparator() { return SeparatorIn("%X", ":"); }

// The first separator between two numbers of a date or time in the locale's format. None if there are words between
// them, such as the month's name or the time zone.
std::string PosixLocale::SeparatorIn(const char* format, const char* otherwise) const {
  tm sample{};
  sample.tm_year = 103;
  sample.tm_mday = 4;
  sample.tm_hour = 5;
  std::array<char, 128> text{};
  const std::size_t length = strftime_l(text.data(), text.size(), format, &sample, locale_.get());
  const std::string_view written(text.data(), length);
  const auto is_digit = [&](std::size_t at) { return at < length && written[at] >= '0' && written[at] <= '9'; };
  for (std::size_t i = 1; i < length; ++i) {
    const std::size_t next = i + 1 < length && written[i + 1] == ' ' ? i + 2 : i + 1;  // "4. 1. 2003"
    if (kSeparators.find(written[i]) == std::string_view::npos || !is_digit(i - 1) || !is_digit(next)) continue;
    return std::string(1, written[i]);
  }
  return otherwise;
}

}  // namespace tsly
