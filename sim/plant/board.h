// The board's calibration file, as the factory would have measured it on this particular node.
#pragma once

#include <string>

#include "sim/optics/light.h"
#include "sim/plant/topology.h"

namespace sim {

/// "KEY NUMBER" lines, dB. `booster_ripple_db` is the booster's gain ripple as measured by the
/// factory, one value per channel.
std::string board_file(const node_settings& node, const std::vector<double>& booster_ripple_db);

}  // namespace sim
