// Compares the version rule and the exclusions with simple implementations. Input: the installed and the offered
// version, then a line "module:excluded,excluded" for each offered module.
#include "base/text.h"
#include "discovery/version_rules.h"
#include "fuzz.h"

namespace tsly {
namespace {

std::string Stripped(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  while (!text.empty() && text[0] == ' ') text.erase(0, 1);
  return text;
}

std::vector<std::string> Pieces(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  if (text.empty()) return pieces;
  pieces.emplace_back();
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

std::int64_t Number(std::string field) {
  field = Stripped(field);
  const bool has_sign = !field.empty() && (field[0] == '-' || field[0] == '+');
  const std::int64_t sign = has_sign && field[0] == '-' ? -1 : 1;
  if (has_sign) field.erase(0, 1);
  if (field.empty()) return 0;
  std::int64_t number = 0;
  for (const char c : field) {
    if (c < '0' || c > '9') return 0;
    number = std::min<std::int64_t>(number * 10 + (c - '0'), std::int64_t{1} << 40);
  }
  number *= sign;
  return number < INT32_MIN || number > INT32_MAX ? 0 : number;
}

bool IsNewerPlainly(const std::string& installed, const std::string& offered) {
  const auto have = Pieces(Stripped(installed), '.'), offer = Pieces(Stripped(offered), '.');
  if (have.empty() || offer.empty()) return false;
  bool is_newer = offer.size() > have.size();
  const bool has_more = is_newer;
  for (std::size_t i = 0; i < std::min(have.size(), offer.size()); ++i) {
    if (Number(offer[i]) < Number(have[i])) return false;
    if (!has_more && Number(offer[i]) > Number(have[i])) return true;
  }
  return is_newer;
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  const std::string installed(input.Line()), offered(input.Line());
  HOLDS(IsNewerVersion(installed, offered) == IsNewerPlainly(installed, offered));
  HOLDS(!IsNewerVersion(offered, offered));
  HOLDS(!(IsNewerVersion(installed, offered) && IsNewerVersion(offered, installed)));

  std::vector<std::string> names(1), lines(1);
  while (!input.IsEmpty() && names.size() < 50) {
    names.emplace_back(input.Line(':'));
    lines.emplace_back(input.Line());
  }
  std::vector<std::string> left = names, expected(1);
  ApplyExcludes(left, [&](const std::string& module) {
    const auto at = std::find(names.begin() + 1, names.end(), module);
    HOLDS(at != names.end());
    return lines[static_cast<std::size_t>(at - names.begin())];
  });
  std::vector<std::string> plain = names;
  for (std::size_t i = 1; i < plain.size(); ++i) {
    if (Stripped(plain[i]).empty()) continue;
    const auto at = std::find(names.begin() + 1, names.end(), plain[i]);
    for (const std::string& piece : Pieces(lines[static_cast<std::size_t>(at - names.begin())], ',')) {
      if (Stripped(piece).empty()) continue;
      for (std::string& name : plain) {
        if (LowerCase(Stripped(name)) == LowerCase(Stripped(piece))) name.clear();
      }
    }
  }
  for (const std::string& name : plain) {
    if (!Stripped(name).empty()) expected.push_back(Stripped(name));
  }
  HOLDS(left == expected);
}

}  // namespace tsly
