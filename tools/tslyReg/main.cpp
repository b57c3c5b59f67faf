// Shows and changes the program's settings for this machine and this user.
#include <iostream>
#include <string>
#include <vector>

#include "posix/home.h"
#include "posix/sqlite_registry.h"
#include "tslyReg/commands.h"

int main(int count, char** arguments) {
  std::ios::sync_with_stdio(false);  // otherwise a read error of standard input looks like its end
  const tsly::Home home = tsly::Home::FromEnvironment();
  tsly::SqliteRegistry registry(home.user_registry, home.machine_registry);
  const std::vector<std::string> words(arguments + (count > 0 ? 1 : 0), arguments + count);
  return static_cast<int>(tsly::RunTool(registry, words, {std::cin, std::cout, std::cerr}));
}
