#include <algorithm>
#include <charconv>
#include <optional>

#include "base/key_path.h"
#include "base/text.h"
#include "common/utf16.h"
#include "tslyReg/reg_text.h"

namespace tsly {
namespace {

constexpr char kBlanks[] = " \t";

std::string_view WithoutBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool IsEndOrComment(std::string_view rest) {
  rest = WithoutBlanks(rest);
  return rest.empty() || rest.front() == ';';
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!EqualIgnoringCase(text.substr(0, prefix.size()), prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

std::optional<std::uint32_t> HexNumber(std::string_view digits, std::size_t most) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  if (digits.empty() || digits.size() > most || error != std::errc() || end != digits.data() + digits.size()) return {};
  return number;
}

// Takes a quoted text with its escapes from the front.
std::optional<std::string> TakeQuoted(std::string_view& rest) {
  if (!rest.starts_with('"')) return std::nullopt;
  std::string text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == '"') {
      rest.remove_prefix(i + 1);
      return text;
    }
    if (rest[i] == '\\' && (++i == rest.size() || (rest[i] != '\\' && rest[i] != '"'))) return std::nullopt;
    text += rest[i];
  }
  return std::nullopt;
}

std::optional<std::string> ParseBytes(std::string_view list) {
  std::string bytes;
  for (const auto& item : Split(WithoutBlanks(list), ",")) {
    const auto byte = HexNumber(WithoutBlanks(item), 2);
    if (!byte) return std::nullopt;
    bytes += static_cast<char>(*byte);
  }
  return bytes;
}

class Reader {
 public:
  ReadRegText Read(std::string_view file) {
    std::string text;
    if (file.starts_with(kUtf16Mark)) {
      auto converted = Utf8OfUtf16Bytes(file.substr(2));
      if (!converted) return Refused(1, "not UTF-16");
      text = std::move(*converted);
    } else {
      text = file.substr(file.starts_with(kUtf8Mark) ? 3 : 0);
    }
    lines_ = Split(text, "\n");
    for (auto& line : lines_) {
      if (line.ends_with('\r')) line.pop_back();
    }
    if (lines_.empty() || WithoutBlanks(lines_[0]) != kRegTextHeading) {
      return Refused(1, std::string("not \"") + kRegTextHeading + "\"");
    }
    for (at_ = 1; at_ < lines_.size(); ++at_) {
      change_ = {};
      change_.line = at_ + 1;
      const std::string fault = ReadLine();
      if (!fault.empty()) return Refused(at_ + 1, fault);
    }
    return {std::move(changes_), 0, ""};
  }

 private:
  static ReadRegText Refused(std::size_t line, std::string fault) { return {{}, line, std::move(fault)}; }

  // The functions below return what is wrong, or "".
  static std::string JudgeCharacters(const std::string& line) {
    if (std::any_of(line.begin(), line.end(), IsControl)) return "a control character";
    return Utf16BytesOf(line) ? "" : "not UTF-8";
  }

  std::string ReadLine() {
    if (std::string fault = JudgeCharacters(lines_[at_]); !fault.empty()) return fault;
    const std::string_view line = WithoutBlanks(lines_[at_]);
    if (IsEndOrComment(line)) return "";
    return line.front() == '[' ? ReadKey(line) : ReadValue(line);
  }

  std::string ReadKey(std::string_view line) {
    if (!line.ends_with(']')) return "no ] at the end";
    line = line.substr(1, line.size() - 2);
    deleted_ = line.starts_with('-');
    key_ = ParseKeyName(line.substr(deleted_ ? 1 : 0));
    if (!key_) return "not a key below a known root";
    if (deleted_ && key_->path.empty()) return "a root can't be deleted";
    return Add(deleted_ ? RegistryChange::Kind::kDeleteKey : RegistryChange::Kind::kMakeKey);
  }

  std::string ReadValue(std::string_view rest) {
    if (!key_ || deleted_) return "a value without a key";
    if (rest.front() == '@') {
      rest.remove_prefix(1);
    } else {
      const auto name = TakeQuoted(rest);
      if (!name || !IsValueName(*name)) return "not a name of a value";
      change_.name = *name;
    }
    rest = WithoutBlanks(rest);
    if (!rest.starts_with('=')) return "no = after the name";
    return ReadData(WithoutBlanks(rest.substr(1)));
  }

  std::string ReadData(std::string_view rest) {
    if (TakePrefix(rest, "-")) {
      return IsEndOrComment(rest) ? Add(RegistryChange::Kind::kDeleteValue) : "text after the deletion";
    }
    if (rest.starts_with('"')) {
      const auto text = TakeQuoted(rest);
      if (!text || !IsEndOrComment(rest)) return "not a quoted text";
      return AddValue(kRegSz, *text + '\0');
    }
    if (TakePrefix(rest, "dword:")) {
      const auto number = HexNumber(WithoutBlanks(rest.substr(0, rest.find(';'))), 8);
      if (!number) return "not a 32-bit number";
      std::string data;
      for (int shift = 0; shift < 32; shift += 8) data += static_cast<char>(*number >> shift & 0xFF);
      return AddValue(kRegDword, data);
    }
    if (TakePrefix(rest, "hex:")) return ReadBytes(kRegBinary, rest);
    for (const std::uint32_t type : {kRegSz, kRegExpandSz, kRegBinary, kRegDword}) {
      if (TakePrefix(rest, "hex(" + std::to_string(type) + "):")) return ReadBytes(type, rest);
    }
    return "an unsupported type";
  }

  // Bytes. A backslash at the end of a line continues them in the next one.
  std::string ReadBytes(std::uint32_t type, std::string_view rest) {
    std::string list;
    for (;;) {
      rest = WithoutBlanks(rest.substr(0, rest.find(';')));
      const bool goes_on = rest.ends_with('\\');
      list += rest.substr(0, rest.size() - (goes_on ? 1 : 0));
      if (!goes_on) break;
      if (at_ + 1 == lines_.size()) return "no line after the last backslash";
      ++at_;
      if (std::string fault = JudgeCharacters(lines_[at_]); !fault.empty()) return fault;
      rest = lines_[at_];
    }
    auto bytes = ParseBytes(list);
    if (!bytes) return "not bytes in hexadecimal digits";
    if (type == kRegSz || type == kRegExpandSz) bytes = Utf8OfUtf16Bytes(*bytes);
    return bytes ? AddValue(type, std::move(*bytes)) : "not UTF-16";
  }

  std::string AddValue(std::uint32_t type, std::string data) {
    change_.type = type;
    change_.data = std::move(data);
    return Add(RegistryChange::Kind::kSetValue);
  }

  std::string Add(RegistryChange::Kind kind) {
    change_.kind = kind;
    change_.key = *key_;
    changes_.push_back(std::move(change_));
    return "";
  }

  std::vector<std::string> lines_;
  std::size_t at_ = 0;
  std::optional<KeyName> key_;  // of the values that follow
  bool deleted_ = false;
  RegistryChange change_;  // of the current line
  std::vector<RegistryChange> changes_;
};

}  // namespace

ReadRegText ParseRegText(std::string_view file) { return Reader().Read(file); }

}  // namespace tsly
