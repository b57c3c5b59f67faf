#include <algorithm>
#include <cstdio>

#include "common/utf16.h"
#include "tslyReg/reg_text.h"

namespace tsly {
namespace {

constexpr std::size_t kLineWidth = 80;

// Whether a text can be written in quotes or brackets.
bool IsPlain(std::string_view text) { return std::none_of(text.begin(), text.end(), IsControl) && Utf16BytesOf(text); }

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

// `line` with the bytes appended, folded to lines of at most 80 characters including the backslash.
std::string HexBytes(std::string line, std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    char byte[4];
    std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
    line += byte;
    if (i + 1 == bytes.size()) break;
    line += ',';
    if (line.size() + 4 > kLineWidth) {  // two digits, a comma, a backslash
      text += line + "\\\n";
      line = "  ";
    }
  }
  return text + line;
}

std::uint32_t Number(std::string_view data) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i)
    number |= static_cast<std::uint32_t>(static_cast<unsigned char>(data[i])) << 8 * i;
  return number;
}

// The line of a value, or "" if the format can't represent it.
std::string ValueLine(const ExportedValue& value) {
  const std::string& data = value.data;
  if (!IsPlain(value.name)) return "";
  const std::string start = (value.name.empty() ? "@" : Quoted(value.name)) + "=";
  if (value.type == kRegBinary) return HexBytes(start + "hex:", data);
  if (value.type == kRegDword && data.size() == 4) {
    char number[16];
    std::snprintf(number, sizeof number, "dword:%08x", static_cast<unsigned>(Number(data)));
    return start + number;
  }
  if (value.type == kRegDword) return HexBytes(start + "hex(4):", data);
  if (value.type != kRegSz && value.type != kRegExpandSz) return "";
  if (value.type == kRegSz && !data.empty() && data.back() == '\0' && IsPlain(data.substr(0, data.size() - 1))) {
    return start + Quoted(std::string_view(data).substr(0, data.size() - 1));
  }
  const auto bytes = Utf16BytesOf(data);
  return bytes ? HexBytes(start + (value.type == kRegSz ? "hex(1):" : "hex(2):"), *bytes) : "";
}

}  // namespace

WrittenRegText FormatRegText(const std::vector<ExportedKey>& keys) {
  std::string text = std::string(kRegTextHeading) + "\n";
  for (const auto& [key, values] : keys) {
    const std::string heading = FullKeyName(key);
    if (!IsPlain(heading)) return {"", "the key " + heading};
    text += "\n[" + heading + "]\n";
    for (const auto& value : values) {
      const std::string line = ValueLine(value);
      if (line.empty()) return {"", "the value \"" + value.name + "\" of " + heading};
      text += line + "\n";
    }
  }
  return {text, ""};
}

std::string AsEditorsFile(std::string_view text) {
  std::string lines;
  for (const char c : text) {
    if (c == '\n') lines += '\r';
    lines += c;
  }
  return kUtf16Mark + Utf16BytesOf(lines).value_or("");
}

}  // namespace tsly
