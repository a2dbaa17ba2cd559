// Optical signal-to-noise ratio from the monitor: the reading of the nearest dark channel stands
// for the noise under a lit one. Powers dBm, widths GHz, frequencies in 10 MHz.
#pragma once

#include <optional>
#include <vector>

namespace products::orva {

/// Reference bandwidth: 0.1 nm at 1550 nm, as OSNR is quoted everywhere in the field.
inline constexpr float osnr_bandwidth_ghz = 12.5f;

struct monitored_channel {
  unsigned frequency;
  bool lit;
  float power;
};

/// Reading of the dark channel nearest to `frequency`; the one above wins at equal distance. The
/// channels come in ascending frequency.
std::optional<float> closest_dark_power(const std::vector<monitored_channel>& channels,
                                        unsigned frequency);

/// dB in 0.1 nm. Infinite when the channel stands no higher than the noise, NaN below it.
float osnr_db(float power, float noise_power, float bandwidth);

/// Bandwidth that counts behind a dispersion compensator set to `dispersion` ps/nm: fits of its
/// pass band on either side of -255 ps/nm.
float compensated_bandwidth(float dispersion);

}  // namespace products::orva
