// Matches file names with wildcard patterns. "*" and "*.*" are as in the platform's file search; "?" is simpler: on the
// platform it may also match no character, before a dot and at the end of a name.
#pragma once

#include <string_view>

namespace tsly {

bool HasWildcards(std::string_view pattern);

// "*" matches any characters, "?" one; ".*" at the end also matches a name without a dot, so "*.*" matches every name.
// The caller must fold the letter case.
bool FitsNamePattern(std::string_view name, std::string_view pattern);

}  // namespace tsly
