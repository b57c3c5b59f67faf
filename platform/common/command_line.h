// Command lines by the rules of Windows programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// The arguments of a command line without its program, by the rules of CommandLineToArgvW: blanks and tabs separate
// arguments, except inside quotes; backslashes are special only before a quote (2n and a quote: n backslashes and a
// special quote, 2n + 1 and a quote: n backslashes and a literal quote); two quotes inside quotes are a literal quote
// and end the quoted part.
std::vector<std::string> SplitArguments(std::string_view command_line);

}  // namespace tsly
