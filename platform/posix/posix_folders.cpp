#include "posix/posix_folders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/durable_file.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

// Who may use a folder that has to be created. Only kUserChooses depends on the umask.
enum class Rights { kUserAlone, kUserChooses, kEveryone };

struct FolderRow {
  int csidl;
  fs::path Home::*folder;
  fs::path Home::*own;  // replaces it if the user can't write to it; null: never replaced
  Rights rights;
};

constexpr FolderRow kFolders[] = {
    {kCsidlPersonal,        &Home::documents,        nullptr,                     Rights::kUserChooses},
    {kCsidlMyPictures,      &Home::pictures,         nullptr,                     Rights::kUserChooses},
    {kCsidlProgramFiles,    &Home::program_files,    nullptr,                     Rights::kEveryone   },
    {kCsidlAppData,         &Home::app_data,         nullptr,                     Rights::kUserAlone  },
    {kCsidlCommonAppData,   &Home::common_app_data,  &Home::own_common_app_data,  Rights::kEveryone   },
    {kCsidlCommonDocuments, &Home::common_documents, &Home::own_common_documents, Rights::kEveryone   },
    {kCsidlCommonPictures,  &Home::common_pictures,  &Home::own_common_pictures,  Rights::kEveryone   },
};

constexpr mode_t kUserAlone = 0700, kEveryone = 0755;

int MakeMissing(const fs::path& folder, Rights rights) {
  if (rights == Rights::kEveryone) return MakeFolders(folder, kEveryone);
  if (rights == Rights::kUserAlone) return MakeFolders(folder, kUserAlone);
  if (const int code = MakeFolders(folder.parent_path(), kUserAlone); code != kSuccess) return code;
  return mkdir(folder.c_str(), kEveryone) == 0 || errno == EEXIST ? kSuccess : CodeOf(errno, kPathNotFound);
}

int MakeWithParents(const fs::path& folder, Rights rights) {
  struct stat status {};
  if (const int code = MakeMissing(folder, rights); code != kSuccess) return code;
  if (stat(folder.c_str(), &status) != 0) return errno == ENOENT ? kPathNotFound : CodeOf(errno, kReadFault);
  return S_ISDIR(status.st_mode) ? kSuccess : kPathNotFound;
}

// Whether the error is permanent. After a temporary one (a full disk, no descriptor left, a device that doesn't
// respond) nothing moves to another folder, where the program would install and record updates permanently. Instead,
// what needs the folder fails.
bool Lasts(int code) {
  constexpr int kLasting[] = {kFileNotFound, kPathNotFound, kAccessDenied, kNameTooLong, kInvalidParameter};
  return std::find(std::begin(kLasting), std::end(kLasting), code) != std::end(kLasting);
}

bool IsClosed(const fs::path& folder) {
  if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0) return false;
  return errno == EACCES || errno == EPERM || errno == EROFS;
}

int FolderFor(const Home& home, const FolderRow& row, fs::path& folder) {
  folder = home.*row.folder;
  int code = MakeWithParents(folder, row.rights);
  if (row.own != nullptr && (code == kSuccess ? IsClosed(folder) : Lasts(code))) {
    folder = home.*row.own;
    code = MakeWithParents(folder, Rights::kUserAlone);
  }
  // The last resort is always returned: without a name its files would go to the root folder.
  return row.own == nullptr && Lasts(code) ? code : kSuccess;
}

}  // namespace

int PosixFolders::SpecialFolder(int csidl, std::string& path) {
  for (const FolderRow& row : kFolders) {
    if (row.csidl != csidl) continue;
    fs::path folder;
    if (const int code = FolderFor(home_, row, folder); code != kSuccess) return code;
    if (!HasCoreForm(folder.string())) return kPathNotFound;
    path = CorePath(folder.string());
    return kSuccess;
  }
  return kInvalidParameter;
}

std::string PosixFolders::ProgramFolder() {
  std::error_code failure;
  return CorePath(fs::read_symlink("/proc/self/exe", failure).parent_path().string());
}

int PosixFolders::TemporaryFolder(std::string& path) {
  fs::path native = home_.temp;
  if (native.empty()) {
    native = private_temp_.Below(SystemTempFolder());
  } else if (MakeWithParents(native, Rights::kUserAlone) != kSuccess || !IsWrittenByUserAlone(native)) {
    native = private_temp_.Below(native);
  }
  if (native.empty() || !HasCoreForm(native.string())) return kPathNotFound;
  path = WithBackslash(CorePath(native.string()));
  return kSuccess;
}

int PosixFolders::MakeTempFile(const std::string& folder, const std::string& prefix, std::string& path) {
  // Tries all numbers once, from one that two simultaneous processes are unlikely to share; 0 is invalid.
  constexpr std::uint32_t kNumbers = 0xFFFF;
  const std::string native = NativePath(folder) + "/";
  const auto start = std::chrono::steady_clock::now().time_since_epoch().count() / 1000 + getpid();
  for (std::uint32_t i = 0; i < kNumbers; ++i) {
    const std::uint32_t number = static_cast<std::uint32_t>((start + i) % kNumbers) + 1;
    const std::string name = prefix + Hex(static_cast<std::int32_t>(number)) + ".tmp";
    if (Descriptor(open((native + name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600))) {
      path = WithBackslash(folder) + name;
      return kSuccess;
    }
    if (errno != EEXIST) return CodeOf(errno, kPathNotFound);
  }
  return kFileExists;
}

}  // namespace tsly
