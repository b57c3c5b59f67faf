#include "common/archive_unzip.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <iconv.h>
#include <locale.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/text.h"
#include "common/zip_table.h"
#include "ports/files.h"
#include "posix/paths.h"
#include "posix/unpack_target.h"

namespace tsly {
namespace {

using enum UnzipResult;

constexpr std::size_t kBlock = std::size_t{128} << 10;
// A table of contents can name the same bytes as many names; real packs are far below this.
constexpr std::size_t kNameBytes = std::size_t{64} << 20;
constexpr char kTableDiffers[] = "its table of contents doesn't fit what is in it";

// libarchive gives names in the codeset of the thread's locale, and none at all in the C locale.
class Utf8Names {
 public:
  Utf8Names() : utf8_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), former_(uselocale(utf8_)) {}
  Utf8Names(const Utf8Names&) = delete;
  Utf8Names& operator=(const Utf8Names&) = delete;
  ~Utf8Names() {
    uselocale(former_);
    if (utf8_ != nullptr) freelocale(utf8_);
  }

 private:
  locale_t utf8_;
  locale_t former_;
};

std::string SystemText(int error) { return std::generic_category().message(error); }

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

// A name that isn't marked as UTF-8 is in the code page of DOS by the book; but tools of today's systems leave the mark
// out as well, and what happens to be good UTF-8 was hardly ever meant as anything else.
std::string NameOf(archive_entry* entry) {
  const char* given = archive_entry_pathname(entry);
  std::string name = given == nullptr ? "" : given;
  if (IsUtf8(name)) return name;
  const iconv_t converter = iconv_open("UTF-8", "CP437");
  if (converter == reinterpret_cast<iconv_t>(-1)) return {};
  std::string utf8(name.size() * 3, '\0');
  char* from = name.data();
  char* to = utf8.data();
  std::size_t from_left = name.size(), to_left = utf8.size();
  const bool is_done = iconv(converter, &from, &from_left, &to, &to_left) != static_cast<std::size_t>(-1);
  iconv_close(converter);
  return is_done ? utf8.substr(0, utf8.size() - to_left) : std::string();
}

// The library doesn't know a name in UTF-8 that only the table holds.
ArchiveEntry ValueOf(archive_entry* entry, const std::vector<ZipEntry>& table, std::size_t index) {
  const bool is_renamed = index < table.size() && !table[index].utf8_name.empty();
  return {.name = is_renamed ? table[index].utf8_name : NameOf(entry),
          .kind = KindOf(entry),
          .size = archive_entry_size_is_set(entry) != 0 ? archive_entry_size(entry) : -1,
          .encrypted = archive_entry_is_encrypted(entry) != 0};
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
  // Whether the present entry is stored or deflated; the library says it in words.
  bool IsDeflated() const {
    const std::string_view words = archive_format_name(archive_.get());
    return words.find("deflation)") != words.npos || words.find("uncompressed)") != words.npos;
  }

  // Writes the present entry's contents, which must be of the declared size.
  UnzipFailure Unpack(const ArchiveEntry& entry, int file) {
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
      if (const int error = WriteAll(file, static_cast<const char*>(block), length)) {
        return {error == ENOSPC || error == EDQUOT ? kDiskFull : kCannotWrite, entry.name, SystemText(error)};
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

  // Only the texts of the library distinguish these; a text that it words anew falls back to the general reason.
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

  static int WriteAll(int file, const char* bytes, std::size_t length) {
    while (length > 0) {
      const ssize_t done = write(file, bytes, length);
      if (done < 0 && errno == EINTR) continue;
      if (done < 0) return errno;
      bytes += done;
      length -= static_cast<std::size_t>(done);
    }
    return 0;
  }

  OpenFile& file_;
  std::int64_t at_ = 0;
  std::vector<char> block_;
  std::unique_ptr<archive, int (*)(archive*)> archive_;
  archive_entry* entry_ = nullptr;
  bool is_open_ = false;
};

// Whether a name from the library can be what the table says. The library makes "/" of "\\", adds one to a folder's
// name, and converts names; those of plain letters stay as they are.
bool IsName(const ZipEntry& listed, std::string_view given) {
  const auto is_plain = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (!listed.unicode.empty() || !std::ranges::all_of(listed.name, is_plain)) return true;
  std::string_view name = listed.name;
  while (name.ends_with('/') || name.ends_with('\\')) name.remove_suffix(1);
  while (given.ends_with('/') || given.ends_with('\\')) given.remove_suffix(1);
  const auto is_same = [](char a, char b) { return a == b || (a == '\\' && b == '/'); };
  return std::ranges::equal(name, given, is_same);
}

// What the library finds, which has to be what the table lists, entry by entry.
UnzipFailure ReadContents(OpenFile& file, ArchiveLimits& limits, std::vector<ZipEntry>& table,
                          std::vector<ArchiveEntry>& entries) {
  UnzipFailure failure = ReadZipTable(file, limits.entries, kNameBytes, table);
  if (failure.reason != kDone || table.empty()) return failure;
  ZipReader reader(file);
  while (reader.Next(failure)) {
    const std::size_t index = entries.size();
    const ArchiveEntry entry = ValueOf(reader.Entry(), table, index);
    const bool is_link = entry.kind == ArchiveEntry::Kind::kLink;  // of these the library doesn't give the size
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

void KeepTime(int file, archive_entry* entry) {
  if (archive_entry_mtime_is_set(entry) == 0) return;
  const timespec time{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
  const timespec times[] = {time, time};
  futimens(file, times);  // a file without its time is still the file
}

UnzipFailure UnpackAll(OpenFile& file, const std::vector<ZipEntry>& table, const std::vector<ArchiveEntry>& entries,
                       const std::vector<std::string>& paths, UnpackTarget& target) {
  if (entries.empty()) return {};  // the library doesn't take an archive of nothing for one
  ZipReader reader(file);
  UnzipFailure failure;
  std::size_t index = 0;
  for (; reader.Next(failure); ++index) {
    const ArchiveEntry entry = ValueOf(reader.Entry(), table, index);
    if (index == entries.size() || entry.name != entries[index].name || entry.size != entries[index].size) {
      return {kDamaged, entry.name, "the pack changed while it was read"};
    }
    if (paths[index].empty() || paths[index].ends_with('/')) continue;
    Descriptor unpacked = target.Create(index, (archive_entry_perm(reader.Entry()) & 0100) != 0);
    if (!unpacked) return {errno == ENOSPC ? kDiskFull : kCannotWrite, entry.name, SystemText(errno)};
    if (failure = reader.Unpack(entry, unpacked.Get()); failure.reason != kDone) return failure;
    KeepTime(unpacked.Get(), reader.Entry());
    if (unpacked.Close() < 0) return {errno == ENOSPC ? kDiskFull : kCannotWrite, entry.name, SystemText(errno)};
  }
  if (failure.reason == kDone && index != entries.size()) return {kDamaged, "", "the pack changed while it was read"};
  return failure;
}

UnzipFailure PlacingFailure(const UnpackTarget& target, int error, const std::string& name) {
  std::string detail = SystemText(error);
  if (!target.LeftBehind().empty()) detail += "; former files were left in " + CorePath(target.LeftBehind());
  switch (error) {
    case ENOTDIR:
    case EISDIR:
    case ELOOP:
      return {kInTheWay, name, detail};
    case ENOSPC:
    case EDQUOT:
      return {kDiskFull, name, detail};
    case EWOULDBLOCK:
      return {kCannotWrite, name, "another program is unpacking into it"};
    case EXDEV:
      return {kCannotWrite, name, "its folder is on another disk than the one unpacked into; " + detail};
    default:
      return {kCannotWrite, name, detail};
  }
}

// Whether a failure that names no entry happened to the pack as a whole.
bool IsAboutThePack(UnzipResult reason) {
  return reason == kCannotOpen || reason == kNotAnArchive || reason == kTooManyEntries || reason == kDamaged;
}

// Without characters that would change the line that it is part of.
std::string InOneLine(std::string text, char line_end) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = c == '\n' ? line_end : '?';
  }
  return TrimEnd(text);
}

// A name of moderate length.
std::string Shown(std::string name) {
  constexpr std::size_t kLongest = 200;
  if (name.size() > kLongest) {
    std::size_t end = kLongest;
    while ((static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
    name = name.substr(0, end) + "...";
  }
  return InOneLine(std::move(name), '?');
}

}  // namespace

std::string Describe(const UnzipFailure& failure) {
  static constexpr struct {
    const char* before;  // the name in quotes follows, if there is one
    const char* after;
  } kTexts[] = {
      {"",                                ""                                                              },
      {"The pack",                        "can't be opened"                                               },
      {"The pack",                        "is no ZIP archive, or its end is missing"                      },
      {"The name",                        "in the pack isn't allowed"                                     },
      {"The entry",                       "in the pack is a link or a device, which isn't allowed"        },
      {"The name",                        "is in the pack twice, or differs from another in capitals only"},
      {"The entry",                       "can't be put in place: something else is there"                },
      {"The pack",                        "has too many entries"                                          },
      {"The contents of the pack, up to", "are larger than the disk or than the pack can hold"            },
      {"The file",                        "in the pack is encrypted"                                      },
      {"The file",                        "in the pack is packed by a method that isn't known"            },
      {"The file",                        "in the pack has a wrong checksum"                              },
      {"The file",                        "in the pack doesn't have the size that the pack states"        },
      {"The pack is damaged at",          ""                                                              },
      {"The disk is too full for",        ""                                                              },
      {"The file or folder",              "can't be written"                                              },
  };
  const auto index = static_cast<std::size_t>(failure.reason);
  if (failure.reason == kDone || index >= std::size(kTexts)) return {};
  std::string text = kTexts[index].before;
  text += " \"" + Shown(failure.name) + '"';
  if (*kTexts[index].after != '\0') text += std::string(" ") + kTexts[index].after;
  if (!failure.detail.empty()) text += " (" + InOneLine(failure.detail, ' ') + ")";
  return text + '.';
}

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
  const Utf8Names utf8_names;
  ArchiveLimits limits;
  if (!file_ || file_->Length(limits.archive_bytes) != 0) return {kCannotOpen, "", ""};
  std::vector<ZipEntry> table;
  std::vector<ArchiveEntry> entries;
  if (UnzipFailure failure = ReadContents(*file_, limits, table, entries); failure.reason != kDone) return failure;

  UnpackTarget target;
  if (const int error = target.Open(NativePath(extract_folder_))) return PlacingFailure(target, error, extract_folder_);
  limits.free_bytes = target.FreeBytes();
  const ArchiveVerdict verdict = JudgeArchive(entries, limits, keep_folders_);
  if (verdict.reason != kDone) return {verdict.reason, verdict.name, ""};
  if (const int error = target.MakeStaging()) return PlacingFailure(target, error, extract_folder_);
  if (UnzipFailure failure = UnpackAll(*file_, table, entries, verdict.targets, target); failure.reason != kDone) {
    return failure;
  }
  const auto [error, index] = target.Place(verdict.targets, replace_files_);
  if (error == 0) return {};
  return PlacingFailure(target, error, index < entries.size() ? entries[index].name : extract_folder_);
}

}  // namespace tsly
