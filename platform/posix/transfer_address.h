// Converts addresses from users and updates files for a request.
#pragma once

#include <string>

#include "ports/fault.h"

namespace tsly {

// Sets `address` to the form for a request: http if there is no scheme, blanks and non-ASCII bytes escaped, "\" before
// a query replaced by "/". A fault for an empty or malformed address (12005) and for a scheme other than http and https
// (12006).
Fault UsableAddress(const std::string& given, std::string& address);

}  // namespace tsly
