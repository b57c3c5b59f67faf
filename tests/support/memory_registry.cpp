#include "support/memory_registry.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"

namespace tsly {

int MemoryRegistry::Connect(const std::string&, RegKey, RegKey&) {
  int code = kBadNetworkPath;
  Fails("Connect", code);
  return code;
}

int MemoryRegistry::Open(RegKey parent, const std::string& path, RegKey& key) {
  Handle handle;
  if (int code = 0; Fails("Open", code)) return code;
  if (!Resolve(parent, handle)) return kInvalidHandle;
  if (!IsKeyPath(path)) return kInvalidParameter;
  handle = {handle.root, JoinKeyPath(handle.path, LowerCase(path)), false};
  if (KeyOf(handle) == nullptr) return kFileNotFound;
  handles_[key = next_++] = handle;
  return kSuccess;
}

int MemoryRegistry::Create(RegKey parent, const std::string& path, RegKey& key, bool& created) {
  Handle handle;
  if (int code = 0; Fails("Create", code)) return code;
  if (!Resolve(parent, handle)) return kInvalidHandle;
  if (!IsKeyPath(path)) return kInvalidParameter;
  if (Denied(handle)) return kAccessDenied;
  created = false;
  for (const auto& part : Split(path, "\\")) {
    handle.path = JoinKeyPath(handle.path, LowerCase(part));
    created = keys_.try_emplace({handle.root, handle.path}, Key{part, {}}).second;
  }
  handle.writable = true;
  handles_[key = next_++] = handle;
  return kSuccess;
}

int MemoryRegistry::Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
                          std::uint32_t& size) {
  Handle handle;
  if (int code = 0; Fails("Query", code)) return code;
  if (!Resolve(key, handle)) return kInvalidHandle;
  if (!IsValueName(name)) return kInvalidParameter;
  const Key* found = KeyOf(handle);
  if (found == nullptr || !found->values.contains(LowerCase(name))) return kFileNotFound;
  const Value& value = found->values.at(LowerCase(name));
  type = value.type;
  size = static_cast<std::uint32_t>(value.data.size());
  if (buffer.empty()) return kSuccess;
  if (buffer.size() < value.data.size()) return kMoreData;
  std::copy(value.data.begin(), value.data.end(), buffer.begin());
  return kSuccess;
}

int MemoryRegistry::Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) {
  Handle handle;
  if (int code = 0; Fails("Set", code)) return code;
  if (const int code = JudgeWrite(key, name, handle); code != kSuccess) return code;
  Key* found = KeyOf(handle);
  if (found == nullptr) return kKeyDeleted;
  Value& value = found->values.try_emplace(LowerCase(name), Value{name, 0, {}}).first->second;
  value.type = type;
  value.data.assign(data.begin(), data.end());
  return kSuccess;
}

int MemoryRegistry::Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) {
  Handle handle;
  if (int code = 0; Fails("Enumerate", code)) return code;
  if (!Resolve(key, handle)) return kInvalidHandle;
  const Key* found = KeyOf(handle);
  if (found == nullptr || index >= found->values.size()) return kNoMoreItems;
  const std::string& text = std::next(found->values.begin(), index)->second.name;
  if (name.size() <= text.size()) return kMoreData;
  *std::copy(text.begin(), text.end(), name.begin()) = '\0';
  length = static_cast<std::uint32_t>(text.size());
  return kSuccess;
}

int MemoryRegistry::Close(RegKey key) {
  Handle handle;
  if (!Resolve(key, handle)) return kInvalidHandle;
  handles_.erase(key);
  return kSuccess;
}

int MemoryRegistry::EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) {
  Handle handle;
  if (!Resolve(key, handle)) return kInvalidHandle;
  for (const auto& [place, child] : keys_) {
    if (place.first != handle.root || place.second.empty() ||
        JoinKeyPath(handle.path, LowerCase(child.name)) != place.second)
      continue;
    if (index-- != 0) continue;
    name = child.name;
    return kSuccess;
  }
  return kNoMoreItems;
}

int MemoryRegistry::DeleteValue(RegKey key, const std::string& name) {
  Handle handle;
  if (const int code = JudgeWrite(key, name, handle); code != kSuccess) return code;
  Key* found = KeyOf(handle);
  return found != nullptr && found->values.erase(LowerCase(name)) != 0 ? kSuccess : kFileNotFound;
}

int MemoryRegistry::DeleteTree(RegKey root, const std::string& path) {
  Handle handle;
  if (!Resolve(root, handle)) return kInvalidHandle;
  if (path.empty() || !IsKeyPath(path)) return kInvalidParameter;
  if (!handle.writable || Denied(handle)) return kAccessDenied;
  handle.path = JoinKeyPath(handle.path, LowerCase(path));
  if (KeyOf(handle) == nullptr) return kFileNotFound;
  std::erase_if(keys_, [&](const auto& entry) {
    return entry.first.first == handle.root && (entry.first.second + "\\").starts_with(handle.path + "\\");
  });
  return kSuccess;
}

bool MemoryRegistry::Fails(const char* operation, int& code) {
  const auto scripted = fail.find(operation);
  if (scripted == fail.end()) return false;
  code = scripted->second;
  fail.erase(scripted);
  return true;
}

bool MemoryRegistry::Resolve(RegKey key, Handle& handle) const {
  if (key == kClassesRoot || key == kCurrentUser || key == kLocalMachine) {
    handle = {key, "", true};
    return true;
  }
  const auto found = handles_.find(key);
  if (found == handles_.end()) return false;
  handle = found->second;
  return true;
}

// The roots are always there.
MemoryRegistry::Key* MemoryRegistry::KeyOf(const Handle& handle) {
  if (handle.path.empty()) return &keys_[{handle.root, ""}];
  const auto found = keys_.find({handle.root, handle.path});
  return found != keys_.end() ? &found->second : nullptr;
}

int MemoryRegistry::JudgeWrite(RegKey key, const std::string& name, Handle& handle) const {
  if (!Resolve(key, handle)) return kInvalidHandle;
  if (!IsValueName(name)) return kInvalidParameter;
  return !handle.writable || Denied(handle) ? kAccessDenied : kSuccess;
}

}  // namespace tsly
