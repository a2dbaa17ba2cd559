// What a fibre does to light: loss, and the Raman tilt, by which strong light at high frequencies
// pumps the low ones. Sign of every tilt: positive means that power rises with frequency.
#pragma once

#include "sim/optics/light.h"

namespace sim {

/// Length over which the launched power would have to stay constant to do as much.
double effective_length_km(double length_km, double loss_db_per_km);

/// Change of gain per THz of frequency, negative: long wavelengths gain. `launched_mw` is the total
/// power at the start of the fibre.
double raman_slope_db_per_thz(double launched_mw, double effective_km);

/// Tilts the light by the slope. Power moves between the slots and is not lost: the total stays.
void apply_slope(light& beam, const grid& slots, double slope_db_per_thz);

/// Distance between the outermost slots that carry signal, THz.
double lit_bandwidth_thz(const light& beam, const grid& slots);

}  // namespace sim
