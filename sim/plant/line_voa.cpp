#include "sim/plant/line_voa.h"

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"
#include "sim/plant/settling.h"

namespace sim {

line_voa::line_voa(const voa_settings& settings) : settings_(settings) {
  set_exactly(settings.start_attenuation_db);
}

void line_voa::set_exactly(double attenuation_db) {
  set_db_ = actual_db_ = shown_db_ = attenuation_db;
  settling_s_ = 0.0;
}

void line_voa::set_attenuation(double attenuation_db) {
  require_range("attenuation", attenuation_db, 0.0, settings_.max_attenuation_db, "dB");
  ++writes;
  set_db_ =
      std::clamp(rounded_to(attenuation_db, settings_.step_db), 0.0, settings_.max_attenuation_db);
  settling_s_ = std::max(settings_.settling_s, 1e-9);
}

void line_voa::step(double dt_s) {
  if (settling_s_ <= 0.0) return;
  settling_s_ -= dt_s;
  if (settling_s_ > 1e-9) {
    actual_db_ = approach(actual_db_, set_db_, dt_s, settings_.settling_s);
    return;
  }
  settling_s_ = 0.0;
  actual_db_ = shown_db_ = set_db_;
}

}  // namespace sim
