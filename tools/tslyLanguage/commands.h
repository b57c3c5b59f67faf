// The commands of tslyLanguage. Takes the arguments after the program's name, returns its exit status.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "ports/toolkit.h"

namespace tsly {

enum class LanguageToolStatus { kDone = 0, kFound = 1, kUsage = 2, kRefused = 3 };

struct LanguageTool {
  Toolkit& toolkit;           // measures the texts
  std::string english;        // path of the English file, the template of `new`
  std::ostream &out, &error;  // findings; errors of the tool itself

  LanguageToolStatus Run(const std::vector<std::string>& words) const;

 private:
  LanguageToolStatus Check(const std::vector<std::string>& files) const;
  LanguageToolStatus MakeNew(const std::string& name) const;
};

}  // namespace tsly
