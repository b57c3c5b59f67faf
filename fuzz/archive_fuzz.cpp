// The validation of archives. Input: a character for the options, then a line for each entry: its kind, its size up to
// a blank, its name.
#include <map>
#include <set>

#include "base/text.h"
#include "common/archive_validation.h"
#include "fuzz.h"

namespace tsly {
namespace {

constexpr std::int64_t kRoom = 1'000'000;

std::vector<ArchiveEntry> EntriesOf(Input& input) {
  std::vector<ArchiveEntry> entries;
  while (!input.IsEmpty() && entries.size() < 100) {
    const std::uint8_t kind = input.Byte();
    ArchiveEntry entry;
    entry.kind = static_cast<ArchiveEntry::Kind>(kind % 4);
    entry.encrypted = (kind & 0xC0) == 0xC0;
    entry.size = LeadingInt32(input.Line(' '));
    entry.name = input.Line('\n');
    entries.push_back(std::move(entry));
  }
  return entries;
}

void LookAtTarget(const std::string& target, bool keep_folders) {
  HOLDS(!target.starts_with('/') && target.find("//") == target.npos && target.size() <= 4097);
  HOLDS(keep_folders || target.find('/') == target.npos);
  for (const std::string& part : Split(target.ends_with('/') ? target.substr(0, target.size() - 1) : target, "/")) {
    HOLDS(!part.empty() && part != "." && part != ".." && part.back() != '.' && part.back() != ' ');
    for (const char c : part) HOLDS(static_cast<unsigned char>(c) >= ' ' && c != '\\' && c != ':' && c != '\x7f');
    const std::string stem = LowerCase(part.substr(0, part.find('.')));
    HOLDS(stem != "con" && stem != "nul" && stem != "prn" && stem != "aux" && stem != "com1" && stem != "lpt9");
  }
}

bool IsPlainlyGood(const ArchiveEntry& entry) {
  return entry.kind == ArchiveEntry::Kind::kFile && !entry.encrypted && entry.size >= 0 && entry.size < 100 &&
         entry.name.size() > 3 && entry.name.size() < 100 && entry.name.find_first_not_of("abcdefg") == entry.name.npos;
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  const bool keep_folders = input.Byte() % 2 == 0;
  const std::vector<ArchiveEntry> entries = EntriesOf(input);
  const ValidationResult result = ValidateArchive(entries, {.archive_bytes = 1000, .free_bytes = kRoom}, keep_folders);
  if (result.reason != UnzipResult::kDone) {
    HOLDS(result.targets.empty());
    std::set<std::string> names;
    for (const ArchiveEntry& entry : entries) {
      if (!IsPlainlyGood(entry) || !names.insert(entry.name).second) return;
    }
    const bool faultless_archive_was_refused = true;
    HOLDS(!faultless_archive_was_refused);
  }
  HOLDS(result.targets.size() == entries.size());
  std::int64_t total = 0;
  std::map<std::string, std::string> spelled;  // by name in lower case
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string& target = result.targets[i];
    total += entries[i].size;
    HOLDS(entries[i].kind == ArchiveEntry::Kind::kFile || entries[i].kind == ArchiveEntry::Kind::kFolder);
    HOLDS(!entries[i].encrypted && entries[i].size >= 0);
    if (target.empty()) continue;
    LookAtTarget(target, keep_folders);
    for (std::size_t end = target.find('/'); end != target.npos; end = target.find('/', end + 1)) {
      const std::string folder = target.substr(0, end + 1);
      HOLDS(spelled.emplace(LowerCase(folder), folder).first->second == folder);
    }
    if (!target.ends_with('/')) HOLDS(spelled.emplace(LowerCase(target), target).second);
  }
  HOLDS(total <= kRoom);
  for (const auto& [lower, name] : spelled) HOLDS(!spelled.contains(lower + "/"));  // no file in place of a folder
}

}  // namespace tsly
