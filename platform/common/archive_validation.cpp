#include "common/archive_validation.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "base/text.h"

namespace tsly {
namespace {

using Kind = ArchiveEntry::Kind;

constexpr std::size_t kLongestName = 4096;
constexpr std::size_t kDeepestName = 100;
// Deflate's best ratio is 1,032: an archive that declares more unpacks the same bytes repeatedly. Other methods have no
// such limit; the disk space limits them.
constexpr std::int64_t kBestRatio = 1032;
constexpr std::int64_t kAlwaysFine = std::int64_t{64} << 20;

// Device names in every folder of Windows, with any extension: packs are for all editions.
bool IsDeviceName(std::string_view part) {
  static constexpr std::string_view kDevices[] = {"con", "prn", "aux", "nul", "conin$", "conout$"};
  const std::string stem = TrimEnd(LowerCase(part.substr(0, part.find('.'))));
  if (std::ranges::find(kDevices, stem) != std::end(kDevices)) return true;
  const std::string_view digit = std::string_view(stem).substr(std::min<std::size_t>(stem.size(), 3));
  return (stem.starts_with("com") || stem.starts_with("lpt")) &&
         ((digit.size() == 1 && digit[0] >= '1' && digit[0] <= '9') || digit == "¹" || digit == "²" || digit == "³");
}

bool IsGoodPart(std::string_view part) {
  const auto is_bad = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == ':' || c == '\x7f'; };
  return part.back() != '.' && part.back() != ' ' && std::ranges::none_of(part, is_bad) && !IsDeviceName(part);
}

// The parts of a name without "."; nothing for a forbidden name.
std::optional<std::vector<std::string_view>> GoodParts(std::string_view name) {
  if (name.empty() || name.size() > kLongestName || name[0] == '/' || name[0] == '\\') return std::nullopt;
  std::vector<std::string_view> parts;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find_first_of("/\\"), name.size());
    const std::string_view part = name.substr(0, end);
    name.remove_prefix(std::min(end + 1, name.size()));
    if (part.empty() || part == ".") continue;
    if (!IsGoodPart(part)) return std::nullopt;
    parts.push_back(part);
  }
  if (parts.size() > kDeepestName) return std::nullopt;
  return parts;
}

// The names in the target, to find two that exclude each other on any file system, case-sensitive or not.
class TargetNames {
 public:
  // `path` ends in "/" for a folder. Adds all parent folders too.
  UnzipResult Add(std::string_view path) {
    const bool is_folder = path.ends_with('/');
    const std::string_view bare = is_folder ? path.substr(0, path.size() - 1) : path;
    const std::size_t slash = bare.rfind('/');
    const std::string_view parent = slash == bare.npos ? "" : bare.substr(0, slash);
    if (parent != last_parent_) {
      for (std::size_t end = parent.find('/'); end != parent.npos; end = parent.find('/', end + 1)) {
        if (const UnzipResult result = AddOne(parent.substr(0, end), true); result != UnzipResult::kDone) return result;
      }
      if (const UnzipResult result = AddOne(parent, true); result != UnzipResult::kDone) return result;
      last_parent_ = parent;
    }
    return AddOne(bare, is_folder);
  }

 private:
  struct Known {
    std::string spelled;
    bool is_folder = false;
  };

  UnzipResult AddOne(std::string_view path, bool is_folder) {
    const auto [found, is_new] = known_.try_emplace(LowerCase(path), Known{std::string(path), is_folder});
    if (is_new) return UnzipResult::kDone;
    if (found->second.is_folder != is_folder) return UnzipResult::kInTheWay;
    return is_folder && found->second.spelled == path ? UnzipResult::kDone : UnzipResult::kSameName;
  }

  std::unordered_map<std::string, Known> known_;
  std::string last_parent_;
};

// The path of one entry below the target, or the reason for its refusal.
UnzipResult ValidateEntry(const ArchiveEntry& entry, bool keep_folders, std::string& target) {
  const auto parts = GoodParts(entry.name);
  if (!parts) return UnzipResult::kBadName;
  if (entry.kind == Kind::kLink || entry.kind == Kind::kOther) return UnzipResult::kNotAFile;
  if (entry.encrypted) return UnzipResult::kEncrypted;

  const bool is_folder = entry.kind == Kind::kFolder || entry.name.ends_with('\\') || entry.name.ends_with('/');
  if (entry.size < 0 || (is_folder && entry.size > 0)) return UnzipResult::kWrongSize;
  if (parts->empty()) return is_folder ? UnzipResult::kDone : UnzipResult::kBadName;
  if (!keep_folders) {
    if (!is_folder) target = parts->back();
    return UnzipResult::kDone;
  }
  for (const std::string_view part : *parts) target.append(part).push_back('/');
  if (!is_folder) target.pop_back();
  return UnzipResult::kDone;
}

}  // namespace

ValidationResult ValidateArchive(std::span<const ArchiveEntry> entries, const ArchiveLimits& limits,
                                 bool keep_folders) {
  if (entries.size() > limits.entries) return {UnzipResult::kTooManyEntries, "", {}};
  const bool bounded = limits.deflated_only && limits.archive_bytes <= INT64_MAX / kBestRatio;
  const std::int64_t plausible = bounded ? std::max(kAlwaysFine, limits.archive_bytes * kBestRatio) : INT64_MAX;
  std::int64_t room = std::min(limits.free_bytes, plausible);
  ValidationResult result;
  TargetNames names;
  for (const ArchiveEntry& entry : entries) {
    std::string& target = result.targets.emplace_back();
    UnzipResult reason = ValidateEntry(entry, keep_folders, target);
    if (reason == UnzipResult::kDone && !target.empty()) reason = names.Add(target);
    if (reason == UnzipResult::kDone && entry.size > room) reason = UnzipResult::kTooLarge;
    if (reason != UnzipResult::kDone) return {reason, entry.name, {}};
    room -= entry.size;
  }
  return result;
}

}  // namespace tsly
