// A whole extraction: nothing outside the target changes, nothing at all after a failure, and after a success there is
// exactly what the table of contents lists. Input: a character for the options, then the archive.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <optional>

#include "base/text.h"
#include "common/archive_unzip.h"
#include "fuzz.h"
#include "posix/posix_files.h"
#include "support/temp_folder.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

constexpr rlim_t kLongestFile = 1 << 20;

struct Content {
  std::size_t size = 0;
  std::uint32_t checksum = 0;
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

class Scene {
 public:
  Scene() {
    signal(SIGXFSZ, SIG_IGN);  // what doesn't fit fails as on a full disk
    const rlimit limit{kLongestFile, kLongestFile};
    setrlimit(RLIMIT_FSIZE, &limit);
    root_.Write("outside\\file", "outside");
  }

  void Set(std::string_view archive) {
    fs::remove_all(root_.NativePath("target"));
    root_.Write("target\\a", "former a");
    root_.Write("target\\D\\b", "former b");
    root_.Write("pack.zip", archive);
  }
  std::string Path(std::string_view name) const { return root_.CorePath(name); }

  Tree Look() const {
    Tree tree;
    const fs::path root = root_.NativePath();
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const std::string path = entry.path().lexically_relative(root).string();
      HOLDS(!entry.is_symlink() && (entry.is_directory() || entry.is_regular_file()));
      if (entry.is_directory()) {
        tree[path + "/"] = {};
      } else {
        std::string name = path;
        std::replace(name.begin(), name.end(), '/', '\\');
        const std::string bytes = root_.Read(name);
        tree[path] = {bytes.size(), Checksum(bytes)};
      }
    }
    return tree;
  }

 private:
  TempFolder root_;
};

std::uint32_t Number(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint32_t number = 0;
  while (length-- > 0) number = number << 8 | static_cast<unsigned char>(bytes[at + length]);
  return number;
}

// What the table of contents lists, by path; nothing where this plain reading doesn't reach.
std::optional<Tree> Listed(std::string_view zip) {
  const std::size_t end = zip.rfind("PK\5\6");
  if (end == zip.npos || zip.size() - end < 22) return std::nullopt;
  const std::size_t count = Number(zip, end + 10, 2), length = Number(zip, end + 12, 4);
  if (count == 0xFFFF || length > end) return std::nullopt;
  Tree tree;
  std::size_t at = end - length;
  for (std::size_t i = 0; i < count; ++i) {
    if (at + 46 > end || Number(zip, at, 4) != 0x02014B50) return std::nullopt;
    const std::size_t name_length = Number(zip, at + 28, 2);
    const Content content{Number(zip, at + 24, 4), Number(zip, at + 16, 4)};
    if (at + 46 + name_length > end || content.size == 0xFFFFFFFF) return std::nullopt;
    std::string path;
    for (const std::string& part : Split(Replace(zip.substr(at + 46, name_length), "\\", "/"), "/")) {
      if (!part.empty() && part != ".") path += "/" + part;
    }
    const char last = name_length > 0 ? zip[at + 45 + name_length] : '\0';
    const bool has_mode = zip[at + 5] == 3;  // made on a system that has it
    const bool is_folder = last == '/' || last == '\\' || (has_mode && (Number(zip, at + 40, 2) & S_IFMT) == S_IFDIR);
    if (!IsUtf8(path)) return std::nullopt;
    if (!path.empty()) tree[path.substr(1) + (is_folder ? "/" : "")] = is_folder ? Content{} : content;
    at += 46 + name_length + Number(zip, at + 30, 2) + Number(zip, at + 32, 2);
  }
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
  scene.Set(archive);
  const Tree before = scene.Look();

  ArchiveUnzip unzip;
  std::shared_ptr<OpenFile> file;
  HOLDS(PosixFiles().OpenForReading(scene.Path("pack.zip"), file) == 0);
  unzip.SetArchiveFile(scene.Path("pack.zip"), file);
  unzip.SetExtractFolder(scene.Path("target\\"));
  unzip.SetExtractOptionA(keep_folders);
  unzip.SetExtractOptionB(replace);
  std::string first, second;
  std::int32_t result = -1;
  HOLDS(!unzip.Extract(first, second, result));
  const Tree after = scene.Look();
  HOLDS((result == 0) == unzip.FailureText().empty());
  if (result != 0) {
    HOLDS(after == before);
  } else if (const auto listed = Listed(archive)) {
    LookAtSuccess(before, after, *listed, keep_folders, replace);
  }
}

}  // namespace tsly
