// Errors of a transfer in the platform's numbers: those of the Windows Internet functions (wininet.h, "WinINet error
// codes"), and system codes (system_codes.h) for the local disk.
#pragma once

#include <cstdint>
#include <string>

#include "ports/fault.h"

namespace tsly {

inline constexpr std::int32_t kInternetTimeout = 12002;
inline constexpr std::int32_t kInternetInternalError = 12004;
inline constexpr std::int32_t kInternetInvalidUrl = 12005;
inline constexpr std::int32_t kInternetUnrecognizedScheme = 12006;
inline constexpr std::int32_t kInternetInvalidOperation = 12016;
inline constexpr std::int32_t kInternetCannotConnect = 12029;
inline constexpr std::int32_t kInternetConnectionAborted = 12030;
inline constexpr std::int32_t kInternetConnectionReset = 12031;
inline constexpr std::int32_t kInternetCertificateDate = 12037;
inline constexpr std::int32_t kInternetCertificateName = 12038;
inline constexpr std::int32_t kInternetClientCertificateNeeded = 12044;
inline constexpr std::int32_t kInternetInvalidAuthority = 12045;
inline constexpr std::int32_t kInternetInvalidServerResponse = 12152;
inline constexpr std::int32_t kInternetRedirectFailed = 12156;
inline constexpr std::int32_t kInternetSecureChannel = 12157;

// `number`: one of the above, kNameNotResolved, or a result code of storing the response; never 0. The description is a
// sentence for the user, followed by the detail in brackets.
Fault InternetError(std::int32_t number, const std::string& detail = "");

}  // namespace tsly
