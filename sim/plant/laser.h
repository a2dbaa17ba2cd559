// The light that one client port receives: its power over time, with the faults that a transponder
// can have. It goes dark instantly and lights up with a ramp.
#pragma once

#include "sim/plant.h"

namespace sim {

class laser {
 public:
  /// On from the start means already lit, without a ramp.
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
