// A complete extraction: nothing outside the target changes, nothing changes after a failure, and after success the
// target has exactly the files in the table of contents. Input: a character for the options, then the archive.
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>

#include "base/text.h"
#include "fuzz.h"
#include "posix/posix_unzip.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

constexpr rlim_t kLongestFile = 1 << 20;

struct Content {
  std::uint64_t size = 0, checksum = 0;
  bool operator==(const Content&) const = default;
};

std::uint32_t Checksum(std::string_view bytes) {
  static const auto table = [] {
    std::vector<std::uint32_t> values(256);
    for (std::uint32_t i = 0; i < 256; ++i) {
      values[i] = i;
      for (int bit = 0; bit < 8; ++bit) values[i] = (values[i] >> 1) ^ ((values[i] & 1) != 0 ? 0xEDB88320 : 0);
    }
    return values;
  }();
  std::uint32_t sum = 0xFFFFFFFF;
  for (const char c : bytes) sum = table[(sum ^ static_cast<unsigned char>(c)) & 0xFF] ^ (sum >> 8);
  return ~sum;
}

using Tree = std::map<std::string, Content>;  // folders end in "/"

void AddFolder(Tree& tree, int folder, const std::string& path) {
  DIR* const entries = fdopendir(folder);
  HOLDS(entries != nullptr);
  while (const dirent* entry = readdir(entries)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    HOLDS(entry->d_type == DT_DIR || entry->d_type == DT_REG);
    const int file = openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW);
    HOLDS(file >= 0);
    if (entry->d_type == DT_DIR) {
      tree[path + name + "/"] = {};
      AddFolder(tree, file, path + name + "/");
      continue;
    }
    static std::vector<char> buffer(kLongestFile + 1);
    const ssize_t length = read(file, buffer.data(), buffer.size());
    HOLDS(length >= 0);
    close(file);
    const auto size = static_cast<std::size_t>(length);
    tree[path + name] = {size, Checksum({buffer.data(), size})};
  }
  closedir(entries);
}

class Scene {
 public:
  Scene() {
    signal(SIGXFSZ, SIG_IGN);  // larger files fail as on a full disk
    const rlimit limit{kLongestFile, kLongestFile};
    setrlimit(RLIMIT_FSIZE, &limit);
    root_.Write("outside\\file", "outside");
    Restore();
  }

  void Restore() {
    std::filesystem::remove_all(root_.NativePath("target"));
    root_.Write("target\\a", "former a");
    root_.Write("target\\D\\b", "former b");
    tree_ = Look();
  }
  // The contents before an extraction.
  const Tree& Restored() const { return tree_; }
  std::string Target() const { return root_.CorePath("target\\"); }

  Tree Look() const {
    Tree tree;
    AddFolder(tree, open(root_.NativePath().c_str(), O_RDONLY), "");
    return tree;
  }

 private:
  TempFolder root_;
  Tree tree_;
};

// A part of an archive. Fails if the archive ends before it: only complete archives may be unpacked.
std::string_view Part(std::string_view bytes, std::size_t at, std::size_t length) {
  HOLDS(at <= bytes.size() && length <= bytes.size() - at);
  return bytes.substr(at, length);
}

std::uint64_t Number(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint64_t number = 0;
  for (std::size_t i = length; i-- > 0;) number = number << 8 | static_cast<unsigned char>(Part(bytes, at, length)[i]);
  return number;
}

std::string_view ExtraField(std::string_view fields, std::uint64_t number) {
  for (std::size_t at = 0; at + 4 <= fields.size(); at += 4 + Number(fields, at + 2, 2)) {
    if (Number(fields, at, 2) == number) return Part(fields, at + 4, Number(fields, at + 2, 2));
  }
  return {};
}

// Names without the UTF-8 flag are in code page 437.
std::string FromDos(std::string_view name) {
  static const std::u32string_view kLetters =
      U"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒáíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
      U"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
  std::string text;
  for (const char c : name) {
    const auto code = static_cast<unsigned char>(c);
    const char32_t letter = code < 128 ? code : kLetters[code - 128U];
    if (letter >= 0x800) text += static_cast<char>(0xE0 | letter >> 12);
    if (letter >= 0x80) {
      text += static_cast<char>(letter >= 0x800 ? 0x80 | (letter >> 6 & 0x3F) : 0xC0 | letter >> 6);
    }
    text += static_cast<char>(letter >= 0x80 ? 0x80 | (letter & 0x3F) : letter);
  }
  return text;
}

