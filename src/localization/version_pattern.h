// Which versions of language and skin files this program accepts.
#pragma once

#include <string>

namespace tsly {

// `version` in lower case. Each dotted part has to fit the part of a pattern in its place, and there have to be as
// many.
bool IsAcceptedVersion(const std::string& version);

// Whether `text` fits `pattern`, in which "*" stands for any run of characters, none included.
bool FitsVersionPart(const std::string& text, const std::string& pattern);

}  // namespace tsly
