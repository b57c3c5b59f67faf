// Addresses as people and lists write them, made fit for a request.
#pragma once

#include <string>

#include "ports/fault.h"

namespace tsly {

// Gives `address` the form in which it is asked for: http when no scheme is given, blanks and bytes beyond ASCII
// escaped, "\" before a query as "/". A fault for an empty or malformed address (12005) and for a scheme other than
// http and https (12006).
Fault UsableAddress(const std::string& given, std::string& address);

}  // namespace tsly
