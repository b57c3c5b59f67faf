// A font as the dialog names it; an edition takes the nearest that the system has.
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
