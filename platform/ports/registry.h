// The settings registry: keys in trees below fixed roots, each with named, typed values.
//
// One thread. Every call returns a result code (system_codes.h), 0 for success, and doesn't change its out arguments on
// failure unless documented. Key paths are parts joined by single backslashes, without a leading one (87 for any other
// path, a zero byte or a too long name). Names of keys and values are not case-sensitive and keep the case of their
// first write. A handle that isn't open returns 6. Names, paths and text data are UTF-8; lengths and sizes are in bytes
// of it, whatever the store's format. A write that returned 0 is complete on the disk, whatever happens next. Two
// processes may write at the same time. Tests use tests/support/memory_registry.h, which passes the same contract
// suite.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace tsly {

using RegKey = std::uint64_t;

// The predefined roots are always open handles.
inline constexpr RegKey kClassesRoot = 0x80000000;
inline constexpr RegKey kCurrentUser = 0x80000001;
inline constexpr RegKey kLocalMachine = 0x80000002;

inline constexpr std::uint32_t kRegSz = 1;        // text, with terminating zero
inline constexpr std::uint32_t kRegExpandSz = 2;  // the same; never expanded here
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;  // 32 bits, little-endian

inline constexpr std::uint32_t kRegMaxNameLength = 16383;  // bytes of a value name
inline constexpr std::uint32_t kRegMaxPartLength = 255;    // bytes of one part of a key path

class Registry {
 public:
  virtual ~Registry() = default;

  // A root on another computer; `computer` begins with two backslashes. 53: not supported.
  virtual int Connect(const std::string& computer, RegKey root, RegKey& handle) = 0;

  // Opens a key for reading; an empty path opens another handle of `parent`. 2: no such key.
  virtual int Open(RegKey parent, const std::string& path, RegKey& key) = 0;

  // Opens a key for writing and creates missing parts of the path; `created`: the last part was missing. 5: no
  // permission.
  virtual int Create(RegKey parent, const std::string& path, RegKey& key, bool& created) = 0;

  // Reads a value. Sets `type` and `size` (bytes of the data) whenever the value exists. 0 with an empty buffer; 234 if
  // the buffer is too small, which doesn't change it. 2: no such value.
  virtual int Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
                    std::uint32_t& size) = 0;

  // Writes or replaces a value. 5: the key was opened for reading, or no permission. 1018: the key has been removed
  // since it was opened.
  virtual int Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) = 0;

  // The name of value number `index`, from 0, with a terminating zero. `length` doesn't include the zero. The order is
  // arbitrary but stable until a write to the key; then start again from index 0. 259: no more values. 234: the buffer
  // is too small.
  virtual int Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) = 0;

  // Closes a handle. 6: not open. Predefined roots return 0 and stay open.
  virtual int Close(RegKey key) = 0;
};

// Additional operations for a settings tool; the program doesn't use them.
class RegistryEditor : public Registry {
 public:
  // The name of subkey number `index`, from 0, in alphabetical order. 259: no more keys.
  virtual int EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) = 0;

  // 2: no such value. The key must have been opened for writing.
  virtual int DeleteValue(RegKey key, const std::string& name) = 0;

  // Removes a key and everything below it. 2: no such key; 87: an empty path.
  virtual int DeleteTree(RegKey root, const std::string& path) = 0;

  // Runs `changes` as a transaction: keeps all its writes if it returns 0, otherwise none. If roots are in separate
  // files, this applies to each file: a failure at the very end may leave one file written and another not.
  virtual int Together(const std::function<int()>& changes) = 0;
};

}  // namespace tsly
