// Unix socket paths of servers and clients.
#pragma once

#include <string>

namespace nx {

/// The path with the folder of the environment variable NX_ROOT in front of it, when that is set: a
/// whole node can then run below a folder, without privileges, side by side with another.
std::string rooted_path(const std::string& path);

/// A root of its own for what this thread names while the object lives, in place of NX_ROOT: two
/// nodes then stand side by side in one process.
class thread_root {
 public:
  explicit thread_root(std::string folder);
  ~thread_root();
  thread_root(const thread_root&) = delete;
  thread_root& operator=(const thread_root&) = delete;

 private:
  std::string before_;
};

}  // namespace nx
