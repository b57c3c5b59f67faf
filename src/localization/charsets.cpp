#include "localization/charsets.h"

namespace tsly {
namespace {

struct CharsetName {
  const char* name;
  std::int32_t charset;
};

constexpr CharsetName kCharsets[] = {
    {"western european",    -1 },
    {"japanese",            128},
    {"korean",              129},
    {"simplified chinese",  134},
    {"traditional chinese", 136},
    {"greek",               161},
    {"turkish",             162},
    {"vietnamese",          163},
    {"hebrew",              177},
    {"arabic",              178},
    {"baltic",              186},
    {"russian",             204},
    {"thai",                222},
    {"eastern european",    238},
};

}  // namespace

std::optional<std::int32_t> CharsetNamed(std::string_view name) {
  for (const CharsetName& row : kCharsets) {
    if (name == row.name) return row.charset;
  }
  return std::nullopt;
}

std::string FontOfCharset(std::int32_t charset) {
  switch (charset) {
    case 128:
      return "MS UI Gothic";
    case 134:
      return "SimSun";
    case 136:
      return "Microsoft JhengHei";
    case 178:
      return "Arial";
    default:
      return "";
  }
}

}  // namespace tsly
