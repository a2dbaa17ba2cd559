// The channel plan that a model of the orva family has for life, as the tree counts it.
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
