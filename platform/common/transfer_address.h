// Converts addresses from users and updates files for a request.
#pragma once

#include <string>
#include <string_view>

#include "ports/fault.h"

namespace tsly {

// Adds http if there is no scheme, and replaces "\" before a query by "/". A fault for an empty address (12005) and for
// a scheme other than http and https (12006); checks nothing else.
Fault AddressWithScheme(const std::string& given, std::string& address);

// Whether the user's programs may open an address: http, https and mailto.
bool MayBeOpened(std::string_view address);

}  // namespace tsly
