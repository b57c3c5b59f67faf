// Checks that the texts of a language file fit their controls, in the fonts of the dialog.
#pragma once

#include <vector>

#include "ports/toolkit.h"
#include "tslyLanguage/language_file.h"

namespace tsly {

std::vector<Finding> CheckFit(const LanguageFile& file, Toolkit& toolkit);

}  // namespace tsly
