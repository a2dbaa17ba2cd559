#include "platform/wire/socket_path.h"

#include <cstdlib>
#include <utility>

namespace nx {

namespace {

thread_local std::string root_of_thread;

std::string present_root() {
  if (!root_of_thread.empty()) return root_of_thread;
  const char* root = std::getenv("NX_ROOT");
  return root == nullptr ? "" : root;
}

}  // namespace

thread_root::thread_root(std::string folder)
    : before_(std::exchange(root_of_thread, std::move(folder))) {}

thread_root::~thread_root() {
  root_of_thread = before_;
}

std::string rooted_path(const std::string& path) {
  std::string rooted = present_root();
  if (rooted.empty()) return path;
  while (!rooted.empty() && rooted.back() == '/')
    rooted.pop_back();
  if (path.empty() || path.front() != '/') rooted += '/';
  return rooted + path;
}

}  // namespace nx
