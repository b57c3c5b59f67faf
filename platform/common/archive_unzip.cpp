#include "common/archive_unzip.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "common/archive_validation.h"
#include "common/zip_table.h"
#include "ports/files.h"

namespace tsly {
namespace {

using enum UnzipResult;

constexpr std::size_t kBlock = std::size_t{128} << 10;
// A small archive can have a huge table of contents; real packs are far below this limit.
constexpr std::size_t kNameBytes = std::size_t{64} << 20;
constexpr char kTableDiffers[] = "its table of contents doesn't match its contents";

ArchiveEntry::Kind KindOf(archive_entry* entry) {
  if (archive_entry_hardlink(entry) != nullptr) return ArchiveEntry::Kind::kLink;
  switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
      return ArchiveEntry::Kind::kFile;
    case AE_IFDIR:
      return ArchiveEntry::Kind::kFolder;
    case AE_IFLNK:
      return ArchiveEntry::Kind::kLink;
    default:
      return ArchiveEntry::Kind::kOther;
  }
}

// The code page of DOS from 0x80 on.
constexpr std::u16string_view kDosLetters =
    u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒ"
    u"áíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
    u"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
    u"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";

// By the standard, a name without the UTF-8 flag is in a DOS code page. But current tools omit the flag too, and valid
// UTF-8 is almost never anything else.
std::string NameOf(archive_entry* entry) {
  const char* given = archive_entry_pathname(entry);
  std::string name = given == nullptr ? "" : given;
  if (IsUtf8(name)) return name;
  std::string utf8;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    AppendUtf8(byte < 0x80 ? byte : kDosLetters[byte - 0x80], utf8);
  }
  return utf8;
}

// The library doesn't know a UTF-8 name that is only in the table.
ArchiveEntry ValueOf(archive_entry* entry, const std::vector<ZipEntry>& table, std::size_t index) {
  const bool is_renamed = index < table.size() && !table[index].utf8_name.empty();
  return {.name = is_renamed ? table[index].utf8_name : NameOf(entry),
          .kind = KindOf(entry),
          .size = archive_entry_size_is_set(entry) != 0 ? archive_entry_size(entry) : -1,
          .encrypted = archive_entry_is_encrypted(entry) != 0};
}

UnzipFailure About(const std::string& name, UnzipFailure failure) {
  if (failure.reason != kDone) failure.name = name;
  return failure;
}

// One pass over the archive.
class ZipReader {
 public:
  explicit ZipReader(OpenFile& file) : file_(file), block_(kBlock), archive_(archive_read_new(), archive_read_free) {
    archive_read_support_format_zip_seekable(archive_.get());
    archive_read_set_read_callback(archive_.get(), Read);
    archive_read_set_seek_callback(archive_.get(), Seek);
    archive_read_set_callback_data(archive_.get(), this);
    is_open_ = archive_read_open1(archive_.get()) == ARCHIVE_OK;
  }
  ZipReader(const ZipReader&) = delete;
  ZipReader& operator=(const ZipReader&) = delete;

  // False at the end of the archive and after a failure.
  bool Next(UnzipFailure& failure) {
    const int result = is_open_ ? archive_read_next_header(archive_.get(), &entry_) : ARCHIVE_FATAL;
    if (result == ARCHIVE_OK) return true;
    if (result == ARCHIVE_EOF) return false;
    const bool has_entry = result > ARCHIVE_FATAL && archive_entry_pathname(entry_) != nullptr;
    failure = {archive_format(archive_.get()) == 0 ? kNotAnArchive : kDamaged,
               has_entry ? archive_entry_pathname(entry_) : "", Error()};
    return false;
  }

  archive_entry* Entry() const { return entry_; }
  // Whether the current entry is stored or deflated; the library only has a text for that.
  bool IsDeflated() const {
    const std::string_view words = archive_format_name(archive_.get());
    return words.find("deflation)") != words.npos || words.find("uncompressed)") != words.npos;
  }

