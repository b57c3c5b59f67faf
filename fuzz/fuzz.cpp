#include "fuzz.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace tsly {
namespace {

class EndAtFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) Broken(result.summary(), result.file_name(), result.line_number());
  }
};

}  // namespace

void Broken(const char* promise, const char* file, int line) {
  std::fprintf(stderr, "BROKEN: %s (%s:%d)\n", promise, file == nullptr ? "" : file, line);
  std::abort();
}

}  // namespace tsly

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  testing::UnitTest::GetInstance()->listeners().Append(new tsly::EndAtFailure);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  tsly::Try({reinterpret_cast<const char*>(bytes), size});
  return 0;
}
