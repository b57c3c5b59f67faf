#include "common/response_spool.h"

#include <algorithm>

#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr std::size_t kReadBuffer = 64 * 1024;

}  // namespace

void ResponseSpool::Clear() {
  Close();
  refilled_ = 0;
  buffer_.clear();
  taken_ = 0;
}

int ResponseSpool::Append(std::string_view bytes) {
  if (!IsOpen()) {
    if (const int code = Open()) return code;
  }
  return Write(bytes);
}

int ResponseSpool::Refill() {
  buffer_.resize(kReadBuffer);
  taken_ = 0;
  std::size_t got = 0;
  const int code = ReadAt(refilled_, buffer_, got);
  buffer_.resize(got);
  refilled_ += static_cast<std::int64_t>(got);
  return code;
}

int ResponseSpool::Read(std::size_t size, std::string& bytes) {
  bytes.clear();
  if (!IsOpen()) return kSuccess;
  while (bytes.size() < size) {
    if (taken_ == buffer_.size()) {
      if (const int code = Refill()) return code;
      if (buffer_.empty()) break;
    }
    const std::size_t part = std::min(size - bytes.size(), buffer_.size() - taken_);
    bytes.append(buffer_, taken_, part);
    taken_ += part;
  }
  return kSuccess;
}

}  // namespace tsly
