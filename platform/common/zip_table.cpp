#include "common/zip_table.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/text.h"
#include "ports/files.h"

namespace tsly {
namespace {

using enum UnzipResult;
using Bytes = std::string_view;

constexpr std::size_t kEnd = 22, kEnd64 = 56, kLocator = 20, kCentral = 46, kLocal = 30, kLongestComment = 65535;
constexpr std::uint64_t kSee64 = 0xFFFFFFFF;  // the value is in the ZIP64 field
constexpr unsigned kEncryptedFlag = 1, kSizesFollow = 8, kUtf8 = 0x800;

// Numbers are little-endian.
std::uint64_t Number(Bytes bytes, std::size_t at, std::size_t length) {
  std::uint64_t number = 0;
  while (length-- > 0) number = number << 8 | static_cast<unsigned char>(bytes[at + length]);
  return number;
}
unsigned Two(Bytes bytes, std::size_t at) { return static_cast<unsigned>(Number(bytes, at, 2)); }
std::uint32_t Four(Bytes bytes, std::size_t at) { return static_cast<std::uint32_t>(Number(bytes, at, 4)); }
std::uint64_t Eight(Bytes bytes, std::size_t at) { return Number(bytes, at, 8); }

// Reads the file in parts.
class Window {
 public:
  explicit Window(OpenFile& file) : file_(file) {
    std::int64_t length = 0;
    is_readable_ = file.Length(length) == 0 && length >= 0;
    length_ = is_readable_ ? static_cast<std::uint64_t>(length) : 0;
  }

  std::uint64_t Length() const { return length_; }
  bool IsReadable() const { return is_readable_; }

  // Valid until the next call; "" if the file has no such part or it can't be read. Reads `ahead` bytes more for the
  // next calls.
  Bytes At(std::uint64_t place, std::size_t length, std::size_t ahead = 0) {
    if (place > length_ || length > length_ - place) return {};
    if (place < start_ || place + length > start_ + held_.size()) {
      start_ = place;
      held_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(std::max(length, ahead), length_ - place)));
      if (!Fill()) return {};
    }
    return Bytes(held_).substr(static_cast<std::size_t>(place - start_), length);
  }

 private:
  bool Fill() {
    for (std::size_t filled = 0, got = 0; filled < held_.size(); filled += got) {
      const std::span<char> rest = std::span<char>(held_).subspan(filled);
      if (file_.ReadAt(static_cast<std::int64_t>(start_ + filled), rest, got) == 0 && got > 0) continue;
      held_.clear();
      return is_readable_ = false;
    }
    return true;
  }

  OpenFile& file_;
  std::uint64_t length_ = 0, start_ = 0;
  std::string held_;
  bool is_readable_ = false;
};

// The end record's description of the directory.
struct Directory {
  std::uint64_t disk = 0, first_disk = 0, entries_here = 0, entries = 0, size = 0, offset = 0;
  std::uint64_t start = 0, end = 0;  // its position in the file
};

bool Agrees(std::uint64_t narrow, std::uint64_t see_64, std::uint64_t wide) {
  return narrow == see_64 || narrow == wide;
}

// The ZIP64 end record and its locator, if any, are right before the other end record.
bool ReadEnd64(Window& window, Directory& directory) {
  if (directory.end < kEnd64 + kLocator) return true;
  const std::uint64_t place = directory.end - kEnd64 - kLocator;
  const Bytes record = window.At(place, kEnd64 + kLocator);
  if (record.empty()) return false;
  const Bytes locator = record.substr(kEnd64);
  if (!locator.starts_with("PK\6\7")) return true;
  if (Four(locator, 4) != 0 || Eight(locator, 8) != place || Four(locator, 16) != 1) return false;
  if (!record.starts_with("PK\6\6") || Eight(record, 4) != kEnd64 - 12) return false;
  const Directory wide{.disk = Four(record, 16),
                       .first_disk = Four(record, 20),
                       .entries_here = Eight(record, 24),
                       .entries = Eight(record, 32),
                       .size = Eight(record, 40),
                       .offset = Eight(record, 48),
                       .end = place};
  if (!Agrees(directory.disk, 0xFFFF, wide.disk) || !Agrees(directory.first_disk, 0xFFFF, wide.first_disk) ||
      !Agrees(directory.entries_here, 0xFFFF, wide.entries_here) || !Agrees(directory.entries, 0xFFFF, wide.entries) ||
      !Agrees(directory.size, kSee64, wide.size) || !Agrees(directory.offset, kSee64, wide.offset)) {
    return false;
  }
  directory = wide;
  return wide.offset <= place && wide.size == place - wide.offset;
}

