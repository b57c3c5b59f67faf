// The room that a text takes in a font. One thread. Texts are UTF-8; lengths are twips.
#pragma once

#include <optional>
#include <string>

#include "ports/font.h"
#include "ports/twips.h"

namespace tsly {

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
