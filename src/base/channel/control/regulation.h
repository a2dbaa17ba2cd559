// Arithmetic of one channel's regulation: target, dead band and step; uses no device and no tree.
// Powers in dBm, attenuations and differences in dB, lengths in km, wavelengths in nm, widths in
// GHz. A positive power difference means too much power.
#pragma once

#include <cmath>

#include "base/channel/arithmetic.h"
#include "models/band.h"

namespace channel::control {

/// How far the target moves with wavelength for a fibre of this length, to compensate the tilt that
/// stimulated Raman scattering causes along it: linear in wavelength and in length.
inline float tilt_loss(float wavelength_nm, float fiber_length_km) {
  constexpr auto offset_db = static_cast<float>(models::tilt_offset_db);
  constexpr auto slope_db_per_nm = static_cast<float>(models::tilt_slope_db_per_nm);
  const float at_100_km = offset_db + wavelength_nm * slope_db_per_nm;
  return static_cast<float>(double{at_100_km} * (double{fiber_length_km} / 100.0));
}

/// The channel's share, by width, of the band's total power, adjusted for the tilt.
inline float target_power(float total_power, float width, float tilt) {
  return total_power + band_share_db(width) + tilt;
}

/// Width of the dead band on either side: 0.2 dB at no attenuation, 0.7 dB at 15 dB.
inline float dead_band(float attenuation) {
  constexpr float full_scale_attenuation = 15.0f;
  return static_cast<float>(double{attenuation / full_scale_attenuation} * 0.5 + 0.2);
}

/// Change of attenuation for a difference: 1/1.1 of it, and 1/1.43 of a large one, so that a step
/// never overshoots as long as one dB of attenuation is one dB of light.
inline float attenuation_change(float power_difference) {
  constexpr float large_change = 3.0f;
  const auto change = static_cast<float>(double{power_difference} / 1.1);
  if (!(std::fabs(change) > large_change)) return change;
  return static_cast<float>(double{change} / 1.3);
}

/// Limited to the maximum first, then to the minimum.
inline float clamp_attenuation(float attenuation, float minimum, float maximum) {
  if (!(attenuation < maximum)) attenuation = maximum;
  if (!(minimum < attenuation)) attenuation = minimum;
  return attenuation;
}

}  // namespace channel::control
