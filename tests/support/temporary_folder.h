// A folder of a test's own below the system's folder for temporary files, open to every user; it goes with the object.
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace tsly {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tsly-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    chmod(name.c_str(), 0755);
    path_ = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }

  std::filesystem::path Write(const std::string& name, const std::string& bytes, mode_t mode = 0644) const {
    const std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    chmod(file.c_str(), mode);
    return file;
  }

  // Everything below: the contents of each file, "/" for a folder, "->" for a link.
  std::map<std::string, std::string> Tree(const std::string& below = "") const {
    std::map<std::string, std::string> tree;
    if (!std::filesystem::exists(path_ / below)) return tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_ / below)) {
      std::string& what = tree[entry.path().lexically_relative(path_ / below).string()];
      what = entry.is_symlink() ? "->" : entry.is_directory() ? "/" : Read(entry.path());
    }
    return tree;
  }

  static std::string Read(const std::filesystem::path& file) {
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
  }

 private:
  std::filesystem::path path_;
};

}  // namespace tsly
