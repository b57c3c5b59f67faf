// Which versions of language and skin files this program accepts.
#pragma once

#include <string>

namespace tsly {

// `version` in lower case. Each dotted part has to match the same part of a pattern, and the numbers of parts have to
// be equal.
bool IsAcceptedVersion(const std::string& version);

// Whether `text` matches `pattern`, in which "*" matches any characters, or none.
bool FitsVersionPart(const std::string& text, const std::string& pattern);

}  // namespace tsly