  // Writes the contents of the current entry, which must have the declared size.
  UnzipFailure Unpack(const ArchiveEntry& entry, UnpackedFile& file) {
    std::int64_t written = 0;
    for (;;) {
      const void* block = nullptr;
      std::size_t length = 0;
      la_int64_t offset = 0;
      const int result = archive_read_data_block(archive_.get(), &block, &length, &offset);
      if (result == ARCHIVE_EOF) break;
      if (result != ARCHIVE_OK) return {DataReason(), entry.name, Error()};
      if (offset != written || static_cast<std::int64_t>(length) > entry.size - written) {
        return {kWrongSize, entry.name, ""};
      }
      if (UnzipFailure failure = file.Write({static_cast<const char*>(block), length}); failure.reason != kDone) {
        return About(entry.name, std::move(failure));
      }
      written += static_cast<std::int64_t>(length);
    }
    if (written != entry.size) return {kWrongSize, entry.name, ""};
    return {};
  }

 private:
  std::string Error() const {
    const char* text = archive_error_string(archive_.get());
    return text == nullptr ? "" : text;
  }

  // Only the library's messages distinguish these; an unknown message becomes the general reason.
  UnzipResult DataReason() const {
    static constexpr struct {
      const char* words;
      UnzipResult reason;
    } kReasons[] = {
        {"CRC",        kWrongChecksum},
        {"wrong size", kWrongSize    },
        {"nsupported", kUnknownMethod},
        {"ncrypt",     kEncrypted    },
    };
    const std::string text = Error();
    for (const auto& [words, reason] : kReasons) {
      if (text.find(words) != text.npos) return reason;
    }
    return kDamaged;
  }

  static la_ssize_t Read(archive* archive, void* reader, const void** block) {
    auto& self = *static_cast<ZipReader*>(reader);
    std::size_t got = 0;
    *block = self.block_.data();
    if (self.file_.ReadAt(self.at_, self.block_, got) != 0) {
      archive_set_error(archive, EIO, "it can't be read");
      return -1;
    }
    self.at_ += static_cast<std::int64_t>(got);
    return static_cast<la_ssize_t>(got);
  }

  static la_int64_t Seek(archive*, void* reader, la_int64_t offset, int whence) {
    auto& self = *static_cast<ZipReader*>(reader);
    std::int64_t from = whence == SEEK_CUR ? self.at_ : 0;
    if (whence == SEEK_END && self.file_.Length(from) != 0) return ARCHIVE_FATAL;
    if (offset < -from || offset > INT64_MAX - from) return ARCHIVE_FATAL;
    return self.at_ = from + offset;
  }

  OpenFile& file_;
  std::int64_t at_ = 0;
  std::vector<char> block_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  archive_entry* entry_ = nullptr;
  bool is_open_ = false;
};

// Whether a name from the library matches the table. The library replaces "\\" by "/", adds one to a folder's name, and
// converts non-ASCII names.
bool IsName(const ZipEntry& listed, std::string_view given) {
  const auto is_plain = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (!listed.unicode.empty() || !std::ranges::all_of(listed.name, is_plain)) return true;
  std::string_view name = listed.name;
  while (name.ends_with('/') || name.ends_with('\\')) name.remove_suffix(1);
  while (given.ends_with('/') || given.ends_with('\\')) given.remove_suffix(1);
  const auto is_same = [](char a, char b) { return a == b || (a == '\\' && b == '/'); };
  return std::ranges::equal(name, given, is_same);
}

// Reads the entries with the library; each has to match the table.
UnzipFailure ReadContents(OpenFile& file, ArchiveLimits& limits, std::vector<ZipEntry>& table,
                          std::vector<ArchiveEntry>& entries) {
  UnzipFailure failure = ReadZipTable(file, limits.entries, kNameBytes, table);
  if (failure.reason != kDone || table.empty()) return failure;
  ZipReader reader(file);
  while (reader.Next(failure)) {
    const std::size_t index = entries.size();
    const ArchiveEntry entry = ValueOf(reader.Entry(), table, index);
    const bool is_link = entry.kind == ArchiveEntry::Kind::kLink;  // the library doesn't return its size
    if (index == table.size() || !IsName(table[index], entry.name) ||
        (!is_link && static_cast<std::uint64_t>(entry.size) != table[index].size)) {
      return {kDamaged, entry.name, kTableDiffers};
    }
    limits.deflated_only = limits.deflated_only && reader.IsDeflated();
    entries.push_back(entry);
  }
  if (failure.reason == kDone && entries.size() != table.size()) return {kDamaged, "", kTableDiffers};
  return failure;
}

