// The true state of the plant, without an instrument in between: what tests and users judge by.
#pragma once

#include "sim/plant/line_system.h"

namespace sim {

double channel_power_dbm(const node& of, measuring_point where, std::size_t slot_index);
double total_power_dbm(const node& of, measuring_point where);
const wave_switch& switch_of(const node& of, direction side);
const amplifier& amplifier_of(const node& of, direction side);
const channel_monitor& monitor_of(const node& of, direction side);

inline wave_switch& switch_of(node& of, direction side) {
  return side == direction::rx ? of.add_switch : of.drop_switch;
}
inline amplifier& amplifier_of(node& of, direction side) {
  return side == direction::rx ? of.booster : of.preamp;
}
inline channel_monitor& monitor_of(node& of, direction side) {
  return side == direction::rx ? of.booster_monitor : of.preamp_monitor;
}
power_tap& tap_of(node& of, tap which);

}  // namespace sim
