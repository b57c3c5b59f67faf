// Names of files against patterns with wildcards. "*" and "*.*" are what they are to the platform's file search; "?" is
// simpler here: there it may also stand for no letter, before a dot and at the end of a name.
#pragma once

#include <string_view>

namespace tsly {

bool HasWildcards(std::string_view pattern);

// "*" stands for any letters, "?" for one; a pattern's ".*" at the end fits a name without a dot too, so "*.*" fits
// every name. Letter case must have been made alike before.
bool FitsNamePattern(std::string_view name, std::string_view pattern);

}  // namespace tsly
