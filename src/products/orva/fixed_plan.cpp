#include "products/orva/fixed_plan.h"

#include <cmath>

namespace products::orva {

float fixed_plan::utilization(unsigned lit_channels) const {
  const float thousandfold = static_cast<float>(lit_channels) * 1000.0f;
  return std::round(thousandfold / static_cast<float>(channels)) / 10;
}

}  // namespace products::orva
