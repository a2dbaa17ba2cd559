// The socket file of a server.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/value_tree/server/owned_fd.h"

namespace nx {

/// Listens on a path, with NX_ROOT prefixed: mode 0660, the folder is created if missing, the file
/// of a server that has ended is replaced. The file is removed with the object, unless another has
/// taken its place. Throws std::runtime_error, also if another server is alive there.
class unix_socket {
 public:
  explicit unix_socket(const std::string& path);
  ~unix_socket();
  unix_socket(const unix_socket&) = delete;
  unix_socket& operator=(const unix_socket&) = delete;

  const std::string& path() const { return path_; }
  owned_fd take() { return std::move(fd_); }

 private:
  std::string path_;
  owned_fd fd_;
  ino_t inode_ = 0;
};

}  // namespace nx
