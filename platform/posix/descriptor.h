// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace tsly {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }

  explicit operator bool() const { return number_ >= 0; }
  int Get() const { return number_; }
  int Release() { return std::exchange(number_, -1); }  // the caller closes it

  // For writers: some file systems report a full disk only here. 0, or -1 with errno.
  int Close() { return close(std::exchange(number_, -1)); }

 private:
  int number_ = -1;
};

}  // namespace tsly
