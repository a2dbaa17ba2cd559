// The arithmetic of a channel's target and of what its distance from it means, worked out here a
// second time and on purpose: the lab judges the daemon and does not ask it for the verdict.
#pragma once

#include <string_view>

namespace tools::lab {

/// What the target depends on. Powers in dBm, gains and losses in dB.
struct target_inputs {
  float width_ghz = 0.0F;
  float wavelength_nm = 0.0F;
  float fibre_km = 0.0F;
  float power_limit = 20.0F;
  float saturation = 0.0F;  ///< as the amplifier reports it
  float saturation_cap = 1.0F;
  float wanted_offset = 0.0F;
};

/// dBm at the amplifier's output: the channel's share of the limit by its width, tilted against the
/// fibre, lowered by the saturation.
float target_power(const target_inputs& in);

enum class channel_state {
  dark,                ///< no light
  blocked,             ///< taken out by the operator
  on_target,           ///< within 0.5 dB
  resting_off_target,  ///< inside the dead band and yet 0.5 dB or more off: nothing will correct it
  exhausted,           ///< the attenuator stands at its end
  settling             ///< to be corrected, or the last step has not shown yet
};

std::string_view name_of(channel_state state);

/// The state of a lit channel. `error` in dB, positive is too much power; `attenuation` in dB
/// between 0 and `most`.
channel_state lit_state(float error, float attenuation, float most);

inline constexpr float on_target_db = 0.5F;

/// Errors up to this are left alone; it grows with the attenuation.
float dead_band(float attenuation);

}  // namespace tools::lab
