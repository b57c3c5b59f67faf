// What went wrong with a transfer, in the numbers that programs on the platform see: those of the Windows Internet
// functions (wininet.h, "WinINet error codes"), and of the system (system_codes.h) for the local disk. The only place
// where libcurl's numbers meet them.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <string>

#include "ports/fault.h"

namespace tsly {

inline constexpr std::int32_t kInternetInvalidUrl = 12005;
inline constexpr std::int32_t kInternetUnrecognizedScheme = 12006;
inline constexpr std::int32_t kInternetInvalidOperation = 12016;

// Circumstances that split one of libcurl's results into several numbers.
struct CurlFailure {
  CURLcode result = CURLE_OK;
  long system_error = 0;     // errno of the failed connection, if there is one
  long verify_result = 0;    // of the certificate, as X509_verify_cert tells it
  bool redirecting = false;  // an answer has sent the transfer elsewhere, and it did not get there
  bool secure = false;       // https
  std::string detail;        // libcurl's own words, or none
};

// Never 0. The description is a sentence for a person, followed by the detail in brackets.
Fault InternetError(const CurlFailure& failure);

// The same for a number that is known already: one of the above, or one of the platform's result codes, raised where
// the response is kept.
Fault InternetError(std::int32_t number);

}  // namespace tsly
