#include "support/memory_registry.h"

#include <algorithm>
#include <iterator>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"

namespace tsly {

int MemoryRegistry::Begin(const char* operation, RegKey key, bool good_name, Handle& handle) {
  if (before_call) before_call(operation);
  if (const auto scripted = fail.extract(operation)) return scripted.mapped();
  if (locked != 0) return locked;
  if (key == kClassesRoot || key == kCurrentUser || key == kLocalMachine) {
    handle = {key, "", true};
  } else if (const auto found = handles_.find(key); found != handles_.end()) {
    handle = found->second;
  } else {
    return kInvalidHandle;
  }
  return good_name ? kSuccess : kInvalidParameter;
}

// The roots always exist.
MemoryRegistry::Key* MemoryRegistry::KeyOf(const Handle& handle) {
  if (handle.path.empty()) return &keys_[{handle.root, ""}];
  const auto found = keys_.find({handle.root, handle.path});
  return found != keys_.end() ? &found->second : nullptr;
}

int MemoryRegistry::Connect(const std::string&, RegKey, RegKey&) {
  const auto scripted = fail.extract("Connect");
  return scripted ? scripted.mapped() : kBadNetworkPath;
}

int MemoryRegistry::Open(RegKey parent, const std::string& path, RegKey& key) {
  Handle handle;
  if (const int code = Begin("Open", parent, IsKeyPath(path), handle)) return code;
  handle = {handle.root, JoinKeyPath(handle.path, LowerCase(path)), false};
  if (KeyOf(handle) == nullptr) return kFileNotFound;
  handles_[key = next_++] = handle;
  return kSuccess;
}

int MemoryRegistry::Create(RegKey parent, const std::string& path, RegKey& key, bool& created) {
  Handle handle;
  if (const int code = Begin("Create", parent, IsKeyPath(path), handle)) return code;
  handle.writable = true;
  if (Denied(handle)) return kAccessDenied;
  created = false;
  for (const auto& part : Split(path, "\\")) {
    handle.path = JoinKeyPath(handle.path, LowerCase(part));
    created = keys_.try_emplace({handle.root, handle.path}, Key{part, {}}).second;
  }
  handles_[key = next_++] = handle;
  return kSuccess;
}

int MemoryRegistry::Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
                          std::uint32_t& size) {
  Handle handle;
  if (const int code = Begin("Query", key, IsValueName(name), handle)) return code;
  const Key* found = KeyOf(handle);
  if (found == nullptr || !found->values.contains(LowerCase(name))) return kFileNotFound;
  const Value& value = found->values.at(LowerCase(name));
  type = value.type;
  size = static_cast<std::uint32_t>(value.data.size());
  if (buffer.empty()) return kSuccess;
  if (buffer.size() < value.data.size()) return kMoreData;
  std::ranges::copy(value.data, buffer.begin());
  return kSuccess;
}

int MemoryRegistry::Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) {
  Handle handle;
  if (const int code = Begin("Set", key, IsValueName(name), handle)) return code;
  if (Denied(handle)) return kAccessDenied;
  Key* found = KeyOf(handle);
  if (found == nullptr) return kKeyDeleted;
  Value& value = found->values.try_emplace(LowerCase(name), Value{name, "", 0}).first->second;
  value.type = type;
  value.data.assign(data.begin(), data.end());
  return kSuccess;
}

int MemoryRegistry::Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) {
  Handle handle;
  if (const int code = Begin("Enumerate", key, true, handle)) return code;
  const Key* found = KeyOf(handle);
  if (found == nullptr || index >= found->values.size()) return kNoMoreItems;
  const std::string& text = std::next(found->values.begin(), index)->second.name;
  if (name.size() <= text.size()) return kMoreData;
  *std::ranges::copy(text, name.begin()).out = '\0';
  length = static_cast<std::uint32_t>(text.size());
  return kSuccess;
}

int MemoryRegistry::Close(RegKey key) {
  Handle handle;
  const int code = Begin("Close", key, true, handle);
  handles_.erase(key);
  return code;
}

int MemoryRegistry::EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) {
  Handle handle;
  if (const int code = Begin("EnumerateKeys", key, true, handle)) return code;
  const std::string prefix = handle.path.empty() ? "" : handle.path + "\\";
  for (auto at = keys_.lower_bound({handle.root, prefix}); at != keys_.end(); ++at) {
    const auto& [root, path] = at->first;
    if (root != handle.root || !path.starts_with(prefix)) break;
    const bool is_child = path.size() > prefix.size() && path.find('\\', prefix.size()) == path.npos;
    if (!is_child || index-- != 0) continue;
    name = at->second.name;
    return kSuccess;
  }
  return kNoMoreItems;
}

int MemoryRegistry::DeleteValue(RegKey key, const std::string& name) {
  Handle handle;
  if (const int code = Begin("DeleteValue", key, IsValueName(name), handle)) return code;
  if (Denied(handle)) return kAccessDenied;
  Key* found = KeyOf(handle);
  return found != nullptr && found->values.erase(LowerCase(name)) != 0 ? kSuccess : kFileNotFound;
}

int MemoryRegistry::DeleteTree(RegKey root, const std::string& path) {
  Handle handle;
  if (const int code = Begin("DeleteTree", root, !path.empty() && IsKeyPath(path), handle)) return code;
  if (Denied(handle)) return kAccessDenied;
  handle.path = JoinKeyPath(handle.path, LowerCase(path));
  if (KeyOf(handle) == nullptr) return kFileNotFound;
  std::erase_if(keys_, [&](const auto& entry) {
    return entry.first.first == handle.root && (entry.first.second + "\\").starts_with(handle.path + "\\");
  });
  return kSuccess;
}

int MemoryRegistry::Together(const std::function<int()>& changes) {
  const auto before = keys_;
  const int code = changes();
  if (code != kSuccess) keys_ = before;
  return code;
}

}  // namespace tsly
