#include "posix/ini_index.h"

#include <algorithm>
#include <bit>

#include "base/text.h"

namespace tsly {
namespace {

constexpr std::uint32_t kFree = 0xFFFFFFFF;

std::string_view TrimBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string_view WithoutQuotes(std::string_view text) {
  const bool quoted = text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
  return quoted ? text.substr(1, text.size() - 2) : text;
}

std::uint64_t Add(std::uint64_t hash, char c) { return (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3; }

// The same for names that differ in their capitals only (FNV-1a of the name in small letters). Nearly all names are
// ASCII and hashed as they are read; a copy of each would cost more than all the rest of the index.
std::uint32_t HashOf(std::string_view name, std::uint32_t section) {
  std::uint64_t hash = 0xCBF29CE484222325 + section * std::uint64_t{0x9E3779B97F4A7C15};
  const std::uint64_t begin = hash;
  for (const char c : name) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      hash = begin;
      for (const char folded : LowerCase(name)) hash = Add(hash, folded);
      break;
    }
    hash = Add(hash, c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c);
  }
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::size_t LineLength(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && text[length] != '\r' && text[length] != '\n') ++length;
  return length;
}

// What counts of a line.
std::string_view Contents(std::string_view line) { return TrimBlanks(line.substr(0, line.find('\0'))); }

}  // namespace

IniIndex::NameTable::NameTable(std::size_t names) : places_(std::bit_ceil(names * 2 + 1), Place{0, kFree}) {}

template <typename Predicate>
std::size_t IniIndex::NameTable::PlaceOf(std::uint32_t hash, Predicate is_it) const {
  std::size_t at = hash & (places_.size() - 1);
  while (places_[at].position != kFree && !(places_[at].hash == hash && is_it(places_[at].position))) {
    at = (at + 1) & (places_.size() - 1);
  }
  return at;
}

template <typename Predicate>
std::optional<std::uint32_t> IniIndex::NameTable::Find(std::uint32_t hash, Predicate is_it) const {
  const std::uint32_t position = places_[PlaceOf(hash, is_it)].position;
  return position != kFree ? std::optional(position) : std::nullopt;
}

template <typename Predicate>
void IniIndex::NameTable::Add(std::uint32_t hash, std::uint32_t position, Predicate is_it) {
  Place& place = places_[PlaceOf(hash, is_it)];
  if (place.position == kFree) place = {hash, position};
}

IniIndex::IniIndex(std::string text) : text_(std::move(text)) {
  for (std::size_t begin = 0; begin < text_.size();) {
    const std::size_t length = LineLength(std::string_view(text_).substr(begin));
    if (length > 0) {
      ReadLine(static_cast<std::uint32_t>(begin), Contents(std::string_view(text_).substr(begin, length)));
    }
    begin += length + 1;
  }
  FillTables();
}

void IniIndex::ReadLine(std::uint32_t begin, std::string_view line) {
  if (line.starts_with('[') && line.rfind(']') != std::string_view::npos) {
    sections_.push_back({TrimBlanks(line.substr(1, line.rfind(']') - 1)), entries_.size()});
    return;
  }
  const auto equals = line.find('=');
  if (equals == std::string_view::npos || equals == 0 || sections_.empty()) return;
  entries_.push_back({begin, static_cast<std::uint32_t>(sections_.size() - 1)});
}

std::string_view IniIndex::LineAt(std::uint32_t begin) const {
  const std::string_view rest = std::string_view(text_).substr(begin);
  return Contents(rest.substr(0, LineLength(rest)));
}

std::string_view IniIndex::KeyOf(const Entry& entry) const {
  const std::string_view line = LineAt(entry.line);
  return TrimBlanks(line.substr(0, line.find('=')));
}

void IniIndex::FillTables() {
  section_table_ = NameTable(sections_.size());
  for (std::uint32_t i = 0; i < sections_.size(); ++i) {
    const std::string_view name = sections_[i].name;
    section_table_.Add(HashOf(name, 0), i, [&](std::uint32_t j) { return IsSection(j, name); });
  }
  entry_table_ = NameTable(entries_.size());
  for (std::uint32_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    const std::string_view key = KeyOf(entry);
    entry_table_.Add(HashOf(key, entry.section), i, [&](std::uint32_t j) { return IsEntry(j, entry.section, key); });
  }
}

bool IniIndex::IsSection(std::uint32_t at, std::string_view name) const {
  return EqualIgnoringCase(sections_[at].name, name);
}

bool IniIndex::IsEntry(std::uint32_t at, std::uint32_t section, std::string_view key) const {
  return entries_[at].section == section && EqualIgnoringCase(KeyOf(entries_[at]), key);
}

std::optional<std::uint32_t> IniIndex::FindSection(std::string_view name) const {
  const std::string_view trimmed = TrimBlanks(name);
  if (trimmed.empty()) return std::nullopt;
  return section_table_.Find(HashOf(trimmed, 0), [&](std::uint32_t i) { return IsSection(i, trimmed); });
}

std::optional<std::string_view> IniIndex::Value(std::string_view section, std::string_view key) const {
  const auto section_at = FindSection(section);
  if (!section_at) return std::nullopt;
  const std::string_view trimmed = TrimBlanks(key);
  const auto entry_at = entry_table_.Find(HashOf(trimmed, *section_at),
                                          [&](std::uint32_t i) { return IsEntry(i, *section_at, trimmed); });
  if (!entry_at) return std::nullopt;
  const std::string_view line = LineAt(entries_[*entry_at].line);
  return WithoutQuotes(TrimBlanks(line.substr(line.find('=') + 1)));
}

std::vector<std::string_view> IniIndex::SectionNames() const {
  std::vector<std::string_view> names;
  for (const Section& section : sections_) {
    if (!section.name.empty()) names.push_back(section.name);
  }
  return names;
}

std::vector<std::string_view> IniIndex::KeyNames(std::string_view section) const {
  std::vector<std::string_view> names;
  const auto at = FindSection(section);
  if (!at) return names;
  for (std::size_t i = sections_[*at].first_entry; i < entries_.size() && entries_[i].section == *at; ++i) {
    const std::string_view key = KeyOf(entries_[i]);
    if (!key.starts_with(';')) names.push_back(key);
  }
  return names;
}

}  // namespace tsly
