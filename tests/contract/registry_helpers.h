// Helpers for the tests of the settings registry. Results are text: the data, "-" if there is none, otherwise "code N".
#pragma once

#include <string>

#include "ports/registry.h"
#include "ports/system_codes.h"

namespace tsly {

inline std::string Outcome(int code) { return code == kFileNotFound ? "-" : "code " + std::to_string(code); }

// A handle for writing, 0 on failure.
inline RegKey Made(Registry& registry, RegKey root, const std::string& path) {
  RegKey key = 0;
  bool created = false;
  return registry.Create(root, path, key, created) == kSuccess ? key : 0;
}

// A handle for reading, 0 on failure.
inline RegKey Opened(Registry& registry, RegKey root, const std::string& path) {
  RegKey key = 0;
  return registry.Open(root, path, key) == kSuccess ? key : 0;
}

inline int Set(Registry& registry, RegKey root, const std::string& path, const std::string& name,
               const std::string& data, std::uint32_t type = kRegSz) {
  RegKey key = 0;
  bool created = false;
  const int code = registry.Create(root, path, key, created);
  return code != kSuccess ? code : registry.Set(key, name, type, data);
}

inline std::string Get(Registry& registry, RegKey root, const std::string& path, const std::string& name) {
  RegKey key = 0;
  std::uint32_t type = 0, size = 0;
  int code = registry.Open(root, path, key);
  if (code == kSuccess) code = registry.Query(key, name, type, {}, size);
  std::string data(size, '#');
  if (code == kSuccess) code = registry.Query(key, name, type, data, size);
  return code == kSuccess ? data : Outcome(code);
}

// The names of subkeys in brackets, then those of values in quotes.
inline std::string List(RegistryEditor& registry, RegKey root, const std::string& path) {
  RegKey key = 0;
  if (const int code = registry.Open(root, path, key); code != kSuccess) return Outcome(code);
  std::string list, name, buffer(100, '#');
  std::uint32_t length = 0;
  for (std::uint32_t i = 0; registry.EnumerateKeys(key, i, name) == kSuccess; ++i) list += "[" + name + "]";
  for (std::uint32_t i = 0; registry.Enumerate(key, i, buffer, length) == kSuccess; ++i) {
    list += "'" + buffer.substr(0, length) + "'";
  }
  return list;
}

}  // namespace tsly
