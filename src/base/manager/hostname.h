// The host name as the tree shows it.
#pragma once

#include <string>

namespace manager {

/// Throws boost::system::system_error.
std::string read_hostname();

}  // namespace manager
