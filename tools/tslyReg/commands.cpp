#include "tslyReg/commands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <optional>
#include <ostream>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"
#include "tslyReg/key_name.h"
#include "tslyReg/reg_text.h"

namespace tsly {
namespace {

using Words = std::vector<std::string>;

constexpr char kUsage[] =
    "usage: tslyReg list KEY\n"
    "       tslyReg get KEY NAME\n"
    "       tslyReg set KEY NAME TYPE DATA\n"
    "       tslyReg delete KEY [NAME]\n"
    "       tslyReg export KEY [FILE]\n"
    "       tslyReg import FILE\n"
    "KEY   HKCU\\A\\B, HKLM\\A\\B or HKCR\\A\\B; the roots' long names work too\n"
    "NAME  a value's name; \"\" is the default value\n"
    "TYPE  sz, expand_sz, binary (hexadecimal digits), dword (decimal or 0x)\n"
    "FILE  - is standard input or output\n"
    "Exit status: 0 done, 1 not found, 2 wrong arguments, 3 failed.\n";

struct TypeName {
  std::uint32_t type;
  const char* name;
};
constexpr TypeName kTypes[] = {
    {kRegSz,       "sz"       },
    {kRegExpandSz, "expand_sz"},
    {kRegBinary,   "binary"   },
    {kRegDword,    "dword"    },
};

std::string NameOfType(std::uint32_t type) {
  const auto* row = std::find_if(std::begin(kTypes), std::end(kTypes), [&](auto& r) { return r.type == type; });
  return row != std::end(kTypes) ? row->name : std::to_string(type);
}

std::string HexDigits(std::string_view bytes) {
  std::string digits;
  for (const char c : bytes) {
    char byte[3];
    std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    digits += byte;
  }
  return digits;
}

std::string DataText(std::uint32_t type, const std::string& data) {
  if (type == kRegSz || type == kRegExpandSz) return data.ends_with('\0') ? data.substr(0, data.size() - 1) : data;
  if (type != kRegDword || data.size() != 4) return HexDigits(data);
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(data[i]);
  return std::to_string(number);
}

template <typename Number>
std::optional<Number> Parsed(std::string_view digits, int base) {
  Number number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

// The bytes for a TYPE and DATA of the command line.
std::optional<std::string> DataBytes(std::uint32_t type, const std::string& text) {
  if (type == kRegSz || type == kRegExpandSz) return text + '\0';
  std::string data;
  if (type == kRegDword) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const auto number = Parsed<std::uint32_t>(std::string_view(text).substr(hex ? 2 : 0), hex ? 16 : 10);
    if (!number) return std::nullopt;
    for (int shift = 0; shift < 32; shift += 8) data += static_cast<char>(*number >> shift & 0xFF);
    return data;
  }
  if (text.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const auto byte = Parsed<std::uint8_t>(std::string_view(text).substr(i, 2), 16);
    if (!byte) return std::nullopt;
    data += static_cast<char>(*byte);
  }
  return data;
}

// For output in lines: a control character would break the line or act on a terminal.
std::string OnOneLine(const std::string& text) {
  std::string line;
  for (const char c : text) line += IsControl(c) || c == '\t' ? "\\x" + HexDigits({&c, 1}) : std::string(1, c);
  return line;
}

// False on a read error.
bool ReadAll(std::istream& in, std::string& content) {
  char block[1 << 16];
  while (in.read(block, sizeof block) || in.gcount() != 0) content.append(block, static_cast<std::size_t>(in.gcount()));
  return !in.bad();
}

class OpenedKey {
 public:
  explicit OpenedKey(RegistryEditor& registry) : registry_(registry) {}
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  ~OpenedKey() {
    if (open_) registry_.Close(handle_);
  }

  int Open(const KeyName& key) { return Opened(registry_.Open(key.root, key.path, handle_)); }
  int Create(const KeyName& key) {
    bool created = false;
    return Opened(registry_.Create(key.root, key.path, handle_, created));
  }
  RegKey operator*() const { return handle_; }

 private:
  int Opened(int code) {
    open_ = code == kSuccess;
    return code;
  }

  RegistryEditor& registry_;
  RegKey handle_ = 0;
  bool open_ = false;
};

class Tool {
 public:
  Tool(RegistryEditor& registry, const ToolStreams& streams) : registry_(registry), streams_(streams) {}

  ToolStatus List(const KeyName& key, const Words&) {
    Words keys;
    std::vector<ExportedValue> values;
    const int code = Read(key, keys, values);
    if (code != kSuccess) return Failed(FullKeyName(key), code);
    for (const auto& name : keys) streams_.out << '[' << OnOneLine(name) << "]\n";
    for (const auto& value : values) {
      streams_.out << OnOneLine(value.name) << '\t' << NameOfType(value.type) << '\t'
                   << OnOneLine(DataText(value.type, value.data)) << '\n';
    }
    return Flushed();
  }

