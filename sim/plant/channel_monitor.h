// The optical channel monitor at a power tap: measures every slot in passes, and shows each pass
// with its offset, noise and resolution, down to its floor.
#pragma once

#include <vector>

#include "sim/optics/light.h"
#include "sim/plant/noise.h"
#include "sim/plant/topology.h"

namespace sim {

class channel_monitor {
 public:
  channel_monitor(const monitor_settings& settings, std::size_t slots, noise_source noise);

  /// True if a pass ended in this step. `beam` is the light before the tap.
  bool step(const light& beam, double dt_s);

  const monitor_settings& settings() const { return settings_; }
  double power_dbm(std::size_t slot) const { return power_dbm_[slot]; }
  bool detected(std::size_t slot) const { return detected_[slot]; }
  double total_dbm() const { return total_dbm_; }
  double detect_level_dbm() const { return settings_.detect_level_dbm; }
  void set_detect_level(double level_dbm);

  void set_offset(double offset_db) { settings_.offset_db = offset_db; }
  void set_stuck(bool stuck) { stuck_ = stuck; }
  void repeat_next_pass() { repeat_ = true; }
  unsigned passes() const { return passes_; }

 private:
  void measure(const light& beam);
  void detect();

  monitor_settings settings_;
  noise_source noise_;
  std::vector<double> power_dbm_;
  std::vector<bool> detected_;
  double total_dbm_;
  double since_pass_s_ = 0.0;
  unsigned passes_ = 0;
  bool stuck_ = false;
  bool repeat_ = false;
};

}  // namespace sim
