// The permanent channel plan of an orva model, as shown on the tree.
#pragma once

#include <cmath>

#include "models/model.h"

namespace products::orva {

/// Percent of the plan's channels in use, with one decimal.
inline float utilization(const models::channel_grid& plan, unsigned lit_channels) {
  const float thousandfold = static_cast<float>(lit_channels) * 1000.0f;
  return std::round(thousandfold / static_cast<float>(plan.channels)) / 10;
}

}  // namespace products::orva
