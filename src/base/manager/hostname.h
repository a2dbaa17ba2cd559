// The host name shown on the tree.
#pragma once

#include <string>

namespace manager {

/// Throws boost::system::system_error.
std::string read_hostname();

}  // namespace manager
