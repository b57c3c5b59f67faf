// A temporary folder, removed with the object. Names in it are in the core's form, "a\b.txt".
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tsly {

class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  // The folder itself with an empty name.
  std::string CorePath(std::string_view name = "") const;
  std::filesystem::path NativePath(std::string_view name = "") const;

  // Creates the folders too, and replaces the contents in place. Returns the core path.
  std::string Write(std::string_view name, std::string_view contents) const;
  // Fails the test if there is no such file.
  std::string Read(std::string_view name) const;
  bool Has(std::string_view name) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace tsly