UnzipResult FindDirectory(Window& window, Directory& directory) {
  if (window.Length() < kEnd) return kNotAnArchive;
  const auto tail_length = static_cast<std::size_t>(std::min<std::uint64_t>(window.Length(), kEnd + kLongestComment));
  const Bytes tail = window.At(window.Length() - tail_length, tail_length);
  const std::size_t found = tail.empty() ? tail.npos : tail.rfind("PK\5\6", tail_length - kEnd);
  if (found == tail.npos) return kNotAnArchive;
  const Bytes end = tail.substr(found);
  if (end.size() != kEnd + Two(end, 20)) return kDamaged;
  directory = {.disk = Two(end, 4),
               .first_disk = Two(end, 6),
               .entries_here = Two(end, 8),
               .entries = Two(end, 10),
               .size = Four(end, 12),
               .offset = Four(end, 16),
               .end = window.Length() - end.size()};
  if (!ReadEnd64(window, directory)) return kDamaged;
  if (directory.disk != 0 || directory.first_disk != 0) return kDamaged;
  if (directory.entries_here != directory.entries || directory.size > directory.end) return kDamaged;
  directory.start = directory.end - directory.size;
  return directory.offset <= directory.start ? kDone : kDamaged;
}

// The contents of the extra field `number`, "" without one; nothing if the fields are malformed or it exists twice.
// Some tools leave up to three zeros at the end, for alignment.
std::optional<Bytes> FieldOf(Bytes extra, unsigned number) {
  std::optional<Bytes> field;
  while (extra.size() >= 4) {
    const std::size_t length = Two(extra, 2);
    if (length > extra.size() - 4 || (Two(extra, 0) == number && field)) return std::nullopt;
    if (Two(extra, 0) == number) field = extra.substr(4, length);
    extra.remove_prefix(4 + length);
  }
  if (extra.find_first_not_of('\0') != extra.npos) return std::nullopt;
  return field.value_or(Bytes());
}

// Values marked so are in the ZIP64 field, in this order; then the disk number, if `disk` is marked so.
bool Widen(Bytes extra, std::initializer_list<std::uint64_t*> values, std::uint32_t* disk = nullptr) {
  const auto field = FieldOf(extra, 1);
  if (!field) return false;
  std::size_t at = 0;
  for (std::uint64_t* value : values) {
    if (*value != kSee64) continue;
    if (field->size() < at + 8) return false;
    *value = Eight(*field, at);
    at += 8;
  }
  if (disk == nullptr || *disk != 0xFFFF) return true;
  if (field->size() < at + 4) return false;
  *disk = Four(*field, at);
  return true;
}

