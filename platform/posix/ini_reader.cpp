#include "posix/ini_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <vector>

#include "posix/code_page_text.h"
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

bool ReadWhole(const Descriptor& file, std::size_t size, std::string& bytes) {
  bytes.resize(size);
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t count = read(file.Get(), bytes.data() + filled, size - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) break;  // the file became shorter meanwhile
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return true;
}

std::uint32_t CopyText(std::string_view text, std::span<char> buffer) {
  const std::size_t length = text.copy(buffer.data(), buffer.size() - 1);
  buffer[length] = '\0';
  return static_cast<std::uint32_t>(length);
}

// A list whose last zero would be the buffer's last character counts as cut, too.
std::uint32_t CopyNames(const std::vector<std::string_view>& names, std::span<char> buffer) {
  if (buffer.size() < 2) return CopyText("", buffer);
  const std::size_t room = buffer.size() - 2;
  std::size_t length = 0;
  for (const std::string_view name : names) {
    length += name.copy(buffer.data() + length, room - length);
    if (length == room) {
      buffer[length + 1] = buffer[length] = '\0';
      return static_cast<std::uint32_t>(length);
    }
    buffer[length++] = '\0';
  }
  buffer[length] = '\0';
  return static_cast<std::uint32_t>(length);
}

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
  const auto names = section == nullptr ? index->SectionNames() : index->KeyNames(section);
  return names.empty() ? CopyText(otherwise, buffer) : CopyNames(names, buffer);
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
  Stamp stamp;
  std::string bytes;
  if (!file || fstat(file.Get(), &status) != 0 || !StampOf(status, stamp)) return nullptr;
  if (!ReadWhole(file, static_cast<std::size_t>(stamp.size), bytes)) return nullptr;
  ++read_count_;
  // The time of change alone tells the age: the time of modification can be set to anything.
  const bool settled = begin - stamp.changed > kSettlingTime;
  cache_.push_front({path, native, CorePath(native) == path, settled, stamp,
                     std::make_unique<IniIndex>(DecodeText(std::move(bytes), code_page_))});
  if (cache_.size() > kCachedFiles) cache_.pop_back();
  return cache_.front().index.get();
}

}  // namespace tsly
