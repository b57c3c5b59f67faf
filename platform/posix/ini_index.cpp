#include "posix/ini_index.h"

#include <algorithm>
#include <bit>
#include <functional>

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

std::uint32_t HashOf(std::string_view folded_name, std::uint32_t section) {
  const std::uint64_t hash = std::hash<std::string_view>()(folded_name) + section * std::uint64_t{0x9E3779B97F4A7C15};
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

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
  std::string_view rest = text_;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    const std::string_view line = rest.substr(0, end);
    ReadLine(TrimBlanks(line.substr(0, line.find('\0'))));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  FillTables();
}

void IniIndex::ReadLine(std::string_view line) {
  if (line.starts_with('[') && line.rfind(']') != std::string_view::npos) {
    sections_.push_back({TrimBlanks(line.substr(1, line.rfind(']') - 1)), entries_.size()});
    return;
  }
  const auto equals = line.find('=');
  if (equals == std::string_view::npos || sections_.empty()) return;
  const std::string_view key = TrimBlanks(line.substr(0, equals));
  if (key.empty()) return;
  const auto section = static_cast<std::uint32_t>(sections_.size() - 1);
  entries_.push_back({key, WithoutQuotes(TrimBlanks(line.substr(equals + 1))), section});
}

void IniIndex::FillTables() {
  section_table_ = NameTable(sections_.size());
  for (std::uint32_t i = 0; i < sections_.size(); ++i) {
    const std::string folded = LowerCase(sections_[i].name);
    section_table_.Add(HashOf(folded, 0), i, [&](std::uint32_t j) { return LowerCase(sections_[j].name) == folded; });
  }
  entry_table_ = NameTable(entries_.size());
  for (std::uint32_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    const std::string folded = LowerCase(entry.key);
    entry_table_.Add(HashOf(folded, entry.section), i, [&](std::uint32_t j) {
      return entries_[j].section == entry.section && LowerCase(entries_[j].key) == folded;
    });
  }
}

std::optional<std::uint32_t> IniIndex::FindSection(std::string_view name) const {
  const std::string folded = LowerCase(TrimBlanks(name));
  if (folded.empty()) return std::nullopt;
  return section_table_.Find(HashOf(folded, 0),
                             [&](std::uint32_t i) { return LowerCase(sections_[i].name) == folded; });
}

std::optional<std::string_view> IniIndex::Value(std::string_view section, std::string_view key) const {
  const auto section_at = FindSection(section);
  if (!section_at) return std::nullopt;
  const std::string folded = LowerCase(TrimBlanks(key));
  const auto entry_at = entry_table_.Find(HashOf(folded, *section_at), [&](std::uint32_t i) {
    return entries_[i].section == *section_at && LowerCase(entries_[i].key) == folded;
  });
  return entry_at ? std::optional(entries_[*entry_at].value) : std::nullopt;
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
  const std::size_t end = *at + 1 < sections_.size() ? sections_[*at + 1].first_entry : entries_.size();
  for (std::size_t i = sections_[*at].first_entry; i < end; ++i) {
    if (!entries_[i].key.starts_with(';')) names.push_back(entries_[i].key);
  }
  return names;
}

}  // namespace tsly
