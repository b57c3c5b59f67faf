// Whether the texts of a language file fit their controls, measured in the font that the dialog shows them in.
#pragma once

#include <vector>

#include "ports/toolkit.h"
#include "tslyLanguage/language_file.h"

namespace tsly {

std::vector<Finding> CheckFit(const LanguageFile& file, Toolkit& toolkit);

}  // namespace tsly
