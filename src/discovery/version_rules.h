// When a module counts as newer, and which offers take others off the list. Pure rules.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tsly {

// Compares dotted versions of any number of fields; a field that is no 32-bit number counts as 0. This is no textbook
// comparison: where the offered version has more fields, a field below the installed one settles it, but one above
// doesn't end the scan. An empty version on either side is never new.
bool IsNewerVersion(const std::string& installed, const std::string& offered);

// Blanks every module that another one in the list excludes, in the list's order, an excluded one excluding nothing any
// more, and closes the gaps. `names` counts from 1; element 0 stays empty. `excluded_by` gives a module's names,
// separated by commas.
void ApplyExcludes(std::vector<std::string>& names,
                   const std::function<std::string(const std::string& module)>& excluded_by);

}  // namespace tsly
