// A power meter behind a tap: follows the light with the instrument's settling time, and shows it
// with an offset, a drift, noise and a resolution.
#pragma once

#include "sim/plant/noise.h"
#include "sim/plant/topology.h"

namespace sim {

class power_tap {
 public:
  power_tap(const tap_settings& settings, double settling_s, double noise_db, double resolution_db,
            noise_source noise);

  void step(double true_mw, double dt_s);
  double reading_dbm() const { return reading_dbm_; }

  double offset_db() const { return settings_.offset_db + drifted_db_; }
  void set_offset(double offset_db);
  void set_drift(double db_per_day) { settings_.drift_db_per_day = db_per_day; }

 private:
  static constexpr double refresh_s = 0.1;
  static constexpr double floor_dbm = -60.0;

  tap_settings settings_;
  double settling_s_;
  double noise_db_;
  double resolution_db_;
  noise_source noise_;
  double drifted_db_ = 0.0;
  double seen_mw_ = 0.0;
  double since_refresh_s_ = refresh_s;
  double reading_dbm_ = floor_dbm;
};

}  // namespace sim
