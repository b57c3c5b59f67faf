#include "common/ini_index.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <exception>
#include <new>
#include <random>

#include "base/text.h"

namespace tsly {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string_view WithoutQuotes(std::string_view text) {
  const bool quoted = text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
  return quoted ? text.substr(1, text.size() - 2) : text;
}

std::size_t LineLength(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && text[length] != '\r' && text[length] != '\n') ++length;
  return length;
}

// The significant part of a line.
std::string_view Contents(std::string_view line) { return TrimBlanks(line.substr(0, line.find('\0'))); }

bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }
char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// How much of `text` to fold at a time: short enough to need no allocation, and never a part of a character (no
// character begins with a byte 10xxxxxx or is longer than four bytes).
std::size_t PieceLength(std::string_view text) {
  constexpr std::size_t kPiece = 15;
  if (text.size() <= kPiece) return text.size();
  for (std::size_t length = kPiece; length > kPiece - 4; --length) {
    if ((static_cast<unsigned char>(text[length]) & 0xC0) != 0x80) return length;
  }
  return kPiece;
}

template <typename Use>
void EachFolded(std::string_view name, Use use) {
  while (!name.empty()) {
    const std::size_t length = IsAscii(name[0]) ? 1 : PieceLength(name);
    if (length == 1) {
      use(LowerAscii(name[0]));
    } else {
      for (const char c : LowerCase(name.substr(0, length))) use(c);
    }
    name.remove_prefix(length);
  }
}

// For texts of the same length.
bool AreEqualFolded(std::string_view a, std::string_view b) {
  std::size_t i = 0;
  while (i < a.size() && IsAscii(a[i]) && IsAscii(b[i])) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    ++i;
  }
  for (std::size_t length = 0; i < a.size(); i += length) {
    length = PieceLength(a.substr(i));
    if (!EqualIgnoringCase(a.substr(i, length), b.substr(i, length))) return false;
  }
  return true;
}

// Random, so that no file can be prepared to make its names collide.
std::uint64_t Seed() {
  static const std::uint64_t seed = [] {
    try {
      std::random_device random;
      return std::uint64_t{random()} << 32 | random();
    } catch (const std::exception&) {  // the system has no random numbers for now
      const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
      return static_cast<std::uint64_t>(now) * 0x9E3779B97F4A7C15;
    }
  }();
  return seed;
}

std::uint64_t Mix(std::uint64_t number) {
  number = (number ^ (number >> 32)) * 0xD6E8FEB86659FD93;
  number = (number ^ (number >> 32)) * 0xD6E8FEB86659FD93;
  return number ^ (number >> 32);
}

__extension__ typedef unsigned __int128 Wide;

// One step of evaluating a polynomial at a secret point, modulo the prime 2^61 - 1: two names of n bytes have the same
// value at no more than n points.
std::uint64_t Step(std::uint64_t value, std::uint64_t place, std::uint64_t next) {
  constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;
  const Wide product = Wide{value} * place + next;
  const std::uint64_t sum = (static_cast<std::uint64_t>(product) & kPrime) + static_cast<std::uint64_t>(product >> 61);
  return sum >= kPrime ? sum - kPrime : sum;
}

}  // namespace

// A slot for each name, and a third more.
IniIndex::NameTable::NameTable(std::size_t names, std::size_t positions)
    : position_bits_(static_cast<std::uint32_t>((std::uint64_t{1} << std::bit_width(positions)) - 1)),
      size_(names + names / 3 + 1),
      places_(static_cast<std::uint32_t*>(std::calloc(size_, sizeof(std::uint32_t)))) {
  if (!places_) throw std::bad_alloc();
}

template <typename Predicate>
std::size_t IniIndex::NameTable::PlaceOf(std::uint64_t hash, Predicate is_it) const {
  std::size_t place = ((hash >> 32) * size_) >> 32;
  const std::uint32_t tag = static_cast<std::uint32_t>(hash) & ~position_bits_;
  while (places_[place] != 0 && !((places_[place] & ~position_bits_) == tag && is_it(PositionAt(place)))) {
    if (++place == size_) place = 0;
  }
  return place;
}

template <typename Predicate>
std::optional<std::uint32_t> IniIndex::NameTable::Find(std::uint64_t hash, Predicate is_it) const {
  const std::size_t place = PlaceOf(hash, is_it);
  return places_[place] != 0 ? std::optional(PositionAt(place)) : std::nullopt;
}

