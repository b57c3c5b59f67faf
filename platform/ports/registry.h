// The settings registry: keys in trees below fixed roots, each with named, typed values.
//
// One thread. Every call gives one of the platform's result codes (system_codes.h), 0 for success, and leaves its out
// arguments alone on failure unless told otherwise. Key paths are parts joined by single backslashes, without one in
// front (87 for any other path, a zero byte or a name that is too long); names of keys and values compare without
// regard to letter case and keep the case of their first writing. A handle that isn't open gives 6. Names, paths and
// the data of text values are UTF-8, and lengths and sizes count its bytes, whatever the store keeps. A write that gave
// 0 is on disk, whole, whatever happens next; two processes may write at the same moment. Tests stand on
// tests/support/memory_registry.h, held to the same contract suite as the real one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace tsly {

using RegKey = std::uint64_t;

// The predefined roots are open handles from the start and are never closed.
inline constexpr RegKey kClassesRoot = 0x80000000;
inline constexpr RegKey kCurrentUser = 0x80000001;
inline constexpr RegKey kLocalMachine = 0x80000002;

inline constexpr std::uint32_t kRegSz = 1;        // text with its terminating zero
inline constexpr std::uint32_t kRegExpandSz = 2;  // the same; nothing expands it here
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;  // 32 bits, least significant byte first

inline constexpr std::uint32_t kRegMaxNameLength = 16383;  // bytes of a value name
inline constexpr std::uint32_t kRegMaxPartLength = 255;    // bytes of one part of a key path

class Registry {
 public:
  virtual ~Registry() = default;

  // A root on another computer; `computer` begins with two backslashes. 53 where that can't be.
  virtual int Connect(const std::string& computer, RegKey root, RegKey& handle) = 0;

  // Opens a key for reading; an empty path gives a further handle of `parent` itself. 2: no such key.
  virtual int Open(RegKey parent, const std::string& path, RegKey& key) = 0;

  // Opens a key for writing and makes what is missing of the path; `created`: the last part was missing. 5: no right.
  virtual int Create(RegKey parent, const std::string& path, RegKey& key, bool& created) = 0;

  // Reads a value. `type` and `size` (bytes of the data) are filled whenever the value is there. With an empty buffer
  // the result is 0; with one that is too small 234 and the buffer is not touched. 2: no such value.
  virtual int Query(RegKey key, const std::string& name, std::uint32_t& type, std::span<char> buffer,
                    std::uint32_t& size) = 0;

  // Writes a value, replacing one of that name. 5: the key was opened for reading, or there is no right to write.
  // 1018: the key has been removed since it was opened.
  virtual int Set(RegKey key, const std::string& name, std::uint32_t type, std::span<const char> data) = 0;

  // The name of value number `index`, from 0, with a terminating zero behind it. `length` is filled without the zero.
  // In any order, which holds as long as nobody writes to the key; after a write, start again from index 0. 259: behind
  // the last. 234: the buffer is too small.
  virtual int Enumerate(RegKey key, std::uint32_t index, std::span<char> name, std::uint32_t& length) = 0;

  // Gives a handle back. 6: no open handle; predefined roots answer 0 and stay.
  virtual int Close(RegKey key) = 0;
};

// What a settings tool asks in addition; the program itself never does.
class RegistryEditor : public Registry {
 public:
  // The name of subkey number `index`, from 0, in alphabetical order. 259: behind the last.
  virtual int EnumerateKeys(RegKey key, std::uint32_t index, std::string& name) = 0;

  // 2: no such value. The key must have been opened for writing.
  virtual int DeleteValue(RegKey key, const std::string& name) = 0;

  // Removes a key with all that is below it. 2: no such key; 87: an empty path.
  virtual int DeleteTree(RegKey root, const std::string& path) = 0;

  // Runs `changes`, whose writes last all together when it gives 0, or none of them. Where roots are kept in files of
  // their own, that holds for each file: a fault at the very end may leave one written and another not.
  virtual int Together(const std::function<int()>& changes) = 0;
};

}  // namespace tsly
