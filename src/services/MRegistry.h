// The module MRegistry: the program's only road to its settings. A read always gives a usable value, a write gives a
// status that no caller looks at, and nothing is raised; the last failure stands in RegErrorNumber and RegErrorText.
// One object per process, on its one thread.
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

// Data of a value, tagged with its type; monostate: nothing.
using RegData = std::variant<std::monostate, std::string, std::int32_t, double, DateValue, bool>;

class MRegistry {
 public:
  MRegistry(Registry& registry, Locale& locale) : registry_(registry), locale_(locale) {}

  std::int32_t RegErrorNumber = 0;
  std::string RegErrorText;

  // Whether what the last routine read is certain: it was read, or isn't there. Otherwise it is a default that stands
  // in for something unknown, and must not be stored.
  bool WasCertain() const;
  // Whether what it did failed for a reason that may pass, as while another process holds the store: nothing is to be
  // concluded from the default then. A store that is damaged or closed to the user reads as its defaults for good.
  bool FailedForNow() const;

  static bool IsSingleByteText(const std::string& text);
  void ClearRegError();
  void SetRegError(std::int32_t code, const std::string& text);
  static std::string JoinRegPath(const std::string& key, const std::string& subkey);

  // `computer`: "" is this one, and the handle then the root itself.
  bool ConnectRegRoot(RegKey root, const std::string& computer, RegKey& handle);
  void CloseRegRoot(RegKey handle, const std::string& computer);

  RegData ReadRegistryValue(RegKey root, const std::string& key, const std::string& name, const RegData& fallback,
                            const std::string& computer);
  // With an explicit type the data's text form goes out under it, `length` bytes or as many as it has characters.
  std::int32_t WriteRegistryValue(RegKey root, const std::string& key, const std::string& name, const RegData& data,
                                  const std::string& computer, std::optional<std::uint32_t> type = std::nullopt,
                                  std::optional<std::uint32_t> length = std::nullopt);
  // `names` holds them from index 1; element 0 is empty. The result is their number.
  std::int32_t ListRegistryValues(RegKey root, const std::string& key, std::vector<std::string>& names,
                                  const std::string& computer);
  bool RegValueExists(RegKey root, const std::string& key, const std::string& name, const std::string& computer);

  // The routines that the rest of the program calls. A root that is none of the three counts as the current user's.
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

  // The text form of data, as a statement that wants text makes it.
  std::string TextOf(const RegData& data) const;
  // The number that data stands for; none for text that is no number.
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
