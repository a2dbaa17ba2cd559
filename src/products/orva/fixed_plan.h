// The channel plan that a model of the orva family has for life: the same channels in both
// directions, rebuilt at each start. Frequencies and widths in units of 10 MHz.
#pragma once

namespace products::orva {

struct fixed_plan {
  unsigned first_center;
  unsigned spacing;  ///< also the width
  unsigned channels;

  unsigned center(unsigned channel) const { return first_center + channel * spacing; }
  /// Percent of the channels in use, with one decimal.
  float utilization(unsigned lit_channels) const;
};

inline constexpr fixed_plan orvalite_plan{19140000, 15000, 32};
inline constexpr fixed_plan orvamax_plan{19210000, 10000, 40};
inline constexpr fixed_plan orvapro_plan{19210000, 10000, 40};

}  // namespace products::orva
