// The room that a text takes in a font. One thread. Texts are UTF-8; lengths are twips.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tsly {

using Twips = std::int32_t;  // 1440 to the inch, 15 to the pixel at 96 dpi

struct Font {
  std::string name = "Tahoma";
  double points = 8.25;
  bool bold = false;
  bool underline = false;
  std::int32_t charset = 1;  // LOGFONT numbers (wingdi.h); 1 = default

  bool operator==(const Font&) const = default;
};

struct TextSize {
  Twips width = 0;
  Twips height = 0;
};

class TextMeasure {
 public:
  virtual ~TextMeasure() = default;
  // The size of `text`, line ends obeyed; wrapped at words to `wrap_width` if given, in one line per paragraph
  // otherwise. An empty text is one line high. One line of 8.25 point Tahoma is 195 twips high.
  virtual TextSize MeasureText(const std::string& text, const Font& font, std::optional<Twips> wrap_width) const = 0;
};

}  // namespace tsly
