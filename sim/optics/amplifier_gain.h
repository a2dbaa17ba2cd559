// Arithmetic of an erbium amplifier: how its gain varies over the band, what noise it adds, and
// where its output power is limited. No time and no state.
#pragma once

#include <vector>

#include "sim/optics/light.h"

namespace sim {

/// Gain of each slot relative to the mean, dB: ripple, and a straight tilt (positive: rises with
/// frequency) over the band.
void gain_shape_db(const grid& slots, const std::vector<double>& ripple_db, double tilt_db,
                   std::vector<double>& shape_db);

/// Amplifies so that the power-weighted mean gain of the present light is `gain_db`, then adds
/// noise. `shape_db` is scratch space for the shape.
void amplify(light& beam, const grid& slots, double gain_db, double noise_figure_db,
             const std::vector<double>& shape_db);

/// Noise at the output in a bandwidth, mW. The signal's OSNR in 12.5 GHz after a single amplifier
/// is 58 + its input power (dBm) - noise figure; 58 is the shot noise of 12.5 GHz at 1550 nm.
double amplifier_noise_mw(double gain_db, double noise_figure_db, double width_ghz);

/// The gain that the amplifier can maintain: the set gain, or what its output limit allows.
double held_gain_db(double set_gain_db, double input_dbm, double limit_dbm);

}  // namespace sim
