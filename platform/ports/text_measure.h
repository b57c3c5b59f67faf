// The size of a text in a font. One thread. Texts are UTF-8; lengths are in twips.
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
  // The size of `text` with its line ends, wrapped between words at `wrap_width` if given. An empty text is one line
  // high. One line of 8.25 point Tahoma is 195 twips high.
  virtual TextSize MeasureText(const std::string& text, const Font& font, std::optional<Twips> wrap_width) const = 0;
};

}  // namespace tsly
