// The contents of one INI file, ready for look-ups. Built once from the whole text (UTF-8, or bytes that pass as they
// are; less than 4 GiB), never changed afterwards; any bytes are allowed. Views that it hands out live as long as the
// object.
//
// What counts as what: a line ends at CR or LF, and at its first NUL. "[name]" (up to the line's last bracket) opens a
// section (one without a name keeps its keys to itself); without a closing bracket it is nothing. "key=value" belongs
// to the section above it; a line without an equals sign or without a key is nothing. A line that begins with ";" is
// found under its key, semicolon included, but never listed.
//
// Cost: time linear in the text, whatever it holds, since the tables' seed is random; memory at most 3.4 times the
// text, the text included.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

class IniIndex {
 public:
  explicit IniIndex(std::string text);
  IniIndex(const IniIndex&) = delete;
  IniIndex& operator=(const IniIndex&) = delete;

  // Of sections and keys of one name the first one counts. Names match without regard to letter case.
  std::optional<std::string_view> Value(std::string_view section, std::string_view key) const;

  // Hands the names to `use` in file order, capitals as they stand, repeated ones too, until `use` gives false.
  template <typename Use>
  void EachSection(Use use) const {
    for (const std::uint32_t begin : sections_) {
      if (!use(Part(begin, '\n'))) return;
    }
  }
  template <typename Use>
  void EachKey(std::string_view section, Use use) const {
    const auto at = FindSection(section);
    if (!at) return;
    const std::uint32_t end = EndOf(*at);
    for (std::size_t line = NextLine(sections_[*at]); line < end; line = NextLine(line)) {
      if (text_[line] != ';' && !use(Part(line, '='))) return;
    }
  }

 private:
  // Open addressing. A place holds a position and, in the bits above it, a part of the hash, so that few wrong ones are
  // looked at: each look is a miss of the processor's cache.
  class NameTable {
   public:
    NameTable(std::size_t names, std::size_t positions);
    // The position kept under `hash` for which `is_it` holds.
    template <typename Predicate>
    std::optional<std::uint32_t> Find(std::uint64_t hash, Predicate is_it) const;
    // Keeps `position` unless there is one for which `is_it` holds; gives whether it was kept.
    template <typename Predicate>
    bool Add(std::uint64_t hash, std::uint32_t position, Predicate is_it);

   private:
    template <typename Predicate>
    std::size_t PlaceOf(std::uint64_t hash, Predicate is_it) const;
    std::uint32_t PositionAt(std::size_t place) const { return (places_[place] & position_bits_) - 1; }

    struct Free {
      void operator()(std::uint32_t* places) const { std::free(places); }
    };
    std::uint32_t position_bits_;
    std::size_t size_;
    // 0: free; the position counts from 1. Zeroed by the system, page by page when it is used: of a file of repeated
    // keys little is.
    std::unique_ptr<std::uint32_t[], Free> places_;
  };

  std::size_t Condense();
  void FillTables(std::size_t entries);
  static std::uint64_t HashOf(std::string_view name, std::uint64_t section);
  bool IsAt(std::size_t begin, std::string_view name, char end) const;
  std::optional<std::uint32_t> FindSection(std::string_view name) const;
  std::uint32_t EndOf(std::uint32_t section) const;
  std::size_t NextLine(std::size_t begin) const { return std::min(text_.find('\n', begin), text_.size() - 1) + 1; }
  std::string_view Part(std::size_t begin, char end) const {
    return std::string_view(text_).substr(begin, text_.find(end, begin) - begin);
  }

  // What counts of the file, rewritten in its own place: "\rname\n" for a section, "key=value\n" below it, blanks and
  // quotes already gone. So a name is compared in the text in no more steps than it has letters.
  std::string text_;
  std::vector<std::uint32_t> sections_;  // where their names begin, in file order
  NameTable section_table_{0, 0}, entry_table_{0, 0};
};

}  // namespace tsly
