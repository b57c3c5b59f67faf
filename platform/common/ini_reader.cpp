#include "common/ini_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <vector>

#include "common/text_decoder.h"
#include "ports/files.h"
#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/paths.h"

namespace tsly {
namespace {

constexpr off_t kSizeLimit = off_t{256} << 20;
constexpr std::size_t kCachedFiles = 8;

// Two writes within one tick of the file system's clock leave the same stamp; ticks are 10 ms at most.
constexpr std::int64_t kSettlingTime = 20'000'000;

std::int64_t Nanoseconds(const timespec& time) { return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec; }

std::int64_t Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now);
}

// `read_at(offset, buffer, got)` gives a result code and, at the end, 0 for `got`. The bytes are decoded piece by
// piece, so that memory never holds all of them besides their text. A file that ends before `size` was not read whole.
template <typename ReadAt>
int ReadText(std::size_t size, std::optional<std::uint32_t> code_page, ReadAt read_at, std::string& text) {
  TextDecoder decoder(code_page, size);
  std::vector<char> piece(std::min(size, std::size_t{1} << 16));
  for (std::size_t offset = 0; offset < size; offset += piece.size()) {
    piece.resize(std::min(piece.size(), size - offset));
    for (std::size_t filled = 0, got = 0; filled < piece.size(); filled += got) {
      const int code = read_at(offset + filled, std::span(piece).subspan(filled), got);
      if (code != kSuccess) return code;
      if (got == 0) return kReadFault;
    }
    decoder.Add({piece.data(), piece.size()}, offset + piece.size() == size, text);
  }
  return kSuccess;
}

int ReadFile(int file, std::size_t size, std::optional<std::uint32_t> code_page, std::string& text) {
  const auto read_at = [&](std::size_t offset, std::span<char> buffer, std::size_t& got) {
    ssize_t count = -1;
    do count = pread(file, buffer.data(), buffer.size(), static_cast<off_t>(offset));
    while (count < 0 && errno == EINTR);
    got = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count < 0 ? kReadFault : kSuccess;
  };
  return ReadText(size, code_page, read_at, text);
}

// A document above the limit reads as one without sections, as a file does.
int ReadDocument(OpenFile& document, std::optional<std::uint32_t> code_page, std::string& text) {
  std::int64_t length = 0;
  if (const int code = document.Length(length); code != kSuccess) return code;
  if (length > kSizeLimit) return kSuccess;
  const auto read_at = [&](std::size_t offset, std::span<char> buffer, std::size_t& got) {
    return document.ReadAt(static_cast<std::int64_t>(offset), buffer, got);
  };
  return ReadText(static_cast<std::size_t>(length), code_page, read_at, text);
}

std::uint32_t CopyText(std::string_view text, std::span<char> buffer) {
  const std::size_t length = text.copy(buffer.data(), buffer.size() - 1);
  buffer[length] = '\0';
  return static_cast<std::uint32_t>(length);
}

// A list of names in a buffer. One whose last zero would be the buffer's last character counts as cut, too.
class NameList {
 public:
  explicit NameList(std::span<char> buffer) : buffer_(buffer) {}

  // False when nothing more fits.
  bool Add(std::string_view name) {
    is_empty_ = false;
    if (buffer_.size() < 2) return false;
    const std::size_t room = buffer_.size() - 2;
    length_ += name.copy(buffer_.data() + length_, room - length_);
    is_cut_ = length_ == room;
    if (!is_cut_) buffer_[length_++] = '\0';
    return !is_cut_;
  }
  bool IsEmpty() const { return is_empty_; }

  std::uint32_t End() {
    if (buffer_.size() < 2) return CopyText("", buffer_);
    buffer_[length_] = '\0';
    if (is_cut_) buffer_[length_ + 1] = '\0';
    return static_cast<std::uint32_t>(length_);
  }

 private:
  std::span<char> buffer_;
  std::size_t length_ = 0;
  bool is_empty_ = true, is_cut_ = false;
};

}  // namespace

std::uint32_t IniReader::GetPrivateProfileString(const char* section, const char* key, const char* fallback,
                                                 std::span<char> buffer, const std::string& file) {
  if (buffer.empty()) return 0;
  const std::string_view otherwise = fallback != nullptr ? fallback : "";
  const IniIndex* index = Open(file);
  if (index == nullptr) return CopyText(otherwise, buffer);
  if (section != nullptr && key != nullptr) {
    return CopyText(index->Value(section, key).value_or(otherwise), buffer);
  }
  NameList names(buffer);
  const auto add = [&](std::string_view name) { return names.Add(name); };
  if (section == nullptr) {
    index->EachSection(add);
  } else {
    index->EachKey(section, add);
  }
  return names.IsEmpty() ? CopyText(otherwise, buffer) : names.End();
}

int IniReader::Pin(const std::string& file, OpenFile* document) {
  // First the memory of what was read before goes.
  pinned_.erase(file);
  cache_.remove_if([&](const CachedFile& cached) { return cached.path == file; });
  std::string text;
  const int code = document != nullptr ? ReadDocument(*document, code_page_, text) : kSuccess;
  if (code != kSuccess) text.clear();
  pinned_[file] = std::make_unique<IniIndex>(std::move(text));
  return code;
}

bool IniReader::StampOf(const struct stat& status, Stamp& stamp) {
  if (!S_ISREG(status.st_mode) || status.st_size > kSizeLimit) return false;
  stamp = {status.st_dev, status.st_ino, status.st_size, Nanoseconds(status.st_mtim), Nanoseconds(status.st_ctim)};
  return true;
}

bool IniReader::IsUnchanged(const CachedFile& file) {
  if (!file.settled || (!file.is_exact && NativePath(file.path) != file.native)) return false;
  struct stat status {};
  Stamp stamp;
  return stat(file.native.c_str(), &status) == 0 && StampOf(status, stamp) && stamp == file.stamp;
}

const IniIndex* IniReader::Open(const std::string& path) {
  if (const auto pinned = pinned_.find(path); pinned != pinned_.end()) return pinned->second.get();
  const auto cached = std::find_if(cache_.begin(), cache_.end(), [&](const CachedFile& f) { return f.path == path; });
  if (cached == cache_.end()) return Load(path);
  if (!IsUnchanged(*cached)) {
    cache_.erase(cached);
    return Load(path);
  }
  cache_.splice(cache_.begin(), cache_, cached);
  return cached->index.get();
}

const IniIndex* IniReader::Load(const std::string& path) {
  const std::string native = NativePath(path);
  const std::int64_t begin = Now();
  const Descriptor file(open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  Stamp stamp, after;
  std::string text;
  if (!file || fstat(file.Get(), &status) != 0 || !StampOf(status, stamp)) return nullptr;
  if (ReadFile(file.Get(), static_cast<std::size_t>(stamp.size), code_page_, text) != kSuccess) return nullptr;
  ++read_count_;
  const bool unchanged = fstat(file.Get(), &status) == 0 && StampOf(status, after) && after == stamp;
  // The time of change alone tells the age: the time of modification can be set to anything.
  const bool settled = unchanged && begin - stamp.changed > kSettlingTime;
  cache_.push_front(
      {path, native, CorePath(native) == path, settled, stamp, std::make_unique<IniIndex>(std::move(text))});
  if (cache_.size() > kCachedFiles) cache_.pop_back();
  return cache_.front().index.get();
}

}  // namespace tsly
