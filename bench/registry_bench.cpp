// The cost of the settings registry: opening, reading and closing a setting in a process that has used the stores
// before and in one that has not, and a durable write to each kind of file.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "posix/sqlite_registry.h"

namespace {

using namespace tsly;

constexpr char kKey[] = "SOFTWARE\\Quillon Systems\\Tessaly Studio\\7.0\\Version";

void Report(const char* what, int rounds, const std::function<int()>& body) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    if (const int code = body(); code != 0) {
      std::printf("%-32s failed: %d\n", what, code);
      return;
    }
    times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  std::printf("%-32s %9.1f us (median), %9.1f us (95 of 100)\n", what, times[times.size() / 2],
              times[times.size() * 95 / 100]);
}

int ReadOne(Registry& registry, RegKey root) {
  RegKey key = 0;
  std::uint32_t type = 0, size = 0;
  char buffer[64];
  int code = registry.Open(root, kKey, key);
  if (code == 0) code = registry.Query(key, "Value 50", type, {}, size);
  if (code == 0) code = registry.Query(key, "Value 50", type, buffer, size);
  return code != 0 ? code : registry.Close(key);
}

int WriteOne(Registry& registry, RegKey root, const std::string& name) {
  RegKey key = 0;
  bool created = false;
  const int code = registry.Create(root, kKey, key, created);
  return code != 0 ? code : registry.Set(key, name, kRegSz, std::string("1.2.3.4\0", 8));
}

}  // namespace

int main(int argc, char** argv) {
  const std::filesystem::path folder =
      (argc > 1 ? std::filesystem::path(argv[1]) : std::filesystem::temp_directory_path()) / "tsly-registry-bench";
  std::filesystem::remove_all(folder);
  const auto user = folder / "user.sqlite", machine = folder / "machine.sqlite";
  SqliteRegistry registry(user, machine);
  for (const RegKey root : {kCurrentUser, kLocalMachine}) {
    const std::string kind = root == kCurrentUser ? "user: " : "machine: ";
    int number = 0;
    Report((kind + "durable write").c_str(), 100,
           [&] { return WriteOne(registry, root, "Value " + std::to_string(number++)); });
    Report((kind + "stores and setting opened").c_str(), 2000, [&] {
      SqliteRegistry fresh(user, machine);
      return ReadOne(fresh, root);
    });
    Report((kind + "setting opened").c_str(), 5000, [&] { return ReadOne(registry, root); });
  }
  std::filesystem::remove_all(folder);
}