  ToolStatus Get(const KeyName& key, const Words& words) {
    OpenedKey opened(registry_);
    ExportedValue value{words[0], 0, {}};
    int code = opened.Open(key);
    if (code == kSuccess) code = Query(*opened, value);
    if (code != kSuccess) return Failed(FullKeyName(key) + " \"" + words[0] + "\"", code);
    streams_.out << DataText(value.type, value.data) << '\n';
    return Flushed();
  }

  ToolStatus Set(const KeyName& key, const Words& words) {
    const auto* type =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](auto& row) { return words[1] == row.name; });
    if (type == std::end(kTypes)) return Usage();
    const auto data = DataBytes(type->type, words[2]);
    if (!data) return Usage();
    OpenedKey opened(registry_);
    int code = IsValueName(words[0]) ? opened.Create(key) : kInvalidParameter;  // an invalid name creates no key
    if (code == kSuccess) code = registry_.Set(*opened, words[0], type->type, *data);
    return Result(FullKeyName(key) + " \"" + words[0] + "\"", code);
  }

  ToolStatus Delete(const KeyName& key, const Words& words) {
    if (words.empty()) return Result(FullKeyName(key), registry_.DeleteTree(key.root, key.path));
    int code = kSuccess;
    {
      OpenedKey there(registry_);  // a missing value creates no key
      code = there.Open(key);
    }
    OpenedKey opened(registry_);
    if (code == kSuccess) code = opened.Create(key);
    if (code == kSuccess) code = registry_.DeleteValue(*opened, words[0]);
    return Result(FullKeyName(key) + " \"" + words[0] + "\"", code);
  }

  ToolStatus Export(const KeyName& key, const Words& words) {
    KeyName start{key.root, ""};
    std::vector<ExportedKey> keys;
    int code = TakeStoredNames(key, start);
    if (code == kSuccess) code = Collect(start, keys);
    if (code != kSuccess) return Failed(FullKeyName(key), code);
    const WrittenRegText written = FormatRegText(keys);
    if (!written.fault.empty()) return Refused("not possible in the file format: " + OnOneLine(written.fault));
    if (words.empty() || words[0] == "-") {
      streams_.out << written.text;
      return Flushed();
    }
    std::ofstream file(words[0], std::ios::binary);
    file << AsEditorsFile(written.text);
    file.close();
    return file ? ToolStatus::kDone : Refused("can't write " + words[0]);
  }

  ToolStatus Import(const std::string& name) {
    std::string content;
    if (name == "-") {
      if (!ReadAll(streams_.in, content)) return Refused("can't read standard input");
    } else {
      std::error_code failure;
      if (std::filesystem::status(name, failure).type() == std::filesystem::file_type::not_found) {
        return Failed(name, kFileNotFound);
      }
      std::ifstream file(name, std::ios::binary);
      if (!file || !ReadAll(file, content)) return Refused("can't read " + name);
    }
    const ReadRegText read = ParseRegText(content);
    if (read.fault_line != 0) return Refused(name + ":" + std::to_string(read.fault_line) + ": " + read.fault);
    // A failure at the end is reported in the last line.
    std::size_t line = 1;
    const int code = registry_.Together([&] {
      int applied = kSuccess;
      for (auto change = read.changes.begin(); applied == kSuccess && change != read.changes.end(); ++change) {
        line = change->line;
        applied = Apply(*change);
      }
      return applied;
    });
    return code == kSuccess ? ToolStatus::kDone
                            : Refused(name + ":" + std::to_string(line) + ": code " + std::to_string(code));
  }

  ToolStatus Usage() {
    streams_.error << kUsage;
    return ToolStatus::kUsage;
  }

 private:
  int Query(RegKey key, ExportedValue& value) {
    std::uint32_t size = 0;
    int code = registry_.Query(key, value.name, value.type, {}, size);
    value.data.resize(code == kSuccess ? size : 0);
    // Another process may make the value longer between the two calls.
    if (code == kSuccess && size != 0) code = registry_.Query(key, value.name, value.type, value.data, size);
    while (code == kMoreData) {
      value.data.resize(size);
      code = registry_.Query(key, value.name, value.type, value.data, size);
    }
    if (code == kSuccess) value.data.resize(size);
    return code;
  }

