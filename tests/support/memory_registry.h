// The settings registry in memory, tested by the same contract suite as the real one. One thread; two programs that
// share an object act like two processes on one machine.
#pragma once

#include <functional>
#include <map>

#include "ports/registry.h"

namespace tsly {

class MemoryRegistry : public RegistryEditor {
 public:
  // The next call of the named operation returns this code.
  std::map<std::string, int> fail;
  // Whether writes below the machine's roots are refused with 5.
  bool denied = false;
  // The code of every call on a key, as if another process locked the store; 0: none.
  int locked = 0;
  std::function<void(const std::string& operation)> before_call;

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

  // The number of handles that aren't closed.
  std::size_t OpenHandles() const { return handles_.size(); }

 private:
  struct Value {
    std::string name, data;
    std::uint32_t type = 0;
  };
  struct Key {
    std::string name;                     // the last part of the path
    std::map<std::string, Value> values;  // by folded name
  };
  struct Handle {
    RegKey root = 0;
    std::string path;  // folded
    bool writable = false;
  };

  // The first step of every operation: returns its code, or success and the key.
  int Begin(const char* operation, RegKey key, bool good_name, Handle& handle);
  Key* KeyOf(const Handle& handle);
  bool Denied(const Handle& handle) const { return !handle.writable || (denied && handle.root != kCurrentUser); }

  std::map<std::pair<RegKey, std::string>, Key> keys_;  // by root and folded path
  std::map<RegKey, Handle> handles_;
  RegKey next_ = 1;
};

}  // namespace tsly
