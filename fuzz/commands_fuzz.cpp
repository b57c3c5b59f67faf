// Compares command lines and action lines with simple implementations of their rules. Input: the line.
#include "base/runtime_error.h"
#include "base/text.h"
#include "common/command_line.h"
#include "dialog/launcher.h"
#include "fuzz.h"
#include "install/action_line.h"

namespace tsly {
namespace {

// Character by character.
std::vector<std::string> ArgumentsPlainly(const std::string& line) {
  std::vector<std::string> arguments;
  bool is_inside = false, is_quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (!is_quoted && (line[i] == ' ' || line[i] == '\t')) {
      is_inside = false;
      continue;
    }
    if (!is_inside) arguments.emplace_back();
    is_inside = true;
    std::size_t slashes = 0;
    while (i + slashes < line.size() && line[i + slashes] == '\\') ++slashes;
    const bool before_quote = i + slashes < line.size() && line[i + slashes] == '"';
    if (slashes > 0) {
      arguments.back().append(before_quote ? slashes / 2 : slashes, '\\');
      i += slashes;
      if (before_quote && slashes % 2 == 1) arguments.back() += '"';
      if (!before_quote || slashes % 2 == 1) {
        i -= before_quote ? 0 : 1;
        continue;
      }
    }
    if (line[i] != '"') {
      arguments.back() += line[i];
    } else if (is_quoted && i + 1 < line.size() && line[i + 1] == '"') {
      arguments.back() += '"';
      is_quoted = false;
      ++i;
    } else {
      is_quoted = !is_quoted;
    }
  }
  return arguments;
}

CommandParts PartsPlainly(const std::string& line) {
  const std::string text = Trim(line);
  const bool quoted = !text.empty() && text[0] == '"';
  std::size_t end = quoted ? 1 : 0;
  while (end < text.size() && text[end] != (quoted ? '"' : ' ')) ++end;
  if (end == text.size() || (quoted && end == 1)) return {text, ""};
  return {text.substr(quoted ? 1 : 0, end - (quoted ? 1 : 0)), Trim(text.substr(end + 1))};
}

void TryAction(const std::string& line) {
  static const std::vector<std::string> kVerbs = {
      "unzip", "run", "execute", "unregister exe", "register exe", "unregister dll", "register dll"};
  const auto colon = line.find(':');
  const ActionVerb* verb = VerbOf(line);
  const auto known = std::find(kVerbs.begin(), kVerbs.end(), LowerCase(line.substr(0, colon)));
  HOLDS((verb != nullptr) == (known != kVerbs.end()));
  HOLDS(verb == nullptr || verb->verb == *known);
  try {
    const std::string argument = ArgumentOf(line);
    HOLDS(colon != line.npos && argument == line.substr(colon + 1, line.find(':', colon + 1) - colon - 1));
  } catch (const RuntimeError& error) {
    HOLDS(colon == line.npos && error.number == kErrorSubscript);
  }
}

}  // namespace

void Try(std::string_view bytes) {
  const std::string line(bytes);
  HOLDS(SplitArguments(line) == ArgumentsPlainly(line));
  const CommandParts parts = SplitCommand(line), plain = PartsPlainly(line);
  HOLDS(parts.command == plain.command && parts.parameters == plain.parameters);
  TryAction(line);
}

}  // namespace tsly
