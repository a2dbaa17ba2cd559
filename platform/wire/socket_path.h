// Unix socket paths of servers and clients.
#pragma once

#include <string>

namespace nx {

/// The path with the folder of the environment variable NX_ROOT in front of it, when that is set: a
/// whole node can then run below a folder, without privileges, side by side with another.
std::string rooted_path(const std::string& path);

}  // namespace nx
