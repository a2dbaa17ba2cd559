// Decibels and milliwatts. Powers are added in milliwatts, never in decibels.
#pragma once

#include <cmath>
#include <numbers>

namespace sim {

/// Below every instrument's floor; the reading for "no light".
inline constexpr double dark_dbm = -99.0;

inline double ratio_of_db(double value_db) {
  return std::exp(value_db * (std::numbers::ln10 / 10.0));
}

inline double db_of_ratio(double ratio) {
  return 10.0 * std::log10(ratio);
}

inline double mw_of_dbm(double power_dbm) {
  return power_dbm <= dark_dbm ? 0.0 : ratio_of_db(power_dbm);
}

inline double dbm_of_mw(double power_mw) {
  const double power_dbm = power_mw > 0.0 ? db_of_ratio(power_mw) : dark_dbm;
  return power_dbm < dark_dbm ? dark_dbm : power_dbm;
}

/// Rounded to a multiple of `step`; a step of 0 leaves the value as it is.
inline double rounded_to(double value, double step) {
  return step > 0.0 ? std::round(value / step) * step : value;
}

}  // namespace sim