// The CRC-32 of entries and names.
std::uint32_t Crc32(Bytes bytes) {
  std::uint32_t crc = ~0U;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc % 2 != 0 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

// The field has a version, the checksum of the name that it belongs to, and the name in UTF-8.
std::string Utf8Name(Bytes field, Bytes name) {
  if (field.size() < 5 || field[0] != 1 || Four(field, 1) != Crc32(name)) return {};
  const std::string utf8_name(field.substr(5));
  return IsUtf8(utf8_name) ? utf8_name : std::string();
}

constexpr unsigned kUnicodeName = 0x7075;

// `record` is the complete record of the entry in the directory.
UnzipResult ReadEntry(Bytes record, ZipEntry& entry) {
  const std::size_t name_length = Two(record, 28);
  const Bytes extra = record.substr(kCentral + name_length, Two(record, 30));
  entry = {.name = std::string(record.substr(kCentral, name_length)),
           .unicode = {},
           .utf8_name = {},
           .flags = Two(record, 8),
           .method = Two(record, 10),
           .crc = Four(record, 16),
           .packed_size = Four(record, 20),
           .size = Four(record, 24),
           .place = Four(record, 42)};
  std::uint32_t disk = Two(record, 34);
  const auto unicode = FieldOf(extra, kUnicodeName);
  if (!unicode || !Widen(extra, {&entry.size, &entry.packed_size, &entry.place}, &disk)) return kDamaged;
  entry.unicode = *unicode;
  if ((entry.flags & kUtf8) == 0) entry.utf8_name = Utf8Name(entry.unicode, entry.name);
  // The name follows a version and a checksum of four bytes.
  if ((entry.name + entry.unicode.substr(std::min<std::size_t>(entry.unicode.size(), 5))).find('\0') != Bytes::npos) {
    return kBadName;
  }
  return disk == 0 ? kDone : kDamaged;
}

UnzipFailure ReadDirectory(Window& window, const Directory& directory, std::size_t name_bytes,
                           std::vector<ZipEntry>& entries) {
  constexpr std::size_t kAhead = std::size_t{256} << 10;
  std::uint64_t at = directory.start;
  while (entries.size() < directory.entries) {
    Bytes record = window.At(at, kCentral, kAhead);
    if (record.empty() || !record.starts_with("PK\1\2")) return {kDamaged, "", ""};
    const std::size_t length = kCentral + Two(record, 28) + Two(record, 30) + Two(record, 32);
    record = window.At(at, length, kAhead);
    at += length;
    if (record.empty() || at > directory.end) return {kDamaged, "", ""};
    ZipEntry& entry = entries.emplace_back();
    if (const UnzipResult result = ReadEntry(record, entry); result != kDone) return {result, entry.name, ""};
    if (entry.name.size() + entry.unicode.size() > name_bytes) return {kTooManyEntries, "", ""};
    name_bytes -= entry.name.size() + entry.unicode.size();
    if (entry.place >= directory.offset) return {kDamaged, entry.name, ""};
    entry.place += directory.start - directory.offset;  // data before the archive isn't included in it
  }
  return at == directory.end ? UnzipFailure{} : UnzipFailure{kDamaged, "", ""};
}

// Whether `bytes`, everything between the entry's data and the next part, is the data descriptor that the flags
// require: the checksum and sizes again.
bool IsDescriptor(Bytes bytes, const ZipEntry& entry) {
  if (bytes.size() == 16 || bytes.size() == 24) {
    if (!bytes.starts_with("PK\7\10")) return false;
    bytes.remove_prefix(4);
  }
  if (bytes.size() != 12 && bytes.size() != 20) return false;
  const std::size_t width = (bytes.size() - 4) / 2;
  return Four(bytes, 0) == entry.crc && Number(bytes, 4, width) == entry.packed_size &&
         Number(bytes, 4 + width, width) == entry.size;
}

// Whether the local header matches the table, and the data ends where the next entry or the directory begins.
bool IsWhole(Window& window, const ZipEntry& entry, std::uint64_t next) {
  constexpr std::size_t kAhead = 4096;
  const Bytes header = window.At(entry.place, kLocal, kAhead);
  if (header.empty() || !header.starts_with("PK\3\4")) return false;
  const std::size_t name_length = Two(header, 26), extra_length = Two(header, 28);
  const std::uint64_t data = entry.place + kLocal + name_length + extra_length;
  if (data > next || entry.packed_size > next - data) return false;

  const Bytes whole = window.At(entry.place, kLocal + name_length + extra_length, kAhead);
  constexpr unsigned kSame = kEncryptedFlag | kSizesFollow | kUtf8;
  if (whole.empty() || ((Two(whole, 6) ^ entry.flags) & kSame) != 0 || Two(whole, 8) != entry.method) return false;
  const Bytes extra = whole.substr(kLocal + name_length);
  std::uint64_t crc = Four(whole, 14), packed_size = Four(whole, 18), size = Four(whole, 22);
  const auto unicode = FieldOf(extra, kUnicodeName);
  if (!unicode || (!unicode->empty() && *unicode != entry.unicode))
    return false;  // some tools write it only to the table
  if (whole.substr(kLocal, name_length) != entry.name || !Widen(extra, {&size, &packed_size})) return false;

  const bool is_known = crc == entry.crc && packed_size == entry.packed_size && size == entry.size;
  const std::uint64_t end = data + entry.packed_size;
  if ((entry.flags & kSizesFollow) == 0 || end == next) return is_known && end == next;
  const auto is_open = [](std::uint64_t local, std::uint64_t known) { return local == 0 || local == known; };
  if (!is_open(crc, entry.crc) || !is_open(packed_size, entry.packed_size) || !is_open(size, entry.size)) return false;
  return next - end <= 24 && IsDescriptor(window.At(end, static_cast<std::size_t>(next - end)), entry);
}

// Whether `bytes` are an entry, from its local header to the end of its data or data descriptor.
bool IsEntry(Bytes bytes) {
  if (bytes.size() < kLocal) return false;
  const std::size_t name_length = Two(bytes, 26), data = kLocal + name_length + Two(bytes, 28);
  if (data > bytes.size()) return false;
  std::uint64_t packed_size = Four(bytes, 18), size = Four(bytes, 22);
  Widen(bytes.substr(kLocal + name_length, data - kLocal - name_length), {&size, &packed_size});  // if possible
  const std::size_t left = bytes.size() - data;
  if (packed_size == left) return true;
  if ((Two(bytes, 6) & kSizesFollow) == 0) return false;
  for (const std::size_t length : {12U, 16U, 20U, 24U}) {
    const std::size_t width = length < 20 ? 4 : 8;
    if (left >= length && Number(bytes, bytes.size() - 2 * width, width) == left - length) return true;
  }
  return false;
}

// Whether an entry that isn't in the table is before `first`, the table's first entry.
bool IsEntryBefore(Window& window, std::uint64_t first) {
  constexpr std::size_t kSearched = std::size_t{1} << 20;
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(first, kSearched));
  const Bytes before = window.At(first - length, length);
  for (std::size_t at = before.size(); at > 0;) {
    at = before.rfind("PK\3\4", at - 1);
    if (at == before.npos) return false;
    if (IsEntry(before.substr(at))) return true;
  }
  return false;
}

