#include "sim/plant/laser.h"

#include <algorithm>
#include <cmath>

#include "sim/optics/decibel.h"

namespace sim {

void laser::set(const laser_settings& settings) {
  const bool on = settings.on;
  if (settings.drift_db_per_hour == 0.0) drift_db_ = 0.0;
  const bool was_on = settings_.on;
  settings_ = settings;
  settings_.on = was_on;
  switch_to(on);
}

void laser::switch_to(bool on) {
  if (on && !settings_.on) {
    ramp_done_ = 0.0;
    lit_s_ = 0.0;
  }
  settings_.on = on;
}

bool laser::in_dark_half() const {
  const double period_s = settings_.flicker_period_s;
  return period_s > 0.0 && std::fmod(lit_s_, period_s) >= period_s / 2.0;
}

void laser::step(double dt_s) {
  if (!settings_.on) {
    power_mw_ = 0.0;
    return;
  }
  lit_s_ += dt_s;
  drift_db_ += settings_.drift_db_per_hour * dt_s / 3600.0;
  ramp_done_ = settings_.ramp_s > 0.0 ? std::min(1.0, ramp_done_ + dt_s / settings_.ramp_s) : 1.0;
  // The drive current rises linearly, and the power above threshold with it.
  power_mw_ = in_dark_half() ? 0.0 : ramp_done_ * mw_of_dbm(settings_.power_dbm + drift_db_);
}

}  // namespace sim
