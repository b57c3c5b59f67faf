// The size of a pack as the transcript shows it.
#pragma once

#include <string>

namespace tsly {

enum class SizeUnit { Bytes, KB, MB, GB };

struct SizeText {
  std::string value;  // a full stop as decimal sign, no trailing zeros
  SizeUnit unit;
};

// `size` in bytes; 1024 to the next unit. The unit is chosen before rounding; values below 10 keep two decimals, others
// one, rounded half to even.
SizeText FormatSize(double size);

}  // namespace tsly
