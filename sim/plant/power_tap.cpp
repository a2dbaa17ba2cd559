#include "sim/plant/power_tap.h"

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/settling.h"

namespace sim {

power_tap::power_tap(const tap_settings& settings, double settling_s, double noise_db,
                     double resolution_db, noise_source noise)
    : settings_(settings),
      settling_s_(settling_s),
      noise_db_(noise_db),
      resolution_db_(resolution_db),
      noise_(noise) {}

void power_tap::set_offset(double offset_db) {
  settings_.offset_db = offset_db;
  drifted_db_ = 0.0;
}

void power_tap::step(double true_mw, double dt_s) {
  constexpr double day_s = 86400.0;
  constexpr double tolerance_s = 1e-9;
  drifted_db_ += settings_.drift_db_per_day * dt_s / day_s;
  seen_mw_ = approach(seen_mw_, true_mw, dt_s, settling_s_);
  since_refresh_s_ += dt_s;
  if (since_refresh_s_ < refresh_s - tolerance_s) return;
  since_refresh_s_ = 0.0;
  const double shown_dbm = dbm_of_mw(seen_mw_) + offset_db() + noise_.gaussian(noise_db_);
  reading_dbm_ = rounded_to(std::max(shown_dbm, floor_dbm), resolution_db_);
}

}  // namespace sim
