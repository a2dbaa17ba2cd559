// The board's calibration file, as the factory would have measured it on this very node.
#pragma once

#include <string>

#include "sim/optics/light.h"
#include "sim/plant/topology.h"

namespace sim {

/// "KEY NUMBER" lines, dB. `booster_ripple_db` is what the factory saw of the booster's gain, a
/// value for each channel.
std::string board_file(const node_settings& node, const std::vector<double>& booster_ripple_db);

}  // namespace sim
