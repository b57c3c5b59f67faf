// Addresses in the form that libcurl takes.
#pragma once

#include <string>

#include "ports/fault.h"

namespace tsly {

// As AddressWithScheme, with blanks and bytes beyond ASCII escaped. A fault for a malformed address too (12005).
Fault UsableAddress(const std::string& given, std::string& address);

}  // namespace tsly
