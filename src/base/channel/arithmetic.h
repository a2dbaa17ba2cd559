// Arithmetic of a channel's frequency and power; uses no device and no tree. Frequencies and widths
// are unsigned integers in units of 10 MHz, powers in dBm, losses in dB.
#pragma once

#include <cstdint>

#include "models/band.h"

namespace channel {

/// The limits of the add command on any model, and of a stored plan: everything that was ever
/// stored loads again.
inline constexpr std::uint32_t lowest_center = 18000001;
inline constexpr std::uint32_t highest_center = 19999999;
inline constexpr std::uint32_t highest_port = 34;

/// Vacuum wavelength in nm, calculated in steps of 1 GHz: the grid of ITU-T G.694.1 is coarser.
float wavelength_nm(std::uint32_t center_frequency);

/// Width in GHz.
float width_ghz(std::uint32_t raw_width);

/// The share of a band of so many slices that a width takes; 1 for all of it.
float band_share(float width_ghz, unsigned band_slices = models::shared_slices);
/// The same share of the band's power in dB, at most 0.
float band_share_db(float width_ghz, unsigned band_slices = models::shared_slices);

/// Client port power of a channel that enters the node there: the monitor comes after the switch,
/// so the switch's attenuation is added back.
float client_power_rx(float ocm_power, float client_to_monitor, float attenuation,
                      float loss_offset);

/// Client port power of a channel that leaves the node there: the monitor comes before the switch.
float client_power_tx(float ocm_power, float monitor_to_client, float attenuation,
                      float loss_offset);

/// Two channels overlap if their distance is less than half the sum of their widths; channels that
/// just touch do not.
bool overlap(std::uint32_t frequency, std::uint32_t width, std::uint32_t other_frequency,
             std::uint32_t other_width);

}  // namespace channel
