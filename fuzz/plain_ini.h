// A second, simple reader of INI files: lists of sections and keys, searched linearly. Implements the rules of
// ports/profile.h and ini_index.h, for comparison with the real one.
#pragma once

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace tsly {

class PlainIni {
 public:
  explicit PlainIni(std::string_view bytes, std::optional<std::uint32_t> code_page = std::nullopt) {
    const std::string text = Decoded(bytes, code_page);
    sections_.emplace_back();  // for lines before the first one
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
      end = std::min(text.find_first_of("\n\r", begin), text.size());
      const std::string_view line = std::string_view(text).substr(begin, end - begin);
      Read(Trimmed(line.substr(0, line.find('\0'))));
    }
  }

  std::optional<std::string> Value(const std::string& section, const std::string& key) const {
    const std::string folded = LowerCase(Trimmed(key));
    for (const Entry& entry : EntriesOf(section)) {
      if (!folded.empty() && entry.folded == folded) return entry.value;
    }
    return std::nullopt;
  }
  std::vector<std::string> Sections() const {
    std::vector<std::string> names;
    for (const Section& section : sections_) {
      if (!section.name.empty()) names.push_back(section.name);
    }
    return names;
  }
  std::vector<std::string> Keys(const std::string& section) const {
    std::vector<std::string> names;
    for (const Entry& entry : EntriesOf(section)) {
      if (entry.name[0] != ';') names.push_back(entry.name);
    }
    return names;
  }

 private:
  struct Entry {
    std::string name, folded, value;
  };
  struct Section {
    std::string name, folded;
    std::vector<Entry> entries;
  };

  static std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t"), last = text.find_last_not_of(" \t");
    return first == text.npos ? text.substr(0, 0) : text.substr(first, last + 1 - first);
  }

  void Read(std::string_view line) {
    if (line.starts_with('[') && line.find(']') != line.npos) {
      const std::string name(Trimmed(line.substr(1, line.rfind(']') - 1)));
      sections_.push_back({name, LowerCase(name), {}});
    } else if (const auto equals = line.find('='); equals != line.npos && equals > 0) {
      const std::string name(Trimmed(line.substr(0, equals)));
      std::string_view value = Trimmed(line.substr(equals + 1));
      const bool quoted = value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
      if (quoted) value = value.substr(1, value.size() - 2);
      sections_.back().entries.push_back({name, LowerCase(name), std::string(value)});
    }
  }

  // The entries of the first section of this name.
  const std::vector<Entry>& EntriesOf(const std::string& section) const {
    static const std::vector<Entry> kNone;
    const std::string folded = LowerCase(Trimmed(section));
    for (const Section& one : sections_) {
      if (!folded.empty() && one.folded == folded) return one.entries;
    }
    return kNone;
  }

  static std::string Decoded(std::string_view bytes, std::optional<std::uint32_t> code_page) {
    if (bytes.starts_with("\xFF\xFE")) return Converted(bytes.substr(2), "UTF-16LE", 2);
    if (code_page && *code_page != 65001) return Converted(bytes, ("CP" + std::to_string(*code_page)).c_str(), 1);
    return std::string(bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes);
  }
  // Converts each character with a new converter.
  static std::string Converted(std::string_view bytes, const char* codeset, std::size_t unit) {
    static auto& converters = *new std::map<std::string, iconv_t>;
    iconv_t& converter = converters[codeset];
    if (converter == nullptr) converter = iconv_open("UTF-8", codeset);
    std::string text;
    while (!bytes.empty()) {
      std::size_t length = 0, written = 0;
      for (std::size_t tried = unit; tried <= 4 && tried <= bytes.size() && written == 0; tried += unit) {
        char letter[8];
        char *in = const_cast<char*>(bytes.data()), *out = letter;
        std::size_t left = tried, room = sizeof letter;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        const bool is_done = iconv(converter, &in, &left, &out, &room) != static_cast<std::size_t>(-1);
        if (!is_done && errno == EILSEQ) break;
        if (!is_done) continue;
        length = tried;
        written = sizeof letter - room;
        text.append(letter, written);
      }
      if (written == 0) text += "\uFFFD";
      bytes.remove_prefix(std::min(bytes.size(), written == 0 ? unit : length));
    }
    return text;
  }

  std::vector<Section> sections_;
};

}  // namespace tsly
