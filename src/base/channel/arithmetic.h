// Arithmetic of a channel's frequency and power: no device, no tree. Frequencies and widths are
// unsigned integers in units of 10 MHz, powers dBm, losses dB.
#pragma once

#include <cstdint>

#include "models/band.h"

namespace channel {

/// What the command takes that adds channels, on any model, and what a stored plan may hold: all
/// that was ever stored loads again.
inline constexpr std::uint32_t lowest_center = 18000001;
inline constexpr std::uint32_t highest_center = 19999999;
inline constexpr std::uint32_t highest_port = 34;

/// Vacuum wavelength in nm, worked out in steps of 1 GHz: the grid of ITU-T G.694.1 is coarser.
float wavelength_nm(std::uint32_t center_frequency);

/// Width in GHz.
float width_ghz(std::uint32_t raw_width);

/// What a width takes of a band of so many slices: 1 for all of it.
float band_share(float width_ghz, unsigned band_slices = models::shared_slices);
/// What of the band's power that is; below 0 dB.
float band_share_db(float width_ghz, unsigned band_slices = models::shared_slices);

/// Power at the client port of a channel that enters the node there: the monitor sits behind the
/// switch, so the attenuation of the switch is added back.
float client_power_rx(float ocm_power, float client_to_monitor, float attenuation,
                      float loss_offset);

/// Power at the client port of a channel that leaves the node there: the monitor sits in front of
/// the switch.
float client_power_tx(float ocm_power, float monitor_to_client, float attenuation,
                      float loss_offset);

/// Two channels overlap when their distance is less than half the sum of their widths; channels
/// that just touch do not.
bool overlap(std::uint32_t frequency, std::uint32_t width, std::uint32_t other_frequency,
             std::uint32_t other_width);

}  // namespace channel
