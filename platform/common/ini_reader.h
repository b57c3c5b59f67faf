// The profile reader of the Linux edition. It reads a file once, keeps an index of the last few files, and trusts one
// only while the file is certainly the same; a look-up then costs one question to the system and no reading.
//
// One thread. A test gives it files in a temporary folder.
#pragma once

#include <sys/stat.h>

#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/ini_index.h"
#include "ports/profile.h"

namespace tsly {

class IniReader : public ProfileReader {
 public:
  // The code page that files are in. Without one (or with 65001) they are UTF-8, and bytes that are no UTF-8 pass as
  // they are; with one, bytes that it doesn't know become U+FFFD. UTF-16LE with its mark is read in either case.
  explicit IniReader(std::optional<std::uint32_t> code_page = std::nullopt) : code_page_(code_page) {}

  std::uint32_t GetPrivateProfileString(const char* section, const char* key, const char* fallback,
                                        std::span<char> buffer, const std::string& file) override;
  int Pin(const std::string& file, OpenFile* document) override;
  void Unpin(const std::string& file) override { pinned_.erase(file); }

  // How many times a file was read, so that tests and measurements see what the cache saves.
  int ReadCount() const { return read_count_; }

 private:
  struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t modified = 0, changed = 0;  // nanoseconds
    bool operator==(const Stamp&) const = default;
  };
  struct CachedFile {
    std::string path, native;
    bool is_exact;  // the native path is the path letter for letter, so no other name can come before it
    bool settled;   // the stamp was old enough when the file was read
    Stamp stamp;
    std::unique_ptr<IniIndex> index;
  };

  static bool StampOf(const struct stat& status, Stamp& stamp);
  static bool IsUnchanged(const CachedFile& file);
  const IniIndex* Open(const std::string& path);
  const IniIndex* Load(const std::string& path);

  std::optional<std::uint32_t> code_page_;
  std::map<std::string, std::unique_ptr<IniIndex>> pinned_;
  std::list<CachedFile> cache_;  // the last used in front
  int read_count_ = 0;
};

}  // namespace tsly
