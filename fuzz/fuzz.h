// Shared by the fuzz targets. Each is one source file with a function Try that checks one input. A broken property, a
// failed expectation of the tests' support and a sanitizer finding end the process.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ports/files.h"

namespace tsly {

// Defined by the target.
void Try(std::string_view input);

[[noreturn]] void Broken(const char* promise, const char* file, int line);

#define HOLDS(...) ((__VA_ARGS__) ? static_cast<void>(0) : ::tsly::Broken(#__VA_ARGS__, __FILE__, __LINE__))

// Takes pieces from the front of an input; the rest after the end is empty.
class Input {
 public:
  explicit Input(std::string_view input) : rest_(input) {}

  std::uint8_t Byte() {
    const std::string_view byte = Cut(1, 0);
    return byte.empty() ? 0 : static_cast<std::uint8_t>(byte[0]);
  }
  // Up to the next line end, or another separator.
  std::string_view Line(char end = '\n') { return Cut(rest_.find(end), 1); }
  std::string_view Rest() { return Cut(rest_.size(), 0); }
  bool IsEmpty() const { return rest_.empty(); }

 private:
  std::string_view Cut(std::size_t length, std::size_t mark) {
    const std::string_view piece = rest_.substr(0, length);
    rest_.remove_prefix(std::min(rest_.size(), piece.size() + mark));
    return piece;
  }

  std::string_view rest_;
};

class MemoryDocument : public OpenFile {
 public:
  explicit MemoryDocument(std::string_view bytes) : bytes_(bytes) {}
  int Length(std::int64_t& length) override {
    length = static_cast<std::int64_t>(bytes_.size());
    return 0;
  }
  int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override {
    const auto at = static_cast<std::size_t>(offset);
    got = at < bytes_.size() ? bytes_.copy(buffer.data(), buffer.size(), at) : 0;
    return 0;
  }
  bool IsAt(const std::string&) override { return false; }

 private:
  std::string_view bytes_;
};

}  // namespace tsly
