#include "services/MRegistry.h"

#include <algorithm>
#include <cstring>

#include "base/date_time.h"
#include "base/text.h"
#include "ports/locale.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr std::size_t kNameBuffer = 4096;
constexpr const char* kOpenFailed = "Unable to open registry key";

RegKey KnownRoot(RegKey root) {
  return root == kClassesRoot || root == kCurrentUser || root == kLocalMachine ? root : kCurrentUser;
}

std::string DwordBytes(std::int32_t number) {
  const auto bits = static_cast<std::uint32_t>(number);
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift);
  return bytes;
}

std::int32_t DwordOf(const std::string& bytes) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < bytes.size() && i < 4; ++i) {
    bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return static_cast<std::int32_t>(bits);
}

bool IsKnownType(std::uint32_t type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegBinary || type == kRegDword;
}

std::string WithZero(std::string text) {
  text += '\0';
  return text;
}

}  // namespace

// The program's text has one-byte characters only, so every string is stored as text; the binary form for two-byte
// characters never occurs.
bool MRegistry::IsSingleByteText(const std::string&) { return true; }

bool MRegistry::WasCertain() const { return RegErrorNumber == kSuccess || RegErrorNumber == kFileNotFound; }

bool MRegistry::FailedForNow() const {
  return !WasCertain() && RegErrorNumber != kAccessDenied && RegErrorNumber != kRegistryCorrupt;
}

void MRegistry::ClearRegError() { SetRegError(0, ""); }

void MRegistry::SetRegError(std::int32_t code, const std::string& text) {
  RegErrorNumber = code;
  RegErrorText = text;
}

std::string MRegistry::JoinRegPath(const std::string& key, const std::string& subkey) {
  const std::string joined = key.empty() ? subkey : subkey.empty() ? key : key + "\\" + subkey;
  std::string path = Replace(joined, "\\\\", "\\");
  if (path.starts_with('\\')) path.erase(0, 1);
  return path;
}

bool MRegistry::ConnectRegRoot(RegKey root, const std::string& computer, RegKey& handle) {
  if (computer.empty()) {
    handle = root;
    return true;
  }
  const std::string name = computer.starts_with("\\\\") ? computer : "\\\\" + computer;
  const int code = registry_.Connect(name, root, handle);
  if (code == kSuccess) return true;
  SetRegError(code, "Cannot open Registry for computer " + name.substr(2));
  return false;
}

void MRegistry::CloseRegRoot(RegKey handle, const std::string& computer) {
  if (!computer.empty()) registry_.Close(handle);
}

RegData MRegistry::ReadRegistryValue(RegKey root, const std::string& key, const std::string& name,
                                     const RegData& fallback, const std::string& computer) {
  ClearRegError();
  RegKey root_handle = 0;
  if (!ConnectRegRoot(root, computer, root_handle)) return {};
  RegData data = fallback;
  RegKey handle = 0;
  if (const int code = registry_.Open(root_handle, key, handle); code != kSuccess) {
    SetRegError(code, kOpenFailed);
  } else {
    data = ReadOpenValue(handle, name, fallback);
    registry_.Close(handle);
  }
  CloseRegRoot(root_handle, computer);
  return data;
}

RegData MRegistry::ReadOpenValue(RegKey key, const std::string& name, const RegData& fallback) {
  std::uint32_t type = 0;
  std::uint32_t size = 0;
  int code = registry_.Query(key, name, type, {}, size);
  std::string bytes;
  if (code == kSuccess && IsKnownType(type)) {
    bytes.resize(type == kRegDword ? 4 : size);
    code = registry_.Query(key, name, type, bytes, size);
    // Between the two calls, another process may have written a shorter value or one of another type.
    if (size < bytes.size()) bytes.resize(size);
  }
  if (code != kSuccess) {
    if (code != kFileNotFound) SetRegError(code, "Error while reading value");
    return fallback;
  }
  if (!IsKnownType(type)) return fallback;
  if (type == kRegDword) return DwordOf(bytes);
  if (type != kRegBinary && bytes.ends_with('\0')) bytes.pop_back();
  return bytes;
}

std::int32_t MRegistry::WriteRegistryValue(RegKey root, const std::string& key, const std::string& name,
                                           const RegData& data, const std::string& computer,
                                           std::optional<std::uint32_t> type, std::optional<std::uint32_t> length) {
  ClearRegError();
  RegKey root_handle = 0;
  if (!ConnectRegRoot(root, computer, root_handle)) return RegErrorNumber;
  RegKey handle = 0;
  bool created = false;
  int code = registry_.Create(root_handle, key, handle, created);
  if (code != kSuccess) {
    SetRegError(code, kOpenFailed);
  } else {
    const std::optional<Stored> stored = type ? StoredAs(data, *type, length) : StoredForm(data);
    if (!stored) {
      code = kInvalidData;
      SetRegError(code, "Unable to save this type of data in the Registry");
    } else if (code = registry_.Set(handle, name, stored->type, stored->bytes); code != kSuccess) {
      SetRegError(code, "Error while writing data in the Registry");
    }
    registry_.Close(handle);
  }
  CloseRegRoot(root_handle, computer);
  return code;
}

