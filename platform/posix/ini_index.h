// The contents of one INI file, ready for look-ups. Built once from the whole text (UTF-8, or bytes that pass as they
// are; less than 4 GiB), never changed afterwards; any bytes are allowed. Views that it hands out live as long as the
// object.
//
// What counts as what: a line ends at CR or LF, and at its first NUL. "[name]" (up to the line's last bracket) opens a
// section (one without a name keeps its keys to itself); without a closing bracket it is nothing. "key=value" belongs
// to the section above it; a line without an equals sign or without a key is nothing. A line that begins with ";" is
// found under its key, semicolon included, but never listed.
#pragma once

#include <cstdint>
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

  // In file order, capitals as they stand, repeated ones too.
  std::vector<std::string_view> SectionNames() const;
  std::vector<std::string_view> KeyNames(std::string_view section) const;

 private:
  struct Section {
    std::string_view name;
    std::size_t first_entry;
  };
  // Only where the line begins; it is taken apart again when it is asked for. On large files the memory to be filled is
  // what building an index costs.
  struct Entry {
    std::uint32_t line;
    std::uint32_t section;
  };
  // Open addressing: the places hold positions in a list together with the hash of the name there.
  class NameTable {
   public:
    explicit NameTable(std::size_t names);
    // The position kept under `hash` for which `is_it` holds.
    template <typename Predicate>
    std::optional<std::uint32_t> Find(std::uint32_t hash, Predicate is_it) const;
    // Keeps `position` unless there is one for which `is_it` holds.
    template <typename Predicate>
    void Add(std::uint32_t hash, std::uint32_t position, Predicate is_it);

   private:
    struct Place {
      std::uint32_t hash;
      std::uint32_t position;
    };
    template <typename Predicate>
    std::size_t PlaceOf(std::uint32_t hash, Predicate is_it) const;

    std::vector<Place> places_;
  };

  void ReadLine(std::uint32_t begin, std::string_view line);
  std::string_view LineAt(std::uint32_t begin) const;
  std::string_view KeyOf(const Entry& entry) const;
  void FillTables();
  bool IsSection(std::uint32_t at, std::string_view name) const;
  bool IsEntry(std::uint32_t at, std::uint32_t section, std::string_view key) const;
  std::optional<std::uint32_t> FindSection(std::string_view name) const;

  std::string text_;
  std::vector<Section> sections_;
  std::vector<Entry> entries_;
  NameTable section_table_{0}, entry_table_{0};
};

}  // namespace tsly
