// How an extraction ends: the reasons for a failure, and the sentence for each.
#pragma once

#include <cstdint>
#include <string>

namespace tsly {

// The results of Extract, one for each reason.
enum class UnzipResult : std::int32_t {
  kDone = 0,
  kCannotOpen = 1,
  kNotAnArchive = 2,
  kBadName = 3,
  kNotAFile = 4,
  kSameName = 5,
  kInTheWay = 6,
  kTooManyEntries = 7,
  kTooLarge = 8,
  kEncrypted = 9,
  kUnknownMethod = 10,
  kWrongChecksum = 11,
  kWrongSize = 12,
  kDamaged = 13,
  kDiskFull = 14,
  kCannotWrite = 15,
};

// Why an extraction failed.
struct UnzipFailure {
  UnzipResult reason = UnzipResult::kDone;
  std::string name;    // the entry, file or folder of the reason
  std::string detail;  // the message of the system or the library, if useful
};

// One sentence for the user; "" without a failure.
std::string Describe(const UnzipFailure& failure);

}  // namespace tsly
