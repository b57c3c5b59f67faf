#include "common/command_line.h"

#include <algorithm>

namespace tsly {
namespace {

std::size_t CountLeading(std::string_view text, char c) { return std::min(text.find_first_not_of(c), text.size()); }

}  // namespace

std::vector<std::string> SplitArguments(std::string_view rest) {
  std::vector<std::string> arguments;
  bool inside = false;  // inside an argument
  std::size_t quotes = 0;
  while (!rest.empty()) {
    if (quotes == 0 && (rest[0] == ' ' || rest[0] == '\t')) {
      inside = false;
      rest.remove_prefix(1);
      continue;
    }
    if (!inside) arguments.emplace_back();
    inside = true;

    const std::size_t slashes = CountLeading(rest, '\\');
    rest.remove_prefix(slashes);
    if (!rest.starts_with('"')) {
      arguments.back().append(slashes, '\\');
      if (slashes == 0) {
        arguments.back() += rest[0];
        rest.remove_prefix(1);
      }
      continue;
    }
    arguments.back().append(slashes / 2, '\\');
    if (slashes % 2 == 1) {
      arguments.back() += '"';
      rest.remove_prefix(1);
      continue;
    }
    // In a run of quotes, including the opening one, each third one is a literal quote.
    const std::size_t run = CountLeading(rest, '"');
    arguments.back().append((quotes + run) / 3, '"');
    quotes = (quotes + run) % 3 == 1 ? 1 : 0;
    rest.remove_prefix(run);
  }
  return arguments;
}

}  // namespace tsly
