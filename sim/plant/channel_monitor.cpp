#include "sim/plant/channel_monitor.h"

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"

namespace sim {

channel_monitor::channel_monitor(const monitor_settings& settings, std::size_t slots,
                                 noise_source noise)
    : settings_(settings),
      noise_(noise),
      power_dbm_(slots, settings.floor_dbm),
      detected_(slots, false),
      total_dbm_(settings.floor_dbm) {}

void channel_monitor::set_detect_level(double level_dbm) {
  require_range("detection level", level_dbm, -60.0, 0.0, "dBm");
  settings_.detect_level_dbm = level_dbm;
  detect();
}

bool channel_monitor::step(const light& beam, double dt_s) {
  constexpr double tolerance_s = 1e-9;
  since_pass_s_ += dt_s;
  if (since_pass_s_ < settings_.period_s - tolerance_s) return false;
  since_pass_s_ -= settings_.period_s;
  if (stuck_) return false;
  ++passes_;
  if (repeat_) {
    repeat_ = false;
  } else {
    measure(beam);
  }
  return true;
}

void channel_monitor::measure(const light& beam) {
  const double tap = ratio_of_db(-settings_.tap_loss_db);
  double total_mw = 0.0;
  for (std::size_t i = 0; i < power_dbm_.size(); ++i) {
    // The detector's dark signal is subtracted before a reading is shown, so that the floor limits
    // the scale and distorts nothing above it.
    const double read_dbm = dbm_of_mw(beam.slot_mw(i) * tap) + settings_.offset_db +
                            noise_.gaussian(settings_.noise_db);
    power_dbm_[i] = rounded_to(std::max(read_dbm, settings_.floor_dbm), settings_.resolution_db);
    total_mw += ratio_of_db(power_dbm_[i]);
  }
  total_dbm_ = rounded_to(dbm_of_mw(total_mw), settings_.resolution_db);
  detect();
}

void channel_monitor::detect() {
  // A channel right at the level must not come and go with the noise.
  constexpr double hysteresis_db = 0.5;
  for (std::size_t i = 0; i < power_dbm_.size(); ++i) {
    const double level_dbm = settings_.detect_level_dbm - (detected_[i] ? hysteresis_db : 0.0);
    detected_[i] = power_dbm_[i] >= level_dbm;
  }
}

}  // namespace sim
