#include "tools/lab/channel_target.h"

#include <algorithm>
#include <cmath>

namespace tools::lab {

namespace {

constexpr float slice_ghz = 6.25F;
constexpr float slices_of_band = 768.0F;

/// The fibre's loss against wavelength as a straight line in dB per 100 km.
float tilt(float wavelength_nm, float fibre_km) {
  const float per_100_km = 39.7960090637207F + wavelength_nm * -0.025756599381566F;
  return per_100_km * fibre_km / 100.0F;
}

}  // namespace

float target_power(const target_inputs& in) {
  const float share = 10.0F * std::log10(slices_of_band / (in.width_ghz / slice_ghz));
  const float fibre = std::max(in.fibre_km, 0.001F);
  const float saturation = std::min(in.saturation, in.saturation_cap);
  return in.power_limit - share + tilt(in.wavelength_nm, fibre) - saturation + in.wanted_offset;
}

std::string_view name_of(channel_state state) {
  switch (state) {
    case channel_state::dark:
      return "dark";
    case channel_state::blocked:
      return "blocked";
    case channel_state::on_target:
      return "on target";
    case channel_state::resting_off_target:
      return "resting off target";
    case channel_state::exhausted:
      return "exhausted";
    case channel_state::settling:
      return "settling";
  }
  return "";
}

float dead_band(float attenuation) {
  return attenuation / 15.0F * 0.5F + 0.2F;
}

channel_state lit_state(float error, float attenuation, float most) {
  if (std::abs(error) < on_target_db) return channel_state::on_target;
  const bool at_end = error > 0.0F ? attenuation >= most : attenuation <= 0.0F;
  if (at_end) return channel_state::exhausted;
  if (std::abs(error) <= dead_band(attenuation)) return channel_state::resting_off_target;
  return channel_state::settling;
}

}  // namespace tools::lab
