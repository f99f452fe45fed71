#pragma once

#include <unistd.h>

#include <utility>

/// Owns one file descriptor and closes it; -1 stands for none.
class UniqueFd {
 public:
  UniqueFd() noexcept = default;
  explicit UniqueFd(int fd) noexcept : fFd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fFd(std::exchange(other.fFd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      reset();
      fFd = std::exchange(other.fFd, -1);
    }
    return *this;
  }
  ~UniqueFd() { reset(); }

  int get() const noexcept { return fFd; }
  explicit operator bool() const noexcept { return fFd >= 0; }

  /// Leaves the closing to the caller.
  int release() noexcept { return std::exchange(fFd, -1); }

  void reset() noexcept {
    if (fFd >= 0) ::close(fFd);
    fFd = -1;
  }

 private:
  int fFd = -1;
};