// The name in a record of the table of contents.
std::string NameIn(std::string_view record) {
  const std::string_view name = Part(record, 46, Number(record, 28, 2));
  const std::string_view field = ExtraField(Part(record, 46 + name.size(), Number(record, 30, 2)), 0x7075);
  const bool is_utf8 = (Number(record, 8, 2) & 0x800) != 0;
  const bool has_field = field.size() > 5 && field[0] == 1 && Number(field, 1, 4) == Checksum(name);
  if (!is_utf8 && has_field && IsUtf8(field.substr(5))) return std::string(field.substr(5));
  return IsUtf8(name) ? std::string(name) : FromDos(name);
}

// The table of contents by path.
Tree Listed(std::string_view zip) {
  std::size_t end = zip.rfind("PK\5\6", zip.size() - 22);
  std::size_t count = Number(zip, end + 10, 2), length = Number(zip, end + 12, 4);
  if (end >= 76 && zip.substr(end - 20).starts_with("PK\6\7")) {
    end -= 76;
    count = Number(zip, end + 32, 8);
    length = Number(zip, end + 40, 8);
  }
  Tree tree;
  HOLDS(length <= end);
  std::size_t at = end - length;
  for (std::size_t i = 0; i < count; ++i) {
    HOLDS(Number(zip, at, 4) == 0x02014B50);
    const std::size_t name_length = Number(zip, at + 28, 2), extra_length = Number(zip, at + 30, 2);
    const std::string_view record = Part(zip, at, 46 + name_length + extra_length + Number(zip, at + 32, 2));
    at += record.size();
    Content content{Number(record, 24, 4), Number(record, 16, 4)};
    if (content.size == 0xFFFFFFFF) content.size = Number(ExtraField(record.substr(46 + name_length), 1), 0, 8);
    const std::string name = NameIn(record);
    std::string path;
    for (const std::string& part : Split(Replace(name, "\\", "/"), "/")) {
      if (!part.empty() && part != ".") path += "/" + part;
    }
    const bool has_mode = record[5] == 3;  // created on a system with modes
    const bool is_folder =
        name.ends_with('/') || name.ends_with('\\') || (has_mode && (Number(record, 40, 2) & S_IFMT) == S_IFDIR);
    if (!path.empty()) tree[path.substr(1) + (is_folder ? "/" : "")] = is_folder ? Content{} : content;
  }
  HOLDS(at == end);
  return tree;
}

Tree Folded(const Tree& tree) {
  Tree folded;
  for (const auto& [path, content] : tree) HOLDS(folded.emplace(LowerCase(path), content).second);
  return folded;
}

void LookAtSuccess(const Tree& before, const Tree& after, const Tree& listed, bool keep_folders, bool replace) {
  Tree expected = Folded(before);
  for (const auto& [listed_path, content] : listed) {
    std::string path = "target/" + LowerCase(listed_path);
    if (!keep_folders) {
      if (path.ends_with('/')) continue;
      path = "target/" + path.substr(path.rfind('/') + 1);
    }
    for (std::size_t end = path.find('/'); end != path.npos; end = path.find('/', end + 1)) {
      expected.try_emplace(path.substr(0, end + 1));
    }
    if (path.ends_with('/')) continue;
    if (replace) {
      expected[path] = content;
    } else {
      expected.try_emplace(path, content);
    }
  }
  HOLDS(Folded(after) == expected);
}

}  // namespace

void Try(std::string_view bytes) {
  static Scene scene;
  Input input(bytes);
  const std::uint8_t options = input.Byte();
  const bool keep_folders = (options & 1) == 0, replace = (options & 2) == 0;
  const std::string_view archive = input.Rest();

  PosixUnzip unzip;
  unzip.SetArchiveFile("pack.zip", std::make_shared<MemoryDocument>(archive));
  unzip.SetExtractFolder(scene.Target());
  unzip.SetExtractOptionA(keep_folders);
  unzip.SetExtractOptionB(replace);
  std::string first, second;
  std::int32_t result = -1;
  HOLDS(!unzip.Extract(first, second, result));
  const Tree after = scene.Look();
  HOLDS((result == 0) == unzip.FailureText().empty());
  if (result != 0) {
    HOLDS(after == scene.Restored());
  } else {
    LookAtSuccess(scene.Restored(), after, Listed(archive), keep_folders, replace);
  }
  if (after != scene.Restored()) scene.Restore();
}

}  // namespace tsly
