// What the tests of the settings registry share.
#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "ports/registry.h"

namespace tsly {

// Open to every user, since some tests change to an ordinary one.
struct TempFolder {
  TempFolder() : path(std::filesystem::temp_directory_path() / "tsly-registry-XXXXXX") {
    std::string name = path.native();
    path = mkdtemp(name.data());
    chmod(path.c_str(), 0777);
  }
  ~TempFolder() { std::filesystem::remove_all(path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::filesystem::path path;
};

struct Found {
  int code = 0;
  std::uint32_t type = 0;
  std::string data;
  bool operator==(const Found&) const = default;
};

inline Found Read(Registry& registry, RegKey key, const std::string& name) {
  Found found;
  std::uint32_t size = 0;
  found.code = registry.Query(key, name, found.type, {}, size);
  if (found.code != 0) return found;
  found.data.resize(size);
  if (size != 0) found.code = registry.Query(key, name, found.type, found.data, size);
  return found;
}

}  // namespace tsly
