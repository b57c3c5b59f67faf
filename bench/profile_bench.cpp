// Look-ups in a large INI file, and in files designed to be slow, compared with plain reading of the same bytes.
#include <cstdio>
#include <fstream>

#include "bench.h"

namespace tsly {
namespace {

std::string ReadValue(IniReader& reader, const std::string& file, const std::string& section, const char* key) {
  std::vector<char> buffer(16 << 20);
  const std::uint32_t length = reader.Read(section.c_str(), key, "", buffer, file);
  return {buffer.data(), length};
}

void Report(const char* what, const std::string& text,
            const std::function<std::size_t(IniReader&, const std::string&)>& use) {
  const TempFolder folder;
  const std::string file = folder.Write("test.ini", text);
  std::size_t bytes = 0;
  const double plain = SecondsOf([&] { bytes = folder.Read("test.ini").size(); });
  IniReader reader;
  std::size_t got = 0;
  const double before = PeakMegabytes();
  const double time = SecondsOf([&] { got = use(reader, file); });
  std::printf("%-52s %6.3f s   plain reading: %6.3f s   +%.0f MB (%zu bytes of %zu)\n", what, time, plain,
              PeakMegabytes() - before, got, bytes);
}

void MeasureAll() {
  std::string sections;
  for (int i = 0; i < 20000; ++i) {
    sections += "[Section " + std::to_string(i) + "]\r\n";
    for (int k = 0; k < 10; ++k) sections += "Key " + std::to_string(k) + "=" + std::string(30, 'v') + "\r\n";
  }
  Report("10,000 look-ups in 8 MB", sections, [](IniReader& reader, const std::string& file) {
    std::size_t found = 0;
    std::vector<char> buffer(256);
    for (int i = 0; i < 10000; ++i) {
      found += reader.Read(("Section " + std::to_string(i * 2)).c_str(), "Key 9", "", buffer, file);
    }
    return found;
  });
  std::string keys = "[Versions]\r\n";
  for (int i = 0; i < 1000000; ++i) keys += "Module " + std::to_string(i) + "=1\r\n";
  const auto names = [](IniReader& reader, const std::string& file) {
    return ReadValue(reader, file, "Versions", nullptr).size();
  };
  Report("the names of 1,000,000 keys", keys, names);
  Report(
      "100 MB in lines of 1 MB",
      [] {
        std::string text = "[Versions]\r\n";
        for (int i = 0; i < 100; ++i) text += std::to_string(i) + std::string(1 << 20, 'x') + "=1\r\n";
        return text;
      }(),
      names);
  Report("100 MB of zero bytes", std::string(100 << 20, '\0'), names);
}

}  // namespace
}  // namespace tsly

int main() { tsly::MeasureAll(); }