  // The subkeys and values of a key, each in alphabetical order.
  int Read(const KeyName& key, Words& keys, std::vector<ExportedValue>& values) {
    OpenedKey opened(registry_);
    int code = opened.Open(key);
    if (code != kSuccess) return code;
    std::string name;
    while ((code = registry_.EnumerateKeys(*opened, static_cast<std::uint32_t>(keys.size()), name)) == kSuccess) {
      keys.push_back(name);
    }
    if (code != kNoMoreItems) return code;
    Words names;
    std::string buffer(kRegMaxNameLength + 1, '\0');
    std::uint32_t length = 0;
    while ((code = registry_.Enumerate(*opened, static_cast<std::uint32_t>(names.size()), buffer, length)) ==
           kSuccess) {
      names.push_back(buffer.substr(0, length));
    }
    if (code != kNoMoreItems) return code;
    std::sort(names.begin(), names.end(), [](auto& a, auto& b) { return LowerCase(a) < LowerCase(b); });
    for (auto& found : names) {
      ExportedValue value{std::move(found), 0, {}};
      code = Query(*opened, value);
      if (code == kFileNotFound) continue;  // deleted in the meantime
      if (code != kSuccess) return code;
      values.push_back(std::move(value));
    }
    return kSuccess;
  }

  // Sets `stored` to the path in the registry's letter case, below its root.
  int TakeStoredNames(const KeyName& key, KeyName& stored) {
    for (const auto& part : Split(key.path, "\\")) {
      OpenedKey parent(registry_);
      int code = parent.Open(stored);
      std::string name;
      for (std::uint32_t i = 0; code == kSuccess; ++i) {
        code = registry_.EnumerateKeys(*parent, i, name);
        if (code == kSuccess && EqualIgnoringCase(name, part)) break;
      }
      if (code != kSuccess) return code == kNoMoreItems ? kFileNotFound : code;
      stored.path = JoinKeyPath(stored.path, name);
    }
    return kSuccess;
  }

  int Collect(const KeyName& key, std::vector<ExportedKey>& keys) {
    Words below;
    ExportedKey exported{key, {}};
    int code = Read(key, below, exported.values);
    keys.push_back(std::move(exported));
    for (std::size_t i = 0; code == kSuccess && i < below.size(); ++i) {
      code = Collect({key.root, JoinKeyPath(key.path, below[i])}, keys);
    }
    return code;
  }

  int Apply(const RegistryChange& change) {
    if (change.kind == RegistryChange::Kind::kDeleteKey) {
      const int code = registry_.DeleteTree(change.key.root, change.key.path);
      return code == kFileNotFound ? kSuccess : code;
    }
    OpenedKey opened(registry_);
    const int code = opened.Create(change.key);
    if (code != kSuccess || change.kind == RegistryChange::Kind::kMakeKey) return code;
    if (change.kind == RegistryChange::Kind::kSetValue) {
      return registry_.Set(*opened, change.name, change.type, change.data);
    }
    const int deleted = registry_.DeleteValue(*opened, change.name);
    return deleted == kFileNotFound ? kSuccess : deleted;
  }

  ToolStatus Flushed() { return streams_.out.flush() ? ToolStatus::kDone : Refused("can't write standard output"); }
  ToolStatus Result(const std::string& what, int code) {
    return code == kSuccess ? ToolStatus::kDone : Failed(what, code);
  }
  ToolStatus Failed(const std::string& what, int code) {
    if (code != kFileNotFound) return Refused(OnOneLine(what) + ": code " + std::to_string(code));
    streams_.error << "tslyReg: " << OnOneLine(what) << " not found\n";
    return ToolStatus::kNotThere;
  }
  ToolStatus Refused(const std::string& why) {
    streams_.error << "tslyReg: " << why << '\n';
    return ToolStatus::kRefused;
  }

  RegistryEditor& registry_;
  const ToolStreams& streams_;
};

struct Command {
  const char* name;
  std::size_t least, most;  // arguments after KEY
  ToolStatus (Tool::*run)(const KeyName&, const Words&);
};

constexpr Command kCommands[] = {
    {"list",   0, 0, &Tool::List  },
    {"get",    1, 1, &Tool::Get   },
    {"set",    3, 3, &Tool::Set   },
    {"delete", 0, 1, &Tool::Delete},
    {"export", 0, 1, &Tool::Export},
};

}  // namespace

ToolStatus RunTool(RegistryEditor& registry, const Words& words, const ToolStreams& streams) {
  Tool tool(registry, streams);
  if (words.size() == 2 && words[0] == "import") return tool.Import(words[1]);
  for (const auto& command : kCommands) {
    if (words.size() < 2 || words[0] != command.name) continue;
    const auto key = ParseKeyName(words[1]);
    const Words rest(words.begin() + 2, words.end());
    if (!key || rest.size() < command.least || rest.size() > command.most) break;
    return (tool.*command.run)(*key, rest);
  }
  return tool.Usage();
}

}  // namespace tsly
