#include "sim/optics/fibre.h"

#include <cmath>

#include "sim/optics/decibel.h"

namespace sim {

double effective_length_km(double length_km, double loss_db_per_km) {
  const double alpha_per_km = loss_db_per_km / db_of_ratio(std::exp(1.0));
  if (alpha_per_km <= 0.0) return length_km;
  return (1.0 - std::exp(-alpha_per_km * length_km)) / alpha_per_km;
}

double raman_slope_db_per_thz(double launched_mw, double effective_km) {
  // 4.34 dB per neper; 0.034 /(W km THz) is the slope of standard fibre's Raman gain, a triangle
  // with its peak 13 THz below the pump, for light of mixed polarisation.
  constexpr double db_per_neper = 4.34;
  constexpr double gain_slope_per_w_km_thz = 0.034;
  return -db_per_neper * gain_slope_per_w_km_thz * (launched_mw / 1000.0) * effective_km;
}

void apply_slope(light& beam, const grid& slots, double slope_db_per_thz) {
  const double before_mw = beam.total_mw();
  if (before_mw <= 0.0 || slope_db_per_thz == 0.0) return;
  const double reference_thz = slots.front().centre_thz;
  for (std::size_t i = 0; i < beam.size(); ++i) {
    const double factor = ratio_of_db(slope_db_per_thz * (slots[i].centre_thz - reference_thz));
    beam.signal_mw[i] *= factor;
    beam.noise_mw[i] *= factor;
  }
  const double restore = before_mw / beam.total_mw();
  for (double& power : beam.signal_mw)
    power *= restore;
  for (double& power : beam.noise_mw)
    power *= restore;
}

double lit_bandwidth_thz(const light& beam, const grid& slots) {
  double low = 0.0;
  double high = 0.0;
  for (std::size_t i = 0; i < beam.size(); ++i) {
    if (beam.signal_mw[i] <= 0.0) continue;
    if (low == 0.0) low = slots[i].centre_thz;
    high = slots[i].centre_thz;
  }
  return high - low;
}

}  // namespace sim
