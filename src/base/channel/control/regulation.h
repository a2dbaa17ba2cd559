// Arithmetic of one channel's regulation: target, dead band and step; uses no device and no tree.
// Powers in dBm, attenuations and differences in dB, lengths in km, wavelengths in nm, widths in
// GHz. A positive power difference means too much power.
#pragma once

namespace channel::control {

/// How far the target moves with wavelength for a fibre of this length, to compensate the tilt that
/// stimulated Raman scattering causes along it: linear in wavelength and in length.
float tilt_loss(float wavelength_nm, float fiber_length_km);

/// The channel's share, by width, of the band's total power, adjusted for the tilt.
float target_power(float total_power, float width, float tilt);

/// Width of the dead band on either side: 0.2 dB at no attenuation, 0.7 dB at 15 dB.
float dead_band(float attenuation);

/// Change of attenuation for a difference: 1/1.1 of it, and 1/1.43 of a large one, so that a step
/// never overshoots as long as one dB of attenuation is one dB of light.
float attenuation_change(float power_difference);

/// Limited to the maximum first, then to the minimum.
float clamp_attenuation(float attenuation, float minimum, float maximum);

}  // namespace channel::control
