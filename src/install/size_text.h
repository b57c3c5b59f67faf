// The size of a pack for the transcript.
#pragma once

#include <string>

namespace tsly {

enum class SizeUnit { Bytes, KB, MB, GB };

struct SizeText {
  std::string value;  // a full stop as decimal sign, no trailing zeros
  SizeUnit unit;
};

// `size` in bytes; each unit is 1024 of the smaller one. Chooses the unit before rounding; values below 10 have two
// decimals, others one, rounded half to even.
SizeText FormatSize(double size);

}  // namespace tsly
