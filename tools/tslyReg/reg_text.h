// The text format of registry editors, version 5.00. Pure functions between text and values.
//
// Text values are UTF-8 in memory and UTF-16 in the file: quoted text where that is exact, otherwise hex(1) and hex(2)
// bytes. What can't be represented exactly is refused, never changed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tslyReg/key_name.h"

namespace tsly {

struct RegistryChange {
  enum class Kind { kMakeKey, kDeleteKey, kSetValue, kDeleteValue };
  Kind kind = Kind::kMakeKey;
  std::size_t line = 0;  // from 1
  KeyName key;
  std::string name;  // of the value, like the fields below
  std::uint32_t type = 0;
  std::string data;
};

struct ReadRegText {
  std::vector<RegistryChange> changes;
  std::size_t fault_line = 0;  // 0: no fault
  std::string fault;
};

// A whole file: UTF-16 with a byte order mark, or UTF-8 with or without one; lines end in LF or CR LF.
ReadRegText ParseRegText(std::string_view file);

struct ExportedValue {
  std::string name;
  std::uint32_t type = 0;
  std::string data;
};

struct ExportedKey {
  KeyName key;
  std::vector<ExportedValue> values;
};

struct WrittenRegText {
  std::string text;   // UTF-8 without a byte order mark, lines end in LF
  std::string fault;  // not empty: what the format can't represent
};

WrittenRegText FormatRegText(const std::vector<ExportedKey>& keys);

// As editors save it: UTF-16 with a byte order mark, lines end in CR LF. `text` comes from FormatRegText.
std::string AsEditorsFile(std::string_view text);

inline constexpr char kRegTextHeading[] = "Windows Registry Editor Version 5.00";
inline constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";
inline constexpr char kUtf16Mark[] = "\xFF\xFE";

// Whether a character is invalid in a line of the file.
constexpr bool IsControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F; }

}  // namespace tsly
