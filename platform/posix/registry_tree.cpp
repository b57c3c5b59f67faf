#include "posix/registry_tree.h"

#include <functional>
#include <map>
#include <utility>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

// Whether a row of the overlay replaces the machine's current value.
bool Counts(const StoredValue& above, const StoredValue& below) {
  return above.base == below.data && above.stamp == below.stamp;
}

// Names by their folded form; the first one counts.
using Names = std::map<std::string, std::string>;

std::vector<std::string> InOrder(const Names& names) {
  std::vector<std::string> ordered;
  for (const auto& [folded, name] : names) ordered.push_back(name);
  return ordered;
}

// Adds the overlay's names that are `visible` in the merged view and removes the others.
int MergeNames(std::vector<std::string>& names, const std::vector<std::string>& overlaid,
               const std::function<int(const std::string&, bool&)>& visible) {
  Names merged;
  for (const auto& name : names) merged.emplace(LowerCase(name), name);
  for (const auto& name : overlaid) {
    bool there = false;
    const int code = visible(name, there);
    if (code != kSuccess) return code;
    if (there) {
      merged.emplace(LowerCase(name), name);
    } else {
      merged.erase(LowerCase(name));
    }
  }
  names = InOrder(merged);
  return kSuccess;
}

}  // namespace

RegistryTree::RegistryTree(std::string root, SqliteStore& store, SqliteStore* overlay)
    : root_(std::move(root)), overlay_root_("~" + root_), store_(store), overlay_(overlay) {}

int RegistryTree::HasKey(const std::string& path, bool& there) {
  there = true;
  if (path.empty()) return kSuccess;
  KeyState above = KeyState::kMissing;
  KeyState below = KeyState::kMissing;
  int code = ReadOverlay([&] { return overlay_->FindKey(Overlaid(path), above); });
  if (code != kSuccess || above == KeyState::kThere) return code;
  code = store_.FindKey(Stored(path), below);
  there = below == KeyState::kThere;
  if (code != kSuccess || !there || above != KeyState::kDeleted) return code;
  bool nothing = false;
  code = NothingLeft(path, nothing);
  there = !nothing;
  return code;
}

int RegistryTree::KeyNames(const std::string& path, std::vector<std::string>& names) {
  int code = store_.KeyNames(Stored(path), names);
  if (code != kSuccess || overlay_ == nullptr) return code;
  std::vector<std::string> overlaid;
  code = ReadOverlay([&] { return overlay_->KeyNames(Overlaid(path), overlaid); });
  if (code != kSuccess || overlaid.empty()) return code;
  return MergeNames(names, overlaid,
                    [&](const std::string& name, bool& there) { return HasKey(JoinKeyPath(path, name), there); });
}

int RegistryTree::ValueNames(const std::string& path, std::vector<std::string>& names) {
  int code = store_.ValueNames(Stored(path), names);
  if (code != kSuccess || overlay_ == nullptr) return code;
  std::vector<std::string> overlaid;
  code = ReadOverlay([&] { return overlay_->ValueNames(Overlaid(path), overlaid); });
  if (code != kSuccess || overlaid.empty()) return code;
  return MergeNames(names, overlaid, [&](const std::string& name, bool& there) {
    std::optional<RegistryData> data;
    const int found = FindValue(path, name, data);
    there = data.has_value();
    return found;
  });
}

// The overlay first: if another process writes a row in between, over a later value of the machine, the result is at
// worst that value, which was current during this call.
int RegistryTree::FindValue(const std::string& path, const std::string& name, std::optional<RegistryData>& data) {
  std::optional<StoredValue> above;
  int code = ReadOverlay([&] { return overlay_->FindValue(Overlaid(path), name, above); });
  if (code != kSuccess) return code;
  StoredValue below;
  code = Below(path, name, below);
  data = std::move(above && Counts(*above, below) ? above->data : below.data);
  return code;
}

int RegistryTree::MakeKey(const std::string& path, bool& created) {
  bool there = false;
  int code = HasKey(path, there);
  if (code != kSuccess) return code;
  created = !there;
  if (there) return overlay_ == nullptr ? store_.CheckWritable() : kSuccess;
  code = store_.Write([&] { return store_.PutKey(root_, path); });
  if (code != kSuccess && !GoesToOverlay(code)) return code;
  // A deletion in the overlay would keep hiding what the machine's file has now.
  if (code == kSuccess) {
    code = HasKey(path, there);
    if (code != kSuccess || there || overlay_ == nullptr) return code;
  }
  return overlay_->Write([&] { return overlay_->PutKey(overlay_root_, path); });
}

int RegistryTree::SetValue(const std::string& path, const std::string& name, RegistryData data) {
  bool there = false;
  int code = HasKey(path, there);
  if (code != kSuccess) return code;
  if (!there) return kKeyDeleted;
  StoredValue value{name, std::move(data), {}, 0};
  code = store_.Write([&] {
    const int made = store_.PutKey(root_, path);
    return made == kSuccess ? store_.PutValue(Stored(path), value) : made;
  });
  if (code == kSuccess) return ForgetOverlaidValue(path, name);
  if (!GoesToOverlay(code)) return code;
  return overlay_->Write([&] {
    const int made = overlay_->PutKey(overlay_root_, path);
    return made == kSuccess ? PutOverlaid(path, std::move(value)) : made;
  });
}

