// Topology files. Whatever a file leaves out has the product's default. An unknown name, a value of
// the wrong type and a value outside its range are refused with the place in the file, what was
// found and what is accepted.
#pragma once

#include <string>

#include "sim/plant/topology.h"

namespace sim {

/// Throws topology_error.
topology read_topology(const std::string& json_text);
/// As above; the text then begins with the file's path.
topology load_topology(const std::string& path);

}  // namespace sim
