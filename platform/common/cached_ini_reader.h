// The profile reader of every edition. It reads a file once, keeps an index of the last few files, and trusts one only
// while the file is certainly the same; a look-up then costs one question to the system and no reading.
//
// One thread. An edition's IniReader is this on its own files; a test gives it files in a temporary folder.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/ini_files.h"
#include "common/ini_index.h"
#include "ports/profile.h"

namespace tsly {

class CachedIniReader : public ProfileReader {
 public:
  // The code page of the files. Without one (or with 65001) files are UTF-8, and other bytes pass unchanged; with one,
  // invalid bytes become U+FFFD. UTF-16LE with a byte order mark is always recognised.
  CachedIniReader(std::unique_ptr<IniFiles> files, std::optional<std::uint32_t> code_page)
      : files_(std::move(files)), code_page_(code_page) {}

  std::uint32_t Read(const char* section, const char* key, const char* fallback, std::span<char> buffer,
                     const std::string& file) override;
  int Pin(const std::string& file, OpenFile* document) override;
  void Unpin(const std::string& file) override { pinned_.erase(file); }

  // How many times files were read, for tests and benchmarks of the cache.
  int ReadCount() const { return read_count_; }

 private:
  struct CachedFile {
    std::string path, native;
    bool is_exact;
    bool settled;  // the stamp was old enough when the file was read
    IniStamp stamp;
    std::unique_ptr<IniIndex> index;
  };

  template <typename File>
  int ReadText(File& file, std::int64_t size, std::string& text);
  int ReadDocument(OpenFile& document, std::string& text);
  bool IsUnchanged(const CachedFile& file);
  const IniIndex* Open(const std::string& path);
  const IniIndex* Load(const std::string& path);

  std::unique_ptr<IniFiles> files_;
  std::optional<std::uint32_t> code_page_;
  std::map<std::string, std::unique_ptr<IniIndex>> pinned_;
  std::list<CachedFile> cache_;  // the last used in front
  int read_count_ = 0;
};

}  // namespace tsly
