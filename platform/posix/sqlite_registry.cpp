#include "posix/sqlite_registry.h"

#include <algorithm>
#include <utility>

#include "base/key_path.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr RegKey kFirstHandle = 0x100000000;  // above the predefined roots

}  // namespace

SqliteRegistry::SqliteRegistry(std::filesystem::path user_file, std::filesystem::path machine_file)
    : user_(std::move(user_file), SqliteStore::Kind::kPrivate),
      machine_(std::move(machine_file), SqliteStore::Kind::kShared),
      user_tree_("hkcu", user_, nullptr),
      machine_tree_("hklm", machine_, &user_),
      classes_tree_("hkcr", machine_, &user_),
      open_{
          {kCurrentUser,  {&user_tree_, "", true, {}, {}}   },
          {kLocalMachine, {&machine_tree_, "", true, {}, {}}},
          {kClassesRoot,  {&classes_tree_, "", true, {}, {}}}
},
      next_(kFirstHandle) {}

int SqliteRegistry::Connect(const std::string&, RegKey, RegKey&) { return kBadNetworkPath; }

int SqliteRegistry::Open(RegKey parent, const std::string& path, RegKey& key) {
  const OpenKey* from = Find(parent);
  if (from == nullptr) return kInvalidHandle;
  if (!IsKeyPath(path)) return kInvalidParameter;
  std::string whole = JoinKeyPath(from->path, path);
  bool there = false;
  const int code = from->tree->HasKey(whole, there);
  if (code != kSuccess) return code;
  if (!there) return kFileNotFound;
  key = Add(from->tree, std::move(whole), false);
  return kSuccess;
}

int SqliteRegistry::Create(RegKey parent, const std::string& path, RegKey& key, bool& created) {
  const OpenKey* from = Find(parent);
  if (from == nullptr) return kInvalidHandle;
  if (!IsKeyPath(path)) return kInvalidParameter;
  std::string whole = JoinKeyPath(from->path, path);
  bool made = false;
  const int code = from->tree->MakeKey(whole, made);
  if (code != kSuccess) return code;
  if (made) ++writes_;
  created = made;
  key = Add(from->tree, std::move(whole), true);
  return kSuccess;
}

int SqliteRegistry::Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
                          std::uint32_t& size) {
  const OpenKey* open = Find(key);
  if (open == nullptr) return kInvalidHandle;
  if (!IsValueName(name)) return kInvalidParameter;
  std::optional<RegistryData> data;
  const int code = open->tree->FindValue(open->path, name, data);
  if (code != kSuccess) return code;
  if (!data) return kFileNotFound;
  type = data->type;
  size = static_cast<std::uint32_t>(data->bytes.size());
  if (buffer.empty()) return kSuccess;
  if (buffer.size() < data->bytes.size()) return kMoreData;
  std::copy(data->bytes.begin(), data->bytes.end(), buffer.begin());
  return kSuccess;
}

int SqliteRegistry::Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) {
  const OpenKey* open = Find(key);
  if (open == nullptr) return kInvalidHandle;
  if (!IsValueName(name)) return kInvalidParameter;
  if (!open->writable) return kAccessDenied;
  ++writes_;
  return open->tree->SetValue(open->path, name, {type, std::string(data.begin(), data.end())});
}

int SqliteRegistry::Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) {
  OpenKey* open = Find(key);
  if (open == nullptr) return kInvalidHandle;
  const std::string* found = nullptr;
  const int code = NameAt(*open, open->values, &RegistryTree::ValueNames, index, found);
  if (code != kSuccess) return code;
  if (name.size() <= found->size()) return kMoreData;
  *std::copy(found->begin(), found->end(), name.begin()) = '\0';
  length = static_cast<std::uint32_t>(found->size());
  return kSuccess;
}

int SqliteRegistry::Close(RegKey key) {
  if (Find(key) == nullptr) return kInvalidHandle;
  if (key >= kFirstHandle) open_.erase(key);
  return kSuccess;
}

int SqliteRegistry::EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) {
  OpenKey* open = Find(key);
  if (open == nullptr) return kInvalidHandle;
  const std::string* found = nullptr;
  const int code = NameAt(*open, open->keys, &RegistryTree::KeyNames, index, found);
  if (code == kSuccess) name = *found;
  return code;
}

int SqliteRegistry::DeleteValue(RegKey key, const std::string& name) {
  const OpenKey* open = Find(key);
  if (open == nullptr) return kInvalidHandle;
  if (!IsValueName(name)) return kInvalidParameter;
  if (!open->writable) return kAccessDenied;
  ++writes_;
  return open->tree->DeleteValue(open->path, name);
}

int SqliteRegistry::DeleteTree(RegKey root, const std::string& path) {
  const OpenKey* open = Find(root);
  if (open == nullptr) return kInvalidHandle;
  if (path.empty() || !IsKeyPath(path)) return kInvalidParameter;
  if (!open->writable) return kAccessDenied;
  ++writes_;
  return open->tree->DeleteTree(JoinKeyPath(open->path, path));
}

int SqliteRegistry::Together(const std::function<int()>& changes) {
  user_.Gather();
  machine_.Gather();
  int code = changes();
  for (SqliteStore* store : {&machine_, &user_}) {
    const int finished = store->Finish(code == kSuccess);
    if (code == kSuccess) code = finished;
  }
  ++writes_;
  return code;
}

SqliteRegistry::OpenKey* SqliteRegistry::Find(RegKey key) {
  const auto found = open_.find(key);
  return found != open_.end() ? &found->second : nullptr;
}

RegKey SqliteRegistry::Add(RegistryTree* tree, std::string path, bool writable) {
  open_.emplace(next_, OpenKey{tree, std::move(path), writable, {}, {}});
  return next_++;
}

int SqliteRegistry::NameAt(OpenKey& open, Listing& listing, ReadNames read, std::uint32_t index,
                           const std::string*& name) {
  if (index == 0 || !listing.read || listing.writes != writes_) {
    std::vector<std::string> names;
    const int code = (open.tree->*read)(open.path, names);
    if (code != kSuccess) return code;
    listing = {true, writes_, std::move(names)};
  }
  if (index >= listing.names.size()) return kNoMoreItems;
  name = &listing.names[index];
  return kSuccess;
}

}  // namespace tsly
