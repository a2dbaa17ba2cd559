#include "base/channel/control/regulation.h"

#include <cmath>

#include "base/channel/arithmetic.h"
#include "models/band.h"

namespace channel::control {

namespace {
constexpr auto tilt_offset_db = static_cast<float>(models::tilt_offset_db);
constexpr auto tilt_slope_db_per_nm = static_cast<float>(models::tilt_slope_db_per_nm);

constexpr float full_scale_attenuation = 15.0f;
constexpr float large_change = 3.0f;
}  // namespace

float tilt_loss(float wavelength_nm, float fiber_length_km) {
  const float at_100_km = tilt_offset_db + wavelength_nm * tilt_slope_db_per_nm;
  return static_cast<float>(double{at_100_km} * (double{fiber_length_km} / 100.0));
}

float target_power(float total_power, float width, float tilt) {
  return total_power + band_share_db(width) + tilt;
}

float dead_band(float attenuation) {
  return static_cast<float>(double{attenuation / full_scale_attenuation} * 0.5 + 0.2);
}

float attenuation_change(float power_difference) {
  const auto change = static_cast<float>(double{power_difference} / 1.1);
  if (!(std::fabs(change) > large_change)) return change;
  return static_cast<float>(double{change} / 1.3);
}

float clamp_attenuation(float attenuation, float minimum, float maximum) {
  if (!(attenuation < maximum)) attenuation = maximum;
  if (!(minimum < attenuation)) attenuation = minimum;
  return attenuation;
}

}  // namespace channel::control
