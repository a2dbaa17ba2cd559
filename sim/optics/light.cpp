#include "sim/optics/light.h"

#include <algorithm>
#include <numeric>

#include "sim/optics/decibel.h"

namespace sim {

grid make_grid(unsigned first_key, unsigned spacing, unsigned count, unsigned group) {
  grid slots;
  slots.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    const unsigned key = first_key + spacing * (i + (group == 0 ? 0 : i / group));
    slots.push_back({.key = key, .centre_thz = key / 1e5, .width_ghz = spacing / 100.0});
  }
  return slots;
}

double band_position(const grid& slots, std::size_t index) {
  const double low = slots.front().centre_thz;
  const double high = slots.back().centre_thz;
  return high > low ? (slots[index].centre_thz - low) / (high - low) - 0.5 : 0.0;
}

double light::total_mw() const {
  return std::accumulate(noise_mw.begin(), noise_mw.end(),
                         std::accumulate(signal_mw.begin(), signal_mw.end(), 0.0));
}

void light::clear() {
  std::fill(signal_mw.begin(), signal_mw.end(), 0.0);
  std::fill(noise_mw.begin(), noise_mw.end(), 0.0);
}

void attenuate(light& beam, double loss_db) {
  if (loss_db == 0.0) return;
  const double factor = ratio_of_db(-loss_db);
  for (double& power : beam.signal_mw)
    power *= factor;
  for (double& power : beam.noise_mw)
    power *= factor;
}

void attenuate_each(light& beam, std::span<const double> loss_db) {
  for (std::size_t i = 0; i < beam.size(); ++i) {
    if (loss_db[i] == 0.0) continue;
    const double factor = ratio_of_db(-loss_db[i]);
    beam.signal_mw[i] *= factor;
    beam.noise_mw[i] *= factor;
  }
}

double osnr_db(const light& beam, const grid& slots, std::size_t index) {
  const double noise_mw = beam.noise_mw[index] * osnr_bandwidth_ghz / slots[index].width_ghz;
  if (beam.signal_mw[index] <= 0.0 || noise_mw <= 0.0) return dark_dbm;
  return db_of_ratio(beam.signal_mw[index] / noise_mw);
}

}  // namespace sim