int RegistryTree::DeleteValue(const std::string& path, const std::string& name) {
  std::optional<RegistryData> visible;
  int code = FindValue(path, name, visible);
  if (code != kSuccess) return code;
  if (!visible) return kFileNotFound;
  StoredValue below;
  code = Below(path, name, below);
  if (code != kSuccess) return code;
  if (!below.data) return ForgetOverlaidValue(path, name);
  code = store_.Write([&] { return store_.EraseValue(Stored(path), name); });
  if (code == kSuccess) return ForgetOverlaidValue(path, name);
  if (!GoesToOverlay(code)) return code;
  return overlay_->Write([&] { return PutOverlaid(path, {name, {}, {}, 0}); });
}

int RegistryTree::DeleteTree(const std::string& path) {
  bool there = false;
  int code = HasKey(path, there);
  if (code != kSuccess) return code;
  if (!there) return kFileNotFound;
  bool stored = false;
  code = store_.HasTree(Stored(path), stored);
  if (code == kSuccess && stored) code = store_.Write([&] { return store_.EraseTree(Stored(path)); });
  if (code == kSuccess) return ForgetOverlaidTree(path);
  if (!GoesToOverlay(code)) return code;
  return overlay_->Write([&] {
    const int erased = overlay_->EraseTree(Overlaid(path));
    return erased == kSuccess ? PutDeletions(path) : erased;
  });
}

std::string RegistryTree::Stored(const std::string& path) const { return JoinKeyPath(root_, LowerCase(path)); }

std::string RegistryTree::Overlaid(const std::string& path) const {
  return JoinKeyPath(overlay_root_, LowerCase(path));
}

// The value in the root's own file; without data: no such value.
int RegistryTree::Below(const std::string& path, const std::string& name, StoredValue& value) {
  std::optional<StoredValue> found;
  const int code = store_.FindValue(Stored(path), name, found);
  value = found ? std::move(*found) : StoredValue{};
  return code;
}

// An overlay that is permanently unreadable counts as empty. It has to be broken or denied twice in a row, because a
// single system error can look the same.
template <typename Reading>
int RegistryTree::ReadOverlay(Reading&& reading) {
  if (overlay_ == nullptr) return kSuccess;
  const auto is_for_good = [](int code) { return code == kRegistryCorrupt || code == kAccessDenied; };
  int code = reading();
  if (is_for_good(code)) code = reading();
  return is_for_good(code) ? kSuccess : code;
}

// Runs in a transaction of the overlay, so that a row never replaces one that was written over a later value.
int RegistryTree::PutOverlaid(const std::string& path, StoredValue value) {
  StoredValue below;
  const int code = Below(path, value.name, below);
  if (code != kSuccess) return code;
  value.base = std::move(below.data);
  value.stamp = below.stamp;
  return overlay_->PutValue(Overlaid(path), value);
}

// Whether everything in and below a key of the machine's file is deleted in the merged view.
int RegistryTree::NothingLeft(const std::string& path, bool& nothing) {
  nothing = false;
  std::vector<std::string> names;
  int code = store_.ValueNames(Stored(path), names);
  for (std::size_t i = 0; code == kSuccess && i < names.size(); ++i) {
    std::optional<RegistryData> data;
    code = FindValue(path, names[i], data);
    if (data) return code;
  }
  if (code == kSuccess) code = store_.KeyNames(Stored(path), names);
  for (std::size_t i = 0; code == kSuccess && i < names.size(); ++i) {
    bool there = false;
    code = HasKey(JoinKeyPath(path, names[i]), there);
    if (there) return code;
  }
  nothing = code == kSuccess;
  return code;
}

// Writes deletions for everything in and below a key of the machine's file. Runs in a transaction of the overlay.
int RegistryTree::PutDeletions(const std::string& path) {
  std::vector<std::string> names;
  int code = store_.ValueNames(Stored(path), names);
  for (std::size_t i = 0; code == kSuccess && i < names.size(); ++i) {
    code = PutOverlaid(path, {names[i], {}, {}, 0});
  }
  if (code == kSuccess) code = store_.KeyNames(Stored(path), names);
  for (std::size_t i = 0; code == kSuccess && i < names.size(); ++i) code = PutDeletions(JoinKeyPath(path, names[i]));
  return code == kSuccess ? overlay_->PutKey(overlay_root_, path, KeyState::kDeleted) : code;
}

// After a write to the root's own file: a row of the overlay would hide it, or reappear with its next change.
int RegistryTree::ForgetOverlaidValue(const std::string& path, const std::string& name) {
  if (overlay_ == nullptr) return kSuccess;
  std::optional<StoredValue> above;
  int code = ReadOverlay([&] { return overlay_->FindValue(Overlaid(path), name, above); });
  if (code != kSuccess || !above) return code;
  code = overlay_->Write([&] { return overlay_->EraseValue(Overlaid(path), name); });
  if (code == kSuccess) return code;
  StoredValue below;
  const int read = Below(path, name, below);
  return read == kSuccess && !Counts(*above, below) ? kSuccess : code;
}

int RegistryTree::ForgetOverlaidTree(const std::string& path) {
  if (overlay_ == nullptr) return kSuccess;
  bool any = false;
  const int code = ReadOverlay([&] { return overlay_->HasTree(Overlaid(path), any); });
  if (code != kSuccess || !any) return code;
  return overlay_->Write([&] { return overlay_->EraseTree(Overlaid(path)); });
}

bool RegistryTree::GoesToOverlay(int code) const { return overlay_ != nullptr && code == kAccessDenied; }

}  // namespace tsly
