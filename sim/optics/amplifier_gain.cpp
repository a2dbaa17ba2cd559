#include "sim/optics/amplifier_gain.h"

#include <algorithm>

#include "sim/optics/decibel.h"

namespace sim {

void gain_shape_db(const grid& slots, const std::vector<double>& ripple_db, double tilt_db,
                   std::vector<double>& shape_db) {
  shape_db.resize(slots.size());
  for (std::size_t i = 0; i < slots.size(); ++i) {
    shape_db[i] = ripple_db[i] + tilt_db * band_position(slots, i);
  }
}

double amplifier_noise_mw(double gain_db, double noise_figure_db, double width_ghz) {
  constexpr double shot_noise_dbm = -58.0;  // h x 193.4 THz x 12.5 GHz
  return ratio_of_db(gain_db + noise_figure_db + shot_noise_dbm) * width_ghz / osnr_bandwidth_ghz;
}

void amplify(light& beam, const grid& slots, double gain_db, double noise_figure_db,
             const std::vector<double>& shape_db) {
  const double input_mw = beam.total_mw();
  double shaped_mw = 0.0;
  for (std::size_t i = 0; i < beam.size(); ++i) {
    const double factor = ratio_of_db(shape_db[i]);
    beam.signal_mw[i] *= factor;
    beam.noise_mw[i] *= factor;
    shaped_mw += beam.slot_mw(i);
  }
  const double level = shaped_mw > 0.0 ? input_mw / shaped_mw : 1.0;
  const double mean_gain = ratio_of_db(gain_db) * level;
  const double own_noise_mw_per_ghz = amplifier_noise_mw(gain_db, noise_figure_db, 1.0) * level;
  for (std::size_t i = 0; i < beam.size(); ++i) {
    beam.signal_mw[i] *= mean_gain;
    beam.noise_mw[i] *= mean_gain;
    beam.noise_mw[i] += own_noise_mw_per_ghz * ratio_of_db(shape_db[i]) * slots[i].width_ghz;
  }
}

double held_gain_db(double set_gain_db, double input_dbm, double limit_dbm) {
  return std::min(set_gain_db, limit_dbm - input_dbm);
}

}  // namespace sim