std::optional<MRegistry::Stored> MRegistry::StoredForm(const RegData& data) const {
  if (const auto* number = std::get_if<std::int32_t>(&data)) return Stored{kRegDword, DwordBytes(*number)};
  if (const auto* truth = std::get_if<bool>(&data)) return Stored{kRegDword, DwordBytes(*truth ? 1 : 0)};
  if (std::holds_alternative<std::monostate>(data)) return std::nullopt;
  return Stored{kRegSz, WithZero(TextOf(data))};
}

MRegistry::Stored MRegistry::StoredAs(const RegData& data, std::uint32_t type,
                                      std::optional<std::uint32_t> length) const {
  const std::string text = TextOf(data);
  std::string bytes = type == kRegSz || type == kRegBinary ? WithZero(text) : DwordBytes(ToInt32(text).value_or(0));
  // A length beyond the data would write unrelated memory.
  bytes.resize(std::min<std::size_t>(length.value_or(static_cast<std::uint32_t>(text.size())), bytes.size()));
  return {type, bytes};
}

std::int32_t MRegistry::ListRegistryValues(RegKey root, const std::string& key, std::vector<std::string>& names,
                                           const std::string& computer) {
  ClearRegError();
  names.assign(1, "");
  RegKey root_handle = 0;
  if (!ConnectRegRoot(root, computer, root_handle)) return RegErrorNumber;
  RegKey handle = 0;
  if (const int code = registry_.Open(root_handle, key, handle); code != kSuccess) {
    SetRegError(code, kOpenFailed);
    CloseRegRoot(root_handle, computer);
    return 0;
  }
  std::vector<char> buffer(kNameBuffer);
  for (std::uint32_t index = 0;; ++index) {
    auto length = static_cast<std::uint32_t>(buffer.size());
    const int code = registry_.Enumerate(handle, index, buffer, length);
    if (code == kSuccess) {
      names.emplace_back(buffer.data(), length);
      continue;
    }
    if (code != kNoMoreItems) {
      SetRegError(code, "Unable to read the value names for the Registry");
      names.assign(1, "");
    }
    break;
  }
  registry_.Close(handle);
  CloseRegRoot(root_handle, computer);
  return static_cast<std::int32_t>(names.size()) - 1;
}

bool MRegistry::RegValueExists(RegKey root, const std::string& key, const std::string& name,
                               const std::string& computer) {
  std::vector<std::string> names;
  ListRegistryValues(root, key, names, computer);
  const std::string wanted = LowerCase(name);
  return std::any_of(names.begin() + 1, names.end(), [&](const std::string& n) { return LowerCase(n) == wanted; });
}

RegData MRegistry::GetRegSubkeyValue(RegKey root, const std::string& key, const std::string& subkey,
                                     const std::string& name, const RegData& fallback, const std::string& computer) {
  return GetRegValue(root, JoinRegPath(key, subkey), name, fallback, computer);
}

RegData MRegistry::GetRegValue(RegKey root, const std::string& key, const std::string& name, const RegData& fallback,
                               const std::string& computer) {
  return ReadRegistryValue(KnownRoot(root), key, name, fallback, computer);
}

std::int32_t MRegistry::SetRegSubkeyValue(RegKey root, const std::string& key, const std::string& subkey,
                                          const std::string& name, const RegData& data, const std::string& computer,
                                          std::optional<std::uint32_t> type, std::optional<std::uint32_t> length) {
  return SetRegValue(root, JoinRegPath(key, subkey), name, data, computer, type, length);
}

std::int32_t MRegistry::SetRegValue(RegKey root, const std::string& key, const std::string& name, const RegData& data,
                                    const std::string& computer, std::optional<std::uint32_t> type,
                                    std::optional<std::uint32_t> length) {
  return WriteRegistryValue(KnownRoot(root), key, name, data, computer, type, length);
}

std::int32_t MRegistry::GetRegValueNames(RegKey root, const std::string& key, std::vector<std::string>& names,
                                         const std::string& computer) {
  return ListRegistryValues(KnownRoot(root), key, names, computer);
}

std::string MRegistry::TextOf(const RegData& data) const {
  if (const auto* text = std::get_if<std::string>(&data)) return *text;
  if (const auto* number = std::get_if<std::int32_t>(&data)) return std::to_string(*number);
  if (const auto* number = std::get_if<double>(&data)) return PlainDecimal(*number);
  if (const auto* truth = std::get_if<bool>(&data)) return *truth ? "True" : "False";
  if (const auto* date = std::get_if<DateValue>(&data)) {
    return GeneralDate(date->moment, locale_.DateSeparator(), locale_.TimeSeparator());
  }
  return "";
}

std::optional<double> MRegistry::NumberOf(const RegData& data) {
  if (const auto* text = std::get_if<std::string>(&data)) return ToDouble(*text);
  if (const auto* number = std::get_if<std::int32_t>(&data)) return *number;
  if (const auto* number = std::get_if<double>(&data)) return *number;
  if (const auto* truth = std::get_if<bool>(&data)) return *truth ? -1.0 : 0.0;
  if (const auto* date = std::get_if<DateValue>(&data)) return date->moment;
  return std::nullopt;
}

}  // namespace tsly
