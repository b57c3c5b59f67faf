// Command lines in the form that programs of Windows take them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// The arguments of a command line without its program, by the rules of CommandLineToArgvW: blanks and tabs separate;
// quotes keep them; backslashes are special only before a quote (2n and a quote: n and the quote's meaning, 2n + 1 and
// a quote: n and a plain quote); a quote doubled inside quotes is a plain one and ends them.
std::vector<std::string> SplitArguments(std::string_view command_line);

}  // namespace tsly
