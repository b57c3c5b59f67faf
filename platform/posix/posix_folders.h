// Special folders and temporary files of the Linux edition, based on Home. Tests pass their own Home.
#pragma once

#include "ports/folders.h"
#include "posix/home.h"
#include "posix/private_folder.h"

namespace tsly {

class PosixFolders : public Folders {
 public:
  explicit PosixFolders(const Home& home) : home_(home) {}

  int SpecialFolder(int csidl, std::string& path) override;
  std::string ProgramFolder() override;
  int TemporaryFolder(std::string& path) override;
  int MakeTempFile(const std::string& folder, const std::string& prefix, std::string& path) override;

 private:
  Home home_;
  PrivateFolder private_temp_;
};

}  // namespace tsly
