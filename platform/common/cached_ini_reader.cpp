#include "common/cached_ini_reader.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <vector>

#include "common/text_decoder.h"
#include "ports/files.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr std::int64_t kSizeLimit = std::int64_t{256} << 20;
constexpr std::size_t kCachedFiles = 8;

// Two writes within one tick of the file system's clock (at most 10 ms) have the same stamp.
constexpr std::int64_t kSettlingTime = 20'000'000;

std::int64_t Now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::uint32_t CopyText(std::string_view text, std::span<char> buffer) {
  const std::size_t length = text.copy(buffer.data(), buffer.size() - 1);
  buffer[length] = '\0';
  return static_cast<std::uint32_t>(length);
}

// A list of names in a buffer. Counts as truncated even if its last zero would be the last character of the buffer.
class NameList {
 public:
  explicit NameList(std::span<char> buffer) : buffer_(buffer) {}

  // False if the name doesn't fit.
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

std::uint32_t CachedIniReader::Read(const char* section, const char* key, const char* fallback, std::span<char> buffer,
                                    const std::string& file) {
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

// The bytes are decoded piece by piece, so that memory never holds all of them besides their text. A file that ends
// before `size` was not read whole.
template <typename File>
int CachedIniReader::ReadText(File& file, std::int64_t size, std::string& text) {
  const auto whole = static_cast<std::size_t>(size);
  TextDecoder decoder(code_page_, whole, [this](std::uint32_t code_page) { return files_->OpenCodePage(code_page); });
  std::vector<char> piece(std::min(whole, std::size_t{1} << 16));
  for (std::size_t offset = 0; offset < whole; offset += piece.size()) {
    piece.resize(std::min(piece.size(), whole - offset));
    for (std::size_t filled = 0, got = 0; filled < piece.size(); filled += got) {
      const auto at = static_cast<std::int64_t>(offset + filled);
      if (const int code = file.ReadAt(at, std::span(piece).subspan(filled), got)) return code;
      if (got == 0) return kReadFault;
    }
    decoder.Add({piece.data(), piece.size()}, offset + piece.size() == whole, text);
  }
  return kSuccess;
}

// A document above the limit counts as empty, like a file.
int CachedIniReader::ReadDocument(OpenFile& document, std::string& text) {
  std::int64_t length = 0;
  if (const int code = document.Length(length); code != kSuccess) return code;
  return length > kSizeLimit ? kSuccess : ReadText(document, length, text);
}

int CachedIniReader::Pin(const std::string& file, OpenFile* document) {
  // First frees the memory of the former contents.
  pinned_.erase(file);
  cache_.remove_if([&](const CachedFile& cached) { return cached.path == file; });
  std::string text;
  const int code = document != nullptr ? ReadDocument(*document, text) : kSuccess;
  if (code != kSuccess) text.clear();
  pinned_[file] = std::make_unique<IniIndex>(std::move(text));
  return code;
}

bool CachedIniReader::IsUnchanged(const CachedFile& file) {
  if (!file.settled || (!file.is_exact && files_->NativePath(file.path) != file.native)) return false;
  return files_->Stamp(file.native) == file.stamp;
}

const IniIndex* CachedIniReader::Open(const std::string& path) {
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

const IniIndex* CachedIniReader::Load(const std::string& path) {
  const std::string native = files_->NativePath(path);
  const std::int64_t begin = Now();
  const std::unique_ptr<IniFile> file = files_->Open(native);
  const std::optional<IniStamp> stamp = file ? file->Stamp() : std::nullopt;
  std::string text;
  if (!stamp || stamp->size > kSizeLimit || ReadText(*file, stamp->size, text) != kSuccess) return nullptr;
  ++read_count_;
  // Uses the time of change, because the modification time can be set to anything.
  const bool settled = file->Stamp() == stamp && begin - stamp->changed > kSettlingTime;
  cache_.push_front(
      {path, native, files_->IsExact(path, native), settled, *stamp, std::make_unique<IniIndex>(std::move(text))});
  if (cache_.size() > kCachedFiles) cache_.pop_back();
  return cache_.front().index.get();
}

}  // namespace tsly
