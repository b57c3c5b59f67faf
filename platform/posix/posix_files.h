// Files of the Linux edition; takes core paths. Only regular files count as files; pipes, devices and folders return
// code 5, so that no call can block on them.
#pragma once

#include "ports/files.h"

namespace tsly {

class PosixFiles : public Files {
 public:
  int Find(const std::string& pattern, std::vector<std::string>& names) override;
  int Delete(const std::string& path) override;
  int Rename(const std::string& from, const std::string& to) override;
  int Copy(const std::string& from, const std::string& to) override;
  int MakeFolder(const std::string& path, FolderUse use) override;
  int Append(const std::string& path, std::string_view text) override;
  int MakeEmptyFile(const std::string& path) override;
  int Create(const std::string& path, std::unique_ptr<NewFile>& file) override;
  int OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) override;
  int JoinList(const std::string& path, std::unique_ptr<SharedList>& list,
               bool& alone) override;  // posix_shared_list.cpp
};

}  // namespace tsly