UnzipFailure ReadAll(Window& window, std::size_t most_entries, std::size_t name_bytes, std::vector<ZipEntry>& entries) {
  Directory directory;
  if (const UnzipResult result = FindDirectory(window, directory); result != kDone) return {result, "", ""};
  if (directory.entries > most_entries) return {kTooManyEntries, "", ""};
  UnzipFailure failure = ReadDirectory(window, directory, name_bytes, entries);
  if (failure.reason != kDone) return failure;

  std::ranges::stable_sort(entries, {}, &ZipEntry::place);
  const std::uint64_t first = entries.empty() ? directory.start : entries[0].place;
  if (first != 0 && (entries.empty() || window.At(0, 4) == "PK\3\4" || IsEntryBefore(window, first))) {
    return {kDamaged, "", ""};
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::uint64_t next = i + 1 < entries.size() ? entries[i + 1].place : directory.start;
    if (!IsWhole(window, entries[i], next)) return {kDamaged, entries[i].name, ""};
  }
  return {};
}

}  // namespace

UnzipFailure ReadZipTable(OpenFile& file, std::size_t most_entries, std::size_t name_bytes,
                          std::vector<ZipEntry>& entries) {
  Window window(file);
  const UnzipFailure failure = ReadAll(window, most_entries, name_bytes, entries);
  if (!window.IsReadable()) return {kCannotOpen, "", "it can't be read"};
  return failure;
}

}  // namespace tsly
