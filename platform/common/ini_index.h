// The indexed contents of one INI file. Built once from the whole text (UTF-8 or other bytes, which stay unchanged;
// less than 4 GiB) and immutable. Returned views are valid as long as the object.
//
// Syntax: a line ends at CR or LF, and at its first NUL. "[name]" (up to the line's last bracket) opens a section (keys
// of a section without a name can't be found); a line without the closing bracket is ignored. "key=value" belongs to
// the section above it; a line without an equals sign or without a key is ignored. A line that begins with ";" is found
// under its key, including the semicolon, but never listed.
//
// Cost: time linear in the text for any contents, as its hash is seeded at random; memory at most 3.4 times the text,
// including the text.
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

  // The first section or key of a name counts. Names are not case-sensitive.
  std::optional<std::string_view> Value(std::string_view section, std::string_view key) const;

  // Calls `use` with the names in file order, in their letter case, including repeated ones, until it returns false.
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
  // Open addressing. A slot has a position and, in the upper bits, a part of the hash, to avoid comparing wrong names:
  // each comparison is a cache miss.
  class NameTable {
   public:
    NameTable(std::size_t names, std::size_t positions);
    // The position stored under `hash` for which `is_it` is true.
    template <typename Predicate>
    std::optional<std::uint32_t> Find(std::uint64_t hash, Predicate is_it) const;
    // Stores `position` unless there is one for which `is_it` is true; returns whether it was stored.
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
    // 0: free; positions count from 1. The system zeroes the memory page by page on use: a file of repeated keys uses
    // few pages.
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

  // The significant parts of the file, rewritten in place: "\rname\n" for a section, "key=value\n" below it, without
  // blanks and quotes. So comparing a name takes no more steps than it has characters.
  std::string text_;
  std::vector<std::uint32_t> sections_;  // offsets of their names, in file order
  NameTable section_table_{0, 0}, entry_table_{0, 0};
};

}  // namespace tsly
