#include "sim/plant/wave_switch.h"

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"
#include "sim/plant/settling.h"

namespace sim {

wave_switch::wave_switch(const switch_settings& settings, std::size_t slots, noise_source noise)
    : settings_(settings), noise_(noise), channels_(slots), loss_db_(slots) {
  for (std::size_t i = 0; i < slots; ++i)
    set_exactly(i, settings.start_attenuation_db);
}

void wave_switch::update_loss(std::size_t slot) {
  const channel& of = channels_[slot];
  const bool open = of.configured && !of.blocked;
  loss_db_[slot] = settings_.insertion_loss_db + of.actual_db + (open ? 0.0 : settings_.block_db) +
                   of.port_loss_db;
}

void wave_switch::start_settling(channel& moved) {
  if (moved.settling_s <= 0.0) ++unsettled_;
  moved.settling_s = std::max(settings_.settling_s, 1e-9);
}

void wave_switch::set_attenuation(std::size_t slot, double attenuation_db) {
  require_range("attenuation", attenuation_db, 0.0, settings_.max_attenuation_db, "dB");
  channel& of = channels_[slot];
  ++of.writes.switch_attenuation;
  const double set_db =
      std::clamp(rounded_to(attenuation_db, settings_.step_db), 0.0, settings_.max_attenuation_db);
  if (set_db == of.set_db) return;
  of.set_db = set_db;
  of.goal_db = std::max(
      0.0, set_db + noise_.uniform(-settings_.repeatability_db, settings_.repeatability_db));
  start_settling(of);
}

void wave_switch::set_exactly(std::size_t slot, double attenuation_db) {
  channel& of = channels_[slot];
  of.set_db = of.goal_db = of.actual_db = of.shown_db = attenuation_db;
  if (of.settling_s > 0.0) --unsettled_;
  of.settling_s = 0.0;
  update_loss(slot);
}

void wave_switch::set_blocked(std::size_t slot, bool blocked) {
  ++channels_[slot].writes.switch_port;
  channels_[slot].blocked = blocked;
  update_loss(slot);
}

void wave_switch::set_configured(std::size_t slot, bool configured) {
  channels_[slot].configured = configured;
  update_loss(slot);
}

void wave_switch::set_port_loss(std::size_t slot, double loss_db) {
  channels_[slot].port_loss_db = loss_db;
  update_loss(slot);
}

void wave_switch::step(double dt_s) {
  if (unsettled_ == 0) return;
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    channel& of = channels_[i];
    if (of.settling_s <= 0.0) continue;
    of.settling_s -= dt_s;
    if (of.settling_s > 1e-9) {
      of.actual_db = approach(of.actual_db, of.goal_db, dt_s, settings_.settling_s);
    } else {
      of.settling_s = 0.0;
      of.actual_db = of.goal_db;
      of.shown_db = of.set_db;
      --unsettled_;
    }
    update_loss(i);
  }
}

write_counters wave_switch::all_counters() const {
  write_counters sum;
  for (const channel& of : channels_) {
    sum.switch_attenuation += of.writes.switch_attenuation;
    sum.switch_port += of.writes.switch_port;
  }
  return sum;
}

void wave_switch::reset_counters() {
  for (channel& of : channels_)
    of.writes = {};
}

}  // namespace sim
