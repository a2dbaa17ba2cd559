// All services of one node, by its product.
#pragma once

#include <memory>
#include <vector>

#include "sim/nexels/device_tree.h"
#include "sim/plant.h"
#include "sim/plant/node.h"

namespace sim {

std::vector<std::unique_ptr<device_tree>> make_node_trees(std::mutex& light, node& of);

/// Gives the tree the source if it is a twin switch.
void set_attenuation_source(device_tree& tree, const plant::attenuation_source& source);

}  // namespace sim
