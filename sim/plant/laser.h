// The light that one client port gets: its power over time, with the faults that a transponder can
// have. Going dark is sudden, lighting takes its ramp.
#pragma once

#include "sim/plant.h"

namespace sim {

class laser {
 public:
  /// On from the start means lit already, without a ramp.
  explicit laser(const laser_settings& settings) : settings_(settings) {}

  const laser_settings& settings() const { return settings_; }
  void set(const laser_settings& settings);
  void switch_to(bool on);

  void step(double dt_s);
  double power_mw() const { return power_mw_; }
  bool steady() const { return settings_.on && ramp_done_ >= 1.0; }

 private:
  bool in_dark_half() const;

  laser_settings settings_;
  double ramp_done_ = 1.0;
  double drift_db_ = 0.0;
  double lit_s_ = 0.0;
  double power_mw_ = 0.0;
};

}  // namespace sim
