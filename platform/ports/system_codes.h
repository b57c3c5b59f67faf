// The result codes of all ports, with the numbers of Windows (System Error Codes, winerror.h): settings, log lines and
// messages contain these numbers in every edition.
#pragma once

namespace tsly {

inline constexpr int kSuccess = 0;
inline constexpr int kFileNotFound = 2;
inline constexpr int kPathNotFound = 3;
inline constexpr int kTooManyOpenFiles = 4;
inline constexpr int kAccessDenied = 5;
inline constexpr int kInvalidHandle = 6;
inline constexpr int kNotEnoughMemory = 8;
inline constexpr int kInvalidData = 13;
inline constexpr int kNotSameDevice = 17;
inline constexpr int kWriteFault = 29;
inline constexpr int kReadFault = 30;
inline constexpr int kSharingViolation = 32;
inline constexpr int kBadNetworkPath = 53;
inline constexpr int kFileExists = 80;
inline constexpr int kInvalidParameter = 87;
inline constexpr int kDiskFull = 112;
inline constexpr int kAlreadyExists = 183;
inline constexpr int kBadExeFormat = 193;
inline constexpr int kNameTooLong = 206;
inline constexpr int kMoreData = 234;
inline constexpr int kNoMoreItems = 259;
inline constexpr int kRegistryCorrupt = 1009;
inline constexpr int kKeyDeleted = 1018;
inline constexpr int kCancelled = 1223;
inline constexpr int kInvalidWindowHandle = 1400;

}  // namespace tsly
