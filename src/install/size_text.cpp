#include "install/size_text.h"

#include <cmath>

#include "base/text.h"

namespace tsly {
namespace {

double RoundHalfToEven(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::nearbyint(value * scale) / scale;  // the default rounding mode is half to even
}

// ".5" instead of "0.5", as in locale-independent number texts.
std::string NumberText(double number) {
  std::string text = PlainDecimal(number);
  if (text.starts_with("0.")) text.erase(0, 1);
  if (text.starts_with("-0.")) text.erase(1, 1);
  return text;
}

}  // namespace

SizeText FormatSize(double size) {
  constexpr double kStep = 1024;
  if (size < kStep) return {NumberText(size), SizeUnit::Bytes};
  SizeUnit unit = SizeUnit::KB;
  size /= kStep;
  if (size >= kStep) {
    unit = SizeUnit::MB;
    size /= kStep;
  }
  if (size >= kStep) {
    unit = SizeUnit::GB;
    size /= kStep;
  }
  return {NumberText(RoundHalfToEven(size, size < 10 ? 2 : 1)), unit};
}

}  // namespace tsly
