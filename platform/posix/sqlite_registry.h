// The settings registry of the Linux edition: one file for the user's root, and one that all users can read for the
// roots of the machine and the classes. Opens nothing before the first use.
//
// One thread; a forked child creates its own. Tests of the program use tests/support/memory_registry.h instead.
#pragma once

#include <filesystem>
#include <unordered_map>
#include <vector>

#include "ports/registry.h"
#include "posix/registry_tree.h"
#include "posix/sqlite_store.h"

namespace tsly {

class SqliteRegistry : public RegistryEditor {
 public:
  // Absolute paths; the first write creates folders and files. For a user without the right to write the machine's
  // file, writes go to an overlay in the user's file (registry_tree.h).
  SqliteRegistry(std::filesystem::path user_file, std::filesystem::path machine_file);

  int Connect(const std::string& computer, RegKey root, RegKey& handle) override;
  int Open(RegKey parent, const std::string& path, RegKey& key) override;
  int Create(RegKey parent, const std::string& path, RegKey& key, bool& created) override;
  int Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
            std::uint32_t& size) override;
  int Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) override;
  int Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) override;
  int Close(RegKey key) override;

  int EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) override;
  int DeleteValue(RegKey key, const std::string& name) override;
  int DeleteTree(RegKey root, const std::string& path) override;
  int Together(const std::function<int()>& changes) override;

 private:
  // The names during an enumeration: read at index 0, and again after a write of this process.
  struct Listing {
    bool read = false;
    std::uint64_t writes = 0;
    std::vector<std::string> names;
  };
  struct OpenKey {
    RegistryTree* tree = nullptr;
    std::string path;
    bool writable = false;
    Listing keys, values;
  };
  using ReadNames = int (RegistryTree::*)(const std::string&, std::vector<std::string>&);

  OpenKey* Find(RegKey key);
  RegKey Add(RegistryTree* tree, std::string path, bool writable);
  int NameAt(OpenKey& open, Listing& listing, ReadNames read, std::uint32_t index, const std::string*& name);

  SqliteStore user_;
  SqliteStore machine_;
  RegistryTree user_tree_;
  RegistryTree machine_tree_;
  RegistryTree classes_tree_;
  std::unordered_map<RegKey, OpenKey> open_;
  RegKey next_;
  std::uint64_t writes_ = 0;
};

}  // namespace tsly
