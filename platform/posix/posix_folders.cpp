#include "posix/posix_folders.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

struct FolderRow {
  int csidl;
  fs::path Home::*folder;
  fs::path Home::*own;  // takes its place where the user can't write it; null: he gets the folder as it is
};

constexpr FolderRow kFolders[] = {
    {kCsidlPersonal,        &Home::documents,        nullptr                    },
    {kCsidlMyPictures,      &Home::pictures,         nullptr                    },
    {kCsidlProgramFiles,    &Home::program_files,    nullptr                    },
    {kCsidlAppData,         &Home::app_data,         nullptr                    },
    {kCsidlCommonAppData,   &Home::common_app_data,  &Home::own_common_app_data },
    {kCsidlCommonDocuments, &Home::common_documents, &Home::own_common_documents},
    {kCsidlCommonPictures,  &Home::common_pictures,  &Home::own_common_pictures },
};

int MakeWithParents(const fs::path& folder) {
  std::error_code failure;
  fs::create_directories(folder, failure);
  return CodeOf(failure.value(), kPathNotFound);
}

bool IsWritable(const fs::path& folder) { return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0; }

int FolderFor(const Home& home, const FolderRow& row, fs::path& folder) {
  folder = home.*row.folder;
  const int code = MakeWithParents(folder);
  if (row.own == nullptr || (code == kSuccess && IsWritable(folder))) return code;
  folder = home.*row.own;
  return MakeWithParents(folder);
}

// With a zero behind it; false if both don't fit.
bool CopyOut(const std::string& text, std::span<char> buffer) {
  if (text.size() >= buffer.size()) return false;
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
  return true;
}

}  // namespace

int PosixFolders::GetFolderPath(int csidl, std::span<char> buffer) {
  for (const FolderRow& row : kFolders) {
    if (row.csidl != csidl) continue;
    fs::path folder;
    if (const int code = FolderFor(home_, row, folder); code != kSuccess) return code;
    return CopyOut(CorePath(folder.string()), buffer) ? kSuccess : kMoreData;
  }
  return kInvalidParameter;
}

std::string PosixFolders::ProgramFolder() {
  std::error_code failure;
  return CorePath(fs::read_symlink("/proc/self/exe", failure).parent_path().string());
}

std::uint32_t PosixFolders::GetTempPath(std::span<char> buffer) {
  if (MakeWithParents(home_.temp) != kSuccess) return 0;
  const std::string folder = WithBackslash(CorePath(home_.temp.string()));
  return CopyOut(folder, buffer) ? static_cast<std::uint32_t>(folder.size()) : 0;
}

std::uint32_t PosixFolders::GetTempFileName(const std::string& folder, const std::string& prefix,
                                            std::span<char> buffer) {
  // The numbers go round once, from one that two processes of the same moment hardly share; 0 is none.
  constexpr std::uint32_t kNumbers = 0xFFFF;
  const std::string native = NativePath(folder) + "/";
  const auto moment = std::chrono::steady_clock::now().time_since_epoch().count() / 1000 + getpid();
  for (std::uint32_t i = 0; i < kNumbers; ++i) {
    const std::uint32_t number = static_cast<std::uint32_t>((moment + i) % kNumbers) + 1;
    const std::string name = prefix + Hex(static_cast<std::int32_t>(number)) + ".tmp";
    const std::string path = WithBackslash(folder) + name;
    if (!CopyOut(path, buffer)) return 0;
    if (Descriptor(open((native + name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600))) return number;
    if (errno != EEXIST) return 0;
  }
  return 0;
}

}  // namespace tsly
