// One erbium amplifier: keeps its set gain (the power-weighted mean over the present light) until
// its output limit takes over, and reports its state.
#pragma once

#include <vector>

#include "sim/optics/light.h"
#include "sim/plant/noise.h"
#include "sim/plant/power_tap.h"

namespace sim {

class amplifier {
 public:
  /// `ripple_phase` makes this amplifier's ripple differ from another's.
  amplifier(const amplifier_settings& settings, const grid& slots, double ripple_phase,
            power_tap input, power_tap output, noise_source noise);

  /// `tapped_mw` is the power at the input tap.
  void step(light& beam, double tapped_mw, double dt_s);

  /// Throws nx_error -22 outside the amplifier's range.
  void set_gain(double gain_db);
  /// How much less it gives than it reports.
  void set_deficit(double deficit_db) { deficit_db_ = deficit_db; }
  /// Lowers the power limit, including the reported one, for `duration_s`; 0 means until the next
  /// call.
  void drop_limit(double drop_db, double duration_s);
  void set_enabled(bool enabled) { enabled_ = enabled; }

  const amplifier_settings& settings() const { return settings_; }
  double set_gain_db() const { return set_gain_db_; }
  bool enabled() const { return enabled_; }
  double true_gain_db() const { return gain_db_ - deficit_db_; }
  double limit_drop_db() const { return full_limit_dbm_ - settings_.power_limit_dbm; }
  /// As it reports it.
  double saturation_db() const { return emitting_ ? set_gain_db_ - gain_db_ : 0.0; }
  double shown_gain_db() const { return shown_gain_db_; }
  bool loss_of_signal() const { return loss_of_signal_; }
  const std::vector<double>& ripple_db() const { return ripple_db_; }
  power_tap& input() { return input_; }
  power_tap& output() { return output_; }
  const power_tap& input() const { return input_; }
  const power_tap& output() const { return output_; }

  unsigned writes = 0;

 private:
  void follow_gain(double input_mw, double dt_s);
  void watch_signal(double input_mw);
  void show_gain(double dt_s);
  void recover_limit(double dt_s);

  amplifier_settings settings_;
  const grid* slots_;
  std::vector<double> ripple_db_;
  std::vector<double> shape_db_;
  power_tap input_;
  power_tap output_;
  noise_source noise_;
  bool enabled_;
  bool emitting_ = false;
  double full_limit_dbm_;
  double limit_drop_left_s_ = 0.0;  // 0: permanent
  double deficit_db_ = 0.0;
  double set_gain_db_;
  double gain_db_;
  double seen_gain_db_;
  double shown_gain_db_;
  double since_refresh_s_ = 0.0;
  bool loss_of_signal_ = true;
};

}  // namespace sim
