#include "posix/ini_reader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "posix/descriptor.h"
#include "posix/iconv_converter.h"
#include "posix/io.h"
#include "posix/paths.h"

namespace tsly {
namespace {

std::int64_t Nanoseconds(const timespec& time) { return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec; }

std::optional<IniStamp> StampOf(const struct stat& status) {
  if (!S_ISREG(status.st_mode)) return std::nullopt;
  return IniStamp{status.st_dev, status.st_ino, status.st_size, Nanoseconds(status.st_mtim),
                  Nanoseconds(status.st_ctim)};
}

class PosixIniFile : public IniFile {
 public:
  explicit PosixIniFile(Descriptor file) : file_(std::move(file)) {}
  std::optional<IniStamp> Stamp() override {
    struct stat status {};
    return fstat(file_.Get(), &status) == 0 ? StampOf(status) : std::nullopt;
  }
  int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override {
    return ReadPieceAt(file_.Get(), offset, buffer, got);
  }

 private:
  Descriptor file_;
};

class PosixIniFiles : public IniFiles {
 public:
  std::string NativePath(const std::string& path) override { return tsly::NativePath(path); }
  bool IsExact(const std::string& path, const std::string& native) override { return CorePath(native) == path; }
  std::optional<IniStamp> Stamp(const std::string& native) override {
    struct stat status {};
    return stat(native.c_str(), &status) == 0 ? StampOf(status) : std::nullopt;
  }
  std::unique_ptr<IniFile> Open(const std::string& native) override {
    Descriptor file(open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    return file ? std::make_unique<PosixIniFile>(std::move(file)) : nullptr;
  }
  std::unique_ptr<CodePageConverter> OpenCodePage(std::uint32_t code_page) override { return OpenIconv(code_page); }
};

}  // namespace

IniReader::IniReader(std::optional<std::uint32_t> code_page)
    : CachedIniReader(std::make_unique<PosixIniFiles>(), code_page) {}

}  // namespace tsly
