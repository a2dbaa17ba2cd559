// How a moved device approaches its new position: an exponential that has covered 98 % of the way
// when the settling time is over.
#pragma once

#include <cmath>

namespace sim {

inline double settled_share(double dt_s, double settling_s) {
  constexpr double time_constants = 4.0;
  return settling_s > 0.0 ? 1.0 - std::exp(-time_constants * dt_s / settling_s) : 1.0;
}

inline double approach(double present, double goal, double dt_s, double settling_s) {
  return present + (goal - present) * settled_share(dt_s, settling_s);
}

}  // namespace sim
