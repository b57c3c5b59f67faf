// Which modules count as newer, and which are excluded by others. Pure rules.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tsly {

// Compares dotted versions with any number of fields; a field that isn't a 32-bit number counts as 0. This is not the
// usual comparison: if the offered version has more fields, a field below the installed one decides, but one above
// doesn't end the scan. If either version is empty, the offered one isn't newer.
bool IsNewerVersion(const std::string& installed, const std::string& offered);

// Removes every module that another one in the list excludes, in the list's order; an excluded module excludes nothing.
// `names` counts from 1; element 0 stays empty. `excluded_by` returns the names that a module excludes, separated by
// commas.
void ApplyExcludes(std::vector<std::string>& names,
                   const std::function<std::string(const std::string& module)>& excluded_by);

}  // namespace tsly
