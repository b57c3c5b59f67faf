// The unit of all lengths of the dialog.
#pragma once

#include <cstdint>

namespace tsly {

using Twips = std::int32_t;  // 1440 to the inch, 15 to the pixel at 96 dpi

}  // namespace tsly
