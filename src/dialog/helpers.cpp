#include <string>
#include <vector>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "ports/files.h"
#include "ports/profile.h"
#include "ports/toolkit.h"

namespace tsly {
namespace {

constexpr std::size_t kFirstBuffer = 256;
// A list that ends this close to the end of the buffer counts as truncated.
constexpr std::size_t kListMargin = 16;

}  // namespace

std::int32_t MGlobal::ShowMessage(const std::string& prompt, std::int32_t buttons,
                                  const std::optional<std::string>& title) {
  return needs_.toolkit.ShowMessage(prompt, buttons, title);
}

bool MGlobal::FileExists(const std::string& filename) {
  std::vector<std::string> names;
  return needs_.files.Find(filename, names) == 0 && !names.empty();
}

std::string MGlobal::ExpandAppPath(const std::string& text) const { return Replace(text, "[AppPath]\\", AppPath); }

std::string MGlobal::ReadProfileString(const std::string& section, const char* key, const char* fallback,
                                       const std::string& filename) {
  const bool list = section.empty() || key == nullptr || *key == '\0';
  for (std::vector<char> buffer(kFirstBuffer);; buffer.assign(buffer.size() * 2, '\0')) {
    const std::size_t length = needs_.profiles.Read(section.c_str(), key, fallback, buffer, filename);
    const bool value_was_cut = length == buffer.size() - 1;
    const bool list_was_cut = list && length == buffer.size() - 2;
    if (length == 0 || (!value_was_cut && !list_was_cut)) return std::string(buffer.data(), length);
  }
}

bool MGlobal::ProfileKeyExists(const std::string& section, const std::string& key, const std::string& filename) {
  const std::string wanted = LowerCase(key);
  for (std::vector<char> buffer(kFirstBuffer);; buffer.assign(buffer.size() * 2, '\0')) {
    const std::size_t length = needs_.profiles.Read(section.c_str(), nullptr, "", buffer, filename);
    if (length == 0) return false;
    if (length > buffer.size() - kListMargin) continue;
    for (const std::string& name : Split(std::string_view(buffer.data(), length), std::string_view("\0", 1))) {
      if (LowerCase(name) == wanted) return true;
    }
    return false;
  }
}

}  // namespace tsly
