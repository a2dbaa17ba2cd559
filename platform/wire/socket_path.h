// Unix socket paths of servers and clients.
#pragma once

#include <string>

namespace nx {

/// The path prefixed with the folder in the environment variable NX_ROOT, if that is set: a whole
/// node can then run inside a folder, without privileges, next to another.
std::string rooted_path(const std::string& path);

/// Replaces NX_ROOT for paths named by this thread while the object exists: two nodes can then run
/// in one process.
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
