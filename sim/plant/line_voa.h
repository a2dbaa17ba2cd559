// The variable attenuator between the booster and the line.
#pragma once

#include "sim/plant/topology.h"

namespace sim {

class line_voa {
 public:
  explicit line_voa(const voa_settings& settings);

  void step(double dt_s);
  double loss_db() const { return settings_.insertion_loss_db + actual_db_; }

  /// Throws nx_error -22 outside the range.
  void set_attenuation(double attenuation_db);
  void set_exactly(double attenuation_db);

  const voa_settings& settings() const { return settings_; }
  double shown_attenuation_db() const { return shown_db_; }
  double true_attenuation_db() const { return actual_db_; }

  unsigned writes = 0;

 private:
  voa_settings settings_;
  double set_db_ = 0.0;
  double actual_db_ = 0.0;
  double shown_db_ = 0.0;
  double settling_s_ = 0.0;
};

}  // namespace sim
