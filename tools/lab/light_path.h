// The road of the light from the clients of one node to those of the other, as the plant knows it:
// the median of the channels that have light, at each point. Pure.
#pragma once

#include <optional>

#include "tools/common/readings.h"

namespace tools::lab {

/// dBm of a typical channel; empty where there is no light.
struct light_path {
  std::optional<double> client, after_switch, booster, line;  ///< on this side of the fibre
  std::optional<double> far_line, far_preamp, far_client;     ///< on the other
  std::optional<double> span_db;                              ///< connector to connector
};

/// From node `from`, 0 or 1, to the other.
light_path path_of(const readings& read, unsigned from);

}  // namespace tools::lab
