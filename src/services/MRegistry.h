// The module MRegistry: the only access to the program's settings. A read always returns a usable value, a write
// returns a status that callers may ignore, and nothing throws. RegErrorNumber and RegErrorText describe the last
// failure. One object per process, on its only thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "ports/clock.h"
#include "ports/registry.h"

namespace tsly {

class Locale;

struct DateValue {
  DateTime moment = 0;
  bool operator==(const DateValue&) const = default;
};

// Data of a value with its type; monostate: none.
using RegData = std::variant<std::monostate, std::string, std::int32_t, double, DateValue, bool>;

class MRegistry {
 public:
  MRegistry(Registry& registry, Locale& locale) : registry_(registry), locale_(locale) {}

  std::int32_t RegErrorNumber = 0;
  std::string RegErrorText;

  // Whether the last read is certain: the value was read, or doesn't exist. Otherwise the result is a default for an
  // unknown value and must not be stored.
  bool WasCertain() const;
  // Whether the last call failed for a temporary reason, for instance because another process locks the store. The
  // default then means nothing. A store that is damaged or not accessible permanently reads as its defaults.
  bool FailedForNow() const;

  static bool IsSingleByteText(const std::string& text);
  void ClearRegError();
  void SetRegError(std::int32_t code, const std::string& text);
  static std::string JoinRegPath(const std::string& key, const std::string& subkey);

  // `computer`: "" is this one; the handle is then the root itself.
  bool ConnectRegRoot(RegKey root, const std::string& computer, RegKey& handle);
  void CloseRegRoot(RegKey handle, const std::string& computer);

  RegData ReadRegistryValue(RegKey root, const std::string& key, const std::string& name, const RegData& fallback,
                            const std::string& computer);
  // With an explicit type, writes the data's text form under it: `length` bytes, or one for each character.
  std::int32_t WriteRegistryValue(RegKey root, const std::string& key, const std::string& name, const RegData& data,
                                  const std::string& computer, std::optional<std::uint32_t> type = std::nullopt,
                                  std::optional<std::uint32_t> length = std::nullopt);
  // Fills `names` from index 1; element 0 is empty. Returns their number.
  std::int32_t ListRegistryValues(RegKey root, const std::string& key, std::vector<std::string>& names,
                                  const std::string& computer);
  bool RegValueExists(RegKey root, const std::string& key, const std::string& name, const std::string& computer);

  // The routines for the rest of the program. A root other than the three counts as the current user's.
  RegData GetRegSubkeyValue(RegKey root, const std::string& key, const std::string& subkey, const std::string& name,
                            const RegData& fallback, const std::string& computer = "");
  RegData GetRegValue(RegKey root, const std::string& key, const std::string& name, const RegData& fallback,
                      const std::string& computer = "");
  std::int32_t SetRegSubkeyValue(RegKey root, const std::string& key, const std::string& subkey,
                                 const std::string& name, const RegData& data, const std::string& computer = "",
                                 std::optional<std::uint32_t> type = std::nullopt,
                                 std::optional<std::uint32_t> length = std::nullopt);
  std::int32_t SetRegValue(RegKey root, const std::string& key, const std::string& name, const RegData& data,
                           const std::string& computer = "", std::optional<std::uint32_t> type = std::nullopt,
                           std::optional<std::uint32_t> length = std::nullopt);
  std::int32_t GetRegValueNames(RegKey root, const std::string& key, std::vector<std::string>& names,
                                const std::string& computer = "");

  // The text form of data.
  std::string TextOf(const RegData& data) const;
  // The number in data; nothing for text that isn't a number.
  static std::optional<double> NumberOf(const RegData& data);

 private:
  struct Stored {
    std::uint32_t type;
    std::string bytes;
  };
  std::optional<Stored> StoredForm(const RegData& data) const;
  Stored StoredAs(const RegData& data, std::uint32_t type, std::optional<std::uint32_t> length) const;
  RegData ReadOpenValue(RegKey key, const std::string& name, const RegData& fallback);

  Registry& registry_;
  Locale& locale_;
};

}  // namespace tsly
