// libcurl's results as numbers of common/transfer_errors.h; the only translation of libcurl's numbers.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <string>

#include "common/transfer_errors.h"

namespace tsly {

// The circumstances that select one of several numbers for a result of libcurl.
struct CurlFailure {
  CURLcode result = CURLE_OK;
  long system_error = 0;     // errno of the failed connection, if there is one
  long verify_result = 0;    // of the certificate, from X509_verify_cert
  bool redirecting = false;  // failed while following a redirect
  bool secure = false;       // https
  std::string detail;        // libcurl's own message, or ""
};

Fault InternetError(const CurlFailure& failure);

}  // namespace tsly
