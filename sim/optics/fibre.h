// What a fibre does to light: loss, and the Raman tilt, by which strong light at high frequencies
// pumps light at low ones. Every tilt is positive if power rises with frequency.
#pragma once

#include "sim/optics/light.h"

namespace sim {

/// Length over which a constant launched power would have the same effect.
double effective_length_km(double length_km, double loss_db_per_km);

/// Change of gain per THz of frequency; negative: long wavelengths gain. `launched_mw` is the total
/// power at the start of the fibre.
double raman_slope_db_per_thz(double launched_mw, double effective_km);

/// Tilts the light by the slope. Power moves between the slots without loss: the total is
/// unchanged.
void apply_slope(light& beam, const grid& slots, double slope_db_per_thz);

/// Distance between the outermost slots that carry a signal, THz.
double lit_bandwidth_thz(const light& beam, const grid& slots);

}  // namespace sim
