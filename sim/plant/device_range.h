// How a device refuses a setting: with the value and what it accepts.
#pragma once

#include <fmt/format.h>

#include <cmath>

#include "platform/wire/nx_error.h"

namespace sim {

/// Throws nx_error -22 unless low <= value <= high.
inline void require_range(const char* what, double value, double low, double high,
                          const char* unit) {
  if (std::isfinite(value) && value >= low && value <= high) return;
  throw nx_error(nx_error::invalid,
                 fmt::format("{} {} {} is out of range [{}, {}]", what, value, unit, low, high));
}

}  // namespace sim
