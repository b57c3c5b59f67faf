#include "discovery/version_rules.h"

#include <unordered_map>

#include "base/text.h"

namespace tsly {
namespace {

std::vector<std::int32_t> Fields(const std::string& version) {
  std::vector<std::int32_t> fields;
  for (const std::string& field : Split(Trim(version), ".")) fields.push_back(ToInt32(field).value_or(0));
  return fields;
}

}  // namespace

bool IsNewerVersion(const std::string& installed, const std::string& offered) {
  const std::vector<std::int32_t> have = Fields(installed);
  const std::vector<std::int32_t> offer = Fields(offered);
  if (have.empty() || offer.empty()) return false;
  if (offer.size() > have.size()) {
    for (std::size_t i = 0; i < have.size(); ++i) {
      if (offer[i] < have[i]) return false;
    }
    return true;
  }
  for (std::size_t i = 0; i < offer.size(); ++i) {
    if (offer[i] != have[i]) return offer[i] > have[i];
  }
  return false;
}

void ApplyExcludes(std::vector<std::string>& names,
                   const std::function<std::string(const std::string& module)>& excluded_by) {
  // The index of each name, so that an exclusion needs no search through a long list.
  std::unordered_multimap<std::string, std::size_t> places;
  for (std::size_t i = 1; i < names.size(); ++i) places.emplace(LowerCase(Trim(names[i])), i);

  for (std::size_t i = 1; i < names.size(); ++i) {
    if (Trim(names[i]).empty()) continue;
    for (const std::string& part : Split(excluded_by(names[i]), ",")) {
      const std::string excluded = LowerCase(Trim(part));
      if (excluded.empty()) continue;
      const auto [first, last] = places.equal_range(excluded);
      for (auto place = first; place != last; ++place) names[place->second].clear();
    }
  }

  std::vector<std::string> left(1);
  for (std::size_t i = 1; i < names.size(); ++i) {
    if (std::string name = Trim(names[i]); !name.empty()) left.push_back(std::move(name));
  }
  names = std::move(left);
}

}  // namespace tsly
