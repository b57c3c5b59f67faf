#include "posix/posix_unzip.h"

#include <locale.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "posix/io.h"
#include "posix/paths.h"
#include "posix/unpack_target.h"

namespace tsly {
namespace {

using enum UnzipResult;

// libarchive returns names in the codeset of the thread's locale, and none in the C locale.
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

UnzipFailure Failure(int error) {
  if (error == 0) return {};
  const bool is_full = error == ENOSPC || error == EDQUOT;
  return {is_full ? kDiskFull : kCannotWrite, "", std::generic_category().message(error)};
}

class PosixUnpackedFile : public UnpackedFile {
 public:
  explicit PosixUnpackedFile(Descriptor file) : file_(std::move(file)) {}
  UnzipFailure Write(std::string_view bytes) override { return Failure(WriteAll(file_.Get(), bytes)); }
  void KeepTime(std::int64_t seconds, long nanoseconds) override {
    const timespec time{seconds, nanoseconds};
    const timespec times[] = {time, time};
    futimens(file_.Get(), times);
  }
  UnzipFailure Close() override { return Failure(file_.Close() < 0 ? errno : 0); }

 private:
  Descriptor file_;
};

class PosixUnpacking : public Unpacking {
 public:
  UnzipFailure Open(const std::string& folder) override { return OfFolder(target_.Open(NativePath(folder))); }
  std::int64_t FreeBytes() const override { return target_.FreeBytes(); }
  UnzipFailure MakeStaging() override { return OfFolder(target_.MakeStaging()); }
  std::unique_ptr<UnpackedFile> Create(std::size_t index, bool is_executable, UnzipFailure& failure) override {
    Descriptor file = target_.Create(index, is_executable);
    if (file) return std::make_unique<PosixUnpackedFile>(std::move(file));
    failure = Failure(errno);
    return nullptr;
  }
  UnzipFailure Place(std::span<const std::string> paths, bool replace, std::size_t& index) override {
    const UnpackTarget::Outcome outcome = target_.Place(paths, replace);
    index = outcome.index;
    return OfFolder(outcome.error);
  }

 private:
  UnzipFailure OfFolder(int error) const {
    UnzipFailure failure = Failure(error);
    std::string& detail = failure.detail;
    if (!target_.LeftBehind().empty()) detail += "; former files were left in " + CorePath(target_.LeftBehind());
    if (error == ENOTDIR || error == EISDIR || error == ELOOP) failure.reason = kInTheWay;
    if (error == EWOULDBLOCK) detail = "another program is unpacking into it";
    if (error == EXDEV) detail.insert(0, "its folder is on another disk than the one unpacked into; ");
    return failure;
  }

  UnpackTarget target_;
};

}  // namespace

std::unique_ptr<Unpacking> PosixUnzip::MakeUnpacking() const { return std::make_unique<PosixUnpacking>(); }

std::shared_ptr<void> PosixUnzip::NamesInUtf8() const { return std::make_shared<Utf8Names>(); }

}  // namespace tsly
