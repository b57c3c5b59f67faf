// The text format of registry editors, version 5.00. Pure: text in, values out, and back.
//
// Text values are kept in UTF-8 and stand in the file as UTF-16: as quoted text where that holds them exactly, else as
// hex(1) and hex(2) bytes. Whatever can't be kept exactly is refused, never changed.
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
  std::string name;  // of the value, as what follows
  std::uint32_t type = 0;
  std::string data;
};

struct ReadRegText {
  std::vector<RegistryChange> changes;
  std::size_t fault_line = 0;  // 0: the whole file can be kept
  std::string fault;
};

// A whole file: UTF-16 with a mark, or UTF-8 with or without one; lines end in LF or CR LF.
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
  std::string text;   // UTF-8 without a mark, lines end in LF
  std::string fault;  // not empty: something that the format can't hold
};

WrittenRegText FormatRegText(const std::vector<ExportedKey>& keys);

// As editors save it: UTF-16 with a mark, lines end in CR LF. `text` is what FormatRegText gave.
std::string AsEditorsFile(std::string_view text);

inline constexpr char kRegTextHeading[] = "Windows Registry Editor Version 5.00";
inline constexpr char kUtf8Mark[] = "\xEF\xBB\xBF";
inline constexpr char kUtf16Mark[] = "\xFF\xFE";

// Whether a character can't stand in a line of the file.
constexpr bool IsControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F; }

}  // namespace tsly
