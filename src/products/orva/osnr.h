// Optical signal-to-noise ratio from the monitor: the reading of the nearest dark channel is taken
// as the noise under a lit one. Powers in dBm, widths in GHz, frequencies in units of 10 MHz.
#pragma once

#include <optional>
#include <vector>

namespace products::orva {

/// Reference bandwidth: 0.1 nm at 1550 nm, the usual convention for OSNR.
inline constexpr float osnr_bandwidth_ghz = 12.5f;

struct monitored_channel {
  unsigned frequency;
  bool lit;
  float power;
};

/// Reading of the dark channel nearest to `frequency`; at equal distance the one above. The
/// channels are in order of ascending frequency.
std::optional<float> closest_dark_power(const std::vector<monitored_channel>& channels,
                                        unsigned frequency);

/// dB in 0.1 nm. Infinite if the channel is no stronger than the noise, NaN if it is weaker.
float osnr_db(float power, float noise_power, float bandwidth);

/// Effective bandwidth after a dispersion compensator set to `dispersion` ps/nm: fits of its pass
/// band on either side of -255 ps/nm.
float compensated_bandwidth(float dispersion);

}  // namespace products::orva
