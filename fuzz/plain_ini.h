// A second reader of INI files, as plain and as slow as can be: it walks all lines at each question. Written from the
// rules of ports/profile.h and ini_index.h, to be compared with the real one.
#pragma once

#include <iconv.h>

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
    std::string line;
    for (const char c : text + '\n') {
      if (c != '\n' && c != '\r') {
        line += c;
        continue;
      }
      lines_.push_back(Trimmed(line.substr(0, line.find('\0'))));
      line.clear();
    }
  }

  std::optional<std::string> Value(const std::string& section, const std::string& key) const {
    for (const std::string& line : LinesOf(section)) {
      const auto equals = line.find('=');
      if (Trimmed(key).empty() || !SameName(Trimmed(line.substr(0, equals)), Trimmed(key))) continue;
      std::string value = Trimmed(line.substr(equals + 1));
      const bool quoted = value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
      return quoted ? value.substr(1, value.size() - 2) : value;
    }
    return std::nullopt;
  }
  std::vector<std::string> Sections() const {
    std::vector<std::string> names;
    for (const std::string& line : lines_) {
      if (IsSection(line) && !NameOf(line).empty()) names.push_back(NameOf(line));
    }
    return names;
  }
  std::vector<std::string> Keys(const std::string& section) const {
    std::vector<std::string> names;
    for (const std::string& line : LinesOf(section)) {
      if (line[0] != ';') names.push_back(Trimmed(line.substr(0, line.find('='))));
    }
    return names;
  }

 private:
  static std::string Trimmed(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.pop_back();
    while (!text.empty() && (text[0] == ' ' || text[0] == '\t')) text.erase(0, 1);
    return text;
  }
  static bool SameName(const std::string& a, const std::string& b) { return LowerCase(a) == LowerCase(b); }
  static bool IsSection(const std::string& line) { return line[0] == '[' && line.find(']') != line.npos; }
  static std::string NameOf(const std::string& line) { return Trimmed(line.substr(1, line.rfind(']') - 1)); }

  // The lines with keys of the first section of a name.
  std::vector<std::string> LinesOf(const std::string& section) const {
    std::vector<std::string> lines;
    bool is_inside = false;
    for (const std::string& line : lines_) {
      if (IsSection(line)) {
        if (is_inside) break;
        is_inside = !Trimmed(section).empty() && SameName(NameOf(line), Trimmed(section));
      } else if (is_inside && line.find('=') != line.npos && line[0] != '=') {
        lines.push_back(line);
      }
    }
    return lines;
  }

  static std::string Decoded(std::string_view bytes, std::optional<std::uint32_t> code_page) {
    if (bytes.starts_with("\xFF\xFE")) return Converted(bytes.substr(2), "UTF-16LE", 2);
    if (code_page && *code_page != 65001) return Converted(bytes, ("CP" + std::to_string(*code_page)).c_str(), 1);
    return std::string(bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes);
  }
  // Letter by letter, each by a converter that knows of no other.
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

  std::vector<std::string> lines_;
};

}  // namespace tsly
