// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace nx {

class owned_fd {
 public:
  explicit owned_fd(int fd = -1) : fd_(fd) {}
  ~owned_fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  owned_fd(owned_fd&& other) noexcept : fd_(other.release()) {}
  owned_fd& operator=(owned_fd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

}  // namespace nx