template <typename Predicate>
bool IniIndex::NameTable::Add(std::uint64_t hash, std::uint32_t position, Predicate is_it) {
  std::uint32_t& place = places_[PlaceOf(hash, is_it)];
  if (place != 0) return false;
  place = (static_cast<std::uint32_t>(hash) & ~position_bits_) | (position + 1);
  return true;
}

IniIndex::IniIndex(std::string text) : text_(std::move(text)) { FillTables(Condense()); }

// Returns the number of entries. Never writes beyond what has been read: the two marks of a section replace its
// brackets, and only the last line may lack the character that its end needs.
std::size_t IniIndex::Condense() {
  std::size_t written = 0, entries = 0, sections = 0;
  bool has_name = false;
  const auto put = [&](std::string_view part) {
    std::copy(part.begin(), part.end(), text_.data() + written);
    written += part.size();
  };
  const std::string_view text = text_;
  for (std::size_t begin = 0, length = 0; begin < text.size(); begin += length + 1) {
    length = LineLength(text.substr(begin));
    const std::string_view line = Contents(text.substr(begin, length));
    const auto closing = line.starts_with('[') ? line.rfind(']') : std::string_view::npos;
    if (closing != std::string_view::npos) {
      const std::string_view name = TrimBlanks(line.substr(1, closing - 1));
      has_name = !name.empty();
      if (!has_name) continue;
      ++sections;
      put("\r"), put(name), put("\n");
      continue;
    }
    const auto equals = line.find('=');
    if (!has_name || equals == std::string_view::npos || equals == 0) continue;
    ++entries;
    const std::string_view value = WithoutQuotes(TrimBlanks(line.substr(equals + 1)));
    put(TrimBlanks(line.substr(0, equals))), put("="), put(value);
    if (written < text.size()) put("\n");
  }
  text_.resize(written);
  sections_.reserve(sections);
  return entries;
}

void IniIndex::FillTables(std::size_t entries) {
  section_table_ = NameTable(sections_.capacity(), sections_.capacity());
  entry_table_ = NameTable(entries, text_.size());
  bool is_first = false;  // later sections of the same name are only listed
  for (std::size_t line = 0; line < text_.size(); line = NextLine(line)) {
    if (text_[line] == '\r') {
      const auto section = static_cast<std::uint32_t>(sections_.size());
      sections_.push_back(static_cast<std::uint32_t>(line + 1));
      const std::string_view name = Part(line + 1, '\n');
      is_first = section_table_.Add(HashOf(name, 0), section,
                                    [&](std::uint32_t other) { return IsAt(sections_[other], name, '\n'); });
    } else if (is_first) {
      const std::string_view key = Part(line, '=');
      entry_table_.Add(HashOf(key, sections_.size()), static_cast<std::uint32_t>(line),
                       [&](std::uint32_t other) { return other >= sections_.back() && IsAt(other, key, '='); });
    }
  }
}

// Equal for names that differ only in letter case.
std::uint64_t IniIndex::HashOf(std::string_view name, std::uint64_t section) {
  const std::uint64_t place = Seed() >> 3;
  std::uint64_t value = section + 1;
  EachFolded(name, [&](char c) { value = Step(value, place, static_cast<unsigned char>(c)); });
  return Mix(value ^ Seed());
}

bool IniIndex::IsAt(std::size_t begin, std::string_view name, char end) const {
  const std::string_view rest = std::string_view(text_).substr(begin);
  return rest.size() > name.size() && rest[name.size()] == end && name.find(end) == std::string_view::npos &&
         AreEqualFolded(rest.substr(0, name.size()), name);
}

std::uint32_t IniIndex::EndOf(std::uint32_t section) const {
  return section + 1 < sections_.size() ? sections_[section + 1] - 1 : static_cast<std::uint32_t>(text_.size());
}

std::optional<std::uint32_t> IniIndex::FindSection(std::string_view name) const {
  const std::string_view trimmed = TrimBlanks(name);
  return section_table_.Find(HashOf(trimmed, 0), [&](std::uint32_t i) { return IsAt(sections_[i], trimmed, '\n'); });
}

std::optional<std::string_view> IniIndex::Value(std::string_view section, std::string_view key) const {
  const auto at = FindSection(section);
  if (!at) return std::nullopt;
  const std::string_view trimmed = TrimBlanks(key);
  const std::uint32_t begin = sections_[*at], end = EndOf(*at);
  const auto entry = entry_table_.Find(HashOf(trimmed, *at + 1), [&](std::uint32_t other) {
    return begin <= other && other < end && IsAt(other, trimmed, '=');
  });
  if (!entry) return std::nullopt;
  return Part(*entry + trimmed.size() + 1, '\n');
}

}  // namespace tsly
