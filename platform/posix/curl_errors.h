// Errors of a transfer in the platform's numbers: those of the Windows Internet functions (wininet.h, "WinINet error
// codes"), and system codes (system_codes.h) for the local disk. The only translation of libcurl's numbers.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <string>

#include "ports/fault.h"

namespace tsly {

inline constexpr std::int32_t kInternetInvalidUrl = 12005;
inline constexpr std::int32_t kInternetUnrecognizedScheme = 12006;
inline constexpr std::int32_t kInternetInvalidOperation = 12016;

// The circumstances that select one of several numbers for a result of libcurl.
struct CurlFailure {
  CURLcode result = CURLE_OK;
  long system_error = 0;     // errno of the failed connection, if there is one
  long verify_result = 0;    // of the certificate, from X509_verify_cert
  bool redirecting = false;  // failed while following a redirect
  bool secure = false;       // https
  std::string detail;        // libcurl's own message, or ""
};

// Never 0. The description is a sentence for the user, followed by the detail in brackets.
Fault InternetError(const CurlFailure& failure);

// The same for a known number: one of the above, or a result code of storing the response.
Fault InternetError(std::int32_t number);

}  // namespace tsly