UnzipFailure UnpackAll(OpenFile& file, const std::vector<ZipEntry>& table, const std::vector<ArchiveEntry>& entries,
                       const std::vector<std::string>& paths, Unpacking& target) {
  if (entries.empty()) return {};  // the library refuses an empty archive
  ZipReader reader(file);
  UnzipFailure failure;
  std::size_t index = 0;
  for (; reader.Next(failure); ++index) {
    const ArchiveEntry entry = ValueOf(reader.Entry(), table, index);
    if (index == entries.size() || entry.name != entries[index].name || entry.size != entries[index].size) {
      return {kDamaged, entry.name, "the pack changed while it was read"};
    }
    if (paths[index].empty() || paths[index].ends_with('/')) continue;
    const bool is_executable = (archive_entry_perm(reader.Entry()) & 0100) != 0;
    const std::unique_ptr<UnpackedFile> unpacked = target.Create(index, is_executable, failure);
    if (!unpacked) return About(entry.name, std::move(failure));
    if (failure = reader.Unpack(entry, *unpacked); failure.reason != kDone) return failure;
    if (archive_entry_mtime_is_set(reader.Entry()) != 0) {
      unpacked->KeepTime(archive_entry_mtime(reader.Entry()), archive_entry_mtime_nsec(reader.Entry()));
    }
    if (failure = unpacked->Close(); failure.reason != kDone) return About(entry.name, std::move(failure));
  }
  if (failure.reason == kDone && index != entries.size()) return {kDamaged, "", "the pack changed while it was read"};
  return failure;
}

// Whether a failure without an entry is about the whole pack.
bool IsAboutThePack(UnzipResult reason) {
  return reason == kCannotOpen || reason == kNotAnArchive || reason == kTooManyEntries || reason == kDamaged;
}

}  // namespace

Fault ArchiveUnzip::SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) {
  archive_file_ = path;
  file_ = std::move(file);
  return {};
}

Fault ArchiveUnzip::SetExtractFolder(const std::string& path) {
  extract_folder_ = path;
  return {};
}

Fault ArchiveUnzip::SetExtractOptionA(bool keep_folders) {
  keep_folders_ = keep_folders;
  return {};
}

Fault ArchiveUnzip::SetExtractOptionB(bool replace_files) {
  replace_files_ = replace_files;
  return {};
}

Fault ArchiveUnzip::Extract(std::string&, std::string&, std::int32_t& result) {
  failure_ = Run();
  if (failure_.name.empty() && IsAboutThePack(failure_.reason)) failure_.name = archive_file_;
  result = static_cast<std::int32_t>(failure_.reason);
  return {};
}

std::string ArchiveUnzip::FailureText() { return Describe(failure_); }

UnzipFailure ArchiveUnzip::Run() const {
  const std::shared_ptr<void> names = NamesInUtf8();
  ArchiveLimits limits;
  if (!file_ || file_->Length(limits.archive_bytes) != 0) return {kCannotOpen, "", ""};
  std::vector<ZipEntry> table;
  std::vector<ArchiveEntry> entries;
  if (UnzipFailure failure = ReadContents(*file_, limits, table, entries); failure.reason != kDone) return failure;

  const std::unique_ptr<Unpacking> target = MakeUnpacking();
  if (UnzipFailure failure = target->Open(extract_folder_); failure.reason != kDone) {
    return About(extract_folder_, std::move(failure));
  }
  limits.free_bytes = target->FreeBytes();
  const ValidationResult result = ValidateArchive(entries, limits, keep_folders_);
  if (result.reason != kDone) return {result.reason, result.name, ""};
  if (UnzipFailure failure = target->MakeStaging(); failure.reason != kDone) {
    return About(extract_folder_, std::move(failure));
  }
  if (UnzipFailure failure = UnpackAll(*file_, table, entries, result.targets, *target); failure.reason != kDone) {
    return failure;
  }
  std::size_t index = 0;
  UnzipFailure failure = target->Place(result.targets, replace_files_, index);
  return About(index < entries.size() ? entries[index].name : extract_folder_, std::move(failure));
}

}  // namespace tsly
