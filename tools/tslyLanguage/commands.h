// The commands of tslyLanguage. Takes the words behind the program's name, answers with its exit status.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "ports/toolkit.h"

namespace tsly {

enum class LanguageToolStatus { kDone = 0, kFound = 1, kUsage = 2, kRefused = 3 };

struct LanguageTool {
  Toolkit& toolkit;           // measures the texts
  std::string english;        // path of the English file, whose copy `new` begins with
  std::ostream &out, &error;  // findings; what keeps the tool from working

  LanguageToolStatus Run(const std::vector<std::string>& words) const;

 private:
  LanguageToolStatus Check(const std::vector<std::string>& files) const;
  LanguageToolStatus MakeNew(const std::string& name) const;
};

}  // namespace tsly
