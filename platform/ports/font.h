// A font of the dialog's design; an edition uses the most similar font of the system.
#pragma once

#include <cstdint>
#include <string>

namespace tsly {

struct Font {
  std::string name = "Tahoma";
  double points = 8.25;
  bool bold = false;
  bool underline = false;
  std::int32_t charset = 1;  // LOGFONT numbers (wingdi.h); 1 = default

  bool operator==(const Font&) const = default;
};

}  // namespace tsly
