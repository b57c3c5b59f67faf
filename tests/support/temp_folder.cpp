#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

namespace tsly {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  std::random_device random;
  do folder_ = fs::temp_directory_path() / ("tsly-test-" + std::to_string(random()));
  while (!fs::create_directory(folder_));
  fs::permissions(folder_, fs::perms::owner_all);
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::string TempFolder::CorePath(std::string_view name) const {
  std::string path = folder_.string() + (name.empty() ? "" : "\\") + std::string(name);
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

fs::path TempFolder::NativePath(std::string_view name) const {
  std::string below(name);
  std::replace(below.begin(), below.end(), '\\', '/');
  return below.empty() ? folder_ : folder_ / below;
}

std::string TempFolder::Write(std::string_view name, std::string_view contents) const {
  const fs::path path = NativePath(name);
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  file.close();
  EXPECT_TRUE(file) << path;
  return CorePath(name);
}

std::string TempFolder::Read(std::string_view name) const {
  std::ifstream file(NativePath(name), std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

bool TempFolder::Has(std::string_view name) const { return fs::exists(NativePath(name)); }

}  // namespace tsly
