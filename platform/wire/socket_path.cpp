#include "platform/wire/socket_path.h"

#include <cstdlib>

namespace nx {

std::string rooted_path(const std::string& path) {
  const char* root = std::getenv("NX_ROOT");
  if (root == nullptr || *root == '\0') return path;
  std::string rooted = root;
  while (!rooted.empty() && rooted.back() == '/')
    rooted.pop_back();
  if (path.empty() || path.front() != '/') rooted += '/';
  return rooted + path;
}

}  // namespace nx
