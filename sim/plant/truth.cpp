#include "sim/plant/truth.h"

#include "sim/optics/decibel.h"

namespace sim {

double channel_power_dbm(const node& of, measuring_point where, std::size_t slot_index) {
  return dbm_of_mw(of.at(where).signal_mw[slot_index]);
}

double total_power_dbm(const node& of, measuring_point where) {
  return dbm_of_mw(of.at(where).total_mw());
}

const wave_switch& switch_of(const node& of, direction side) {
  return side == direction::rx ? of.add_switch : of.drop_switch;
}

const amplifier& amplifier_of(const node& of, direction side) {
  return side == direction::rx ? of.booster : of.preamp;
}

const channel_monitor& monitor_of(const node& of, direction side) {
  return side == direction::rx ? of.booster_monitor : of.preamp_monitor;
}

power_tap& tap_of(node& of, tap which) {
  switch (which) {
    case tap::booster_input:
      return of.booster.input();
    case tap::booster_output:
      return of.booster.output();
    case tap::preamp_input:
      return of.preamp.input();
    case tap::preamp_output:
      return of.preamp.output();
    case tap::osc_input:
      return of.osc.input();
    case tap::osc_output:
      break;
  }
  return of.osc.output();
}

}  // namespace sim
