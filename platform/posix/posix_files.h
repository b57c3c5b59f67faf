// Files of the Linux edition: core paths in, the system's files behind. Only regular files count as files; pipes,
// devices and folders in their place give code 5, so that no call can wait for somebody else.
#pragma once

#include "ports/files.h"

namespace tsly {

class PosixFiles : public Files {
 public:
  int Find(const std::string& pattern, std::vector<std::string>& names) override;
  int Delete(const std::string& path) override;
  int Rename(const std::string& from, const std::string& to) override;
  int Copy(const std::string& from, const std::string& to) override;
  int MakeFolder(const std::string& path) override;
  int Append(const std::string& path, std::string_view text) override;
  int Length(const std::string& path, std::int64_t& length) override;
  int OpenForReading(const std::string& path, std::unique_ptr<FileReader>& reader) override;
  int OpenForWriting(const std::string& path, std::unique_ptr<FileWriter>& writer) override;
};

}  // namespace tsly
