// A language file as its translator sees it: lines with numbers, and the texts that the program reads from it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/ini_index.h"

namespace tsly {

struct Finding {
  int line;  // from 1; 0: the file as a whole
  std::string advice;
};

struct LanguageLine {
  enum class Kind { kNothing, kSection, kEntry, kOther };  // kNothing: empty, or a comment
  Kind kind = Kind::kNothing;
  std::string name;   // of the section or the key
  std::string value;  // unchanged, including quotes
};

class LanguageFile {
 public:
  // `contents` are the bytes of the file. A byte order mark at the start is skipped.
  explicit LanguageFile(std::string contents);

  const std::vector<LanguageLine>& Lines() const { return lines_; }

  // By resource key ("49:Title"): the text as the program shows it, and its line. Nothing if the key is missing.
  struct Text {
    int line;
    std::string text;
  };
  std::optional<Text> Find(std::string_view resource_key) const;
  // The line of a section's first heading, 0 without one.
  int HeadingOf(std::string_view section) const;

 private:
  std::vector<LanguageLine> lines_;
  IniIndex index_;
};

// The section and the name of a resource key.
struct KeyPlace {
  std::string section;
  std::string name;
};
KeyPlace PlaceOfKey(std::string_view resource_key);

}  // namespace tsly
