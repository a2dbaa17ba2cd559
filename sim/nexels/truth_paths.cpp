// The values of the tree "sim": under "truth" the true state, under "reading" what the instruments
// make of it, with the same names for easy comparison, and under "counters" the daemon's writes.
#include <fmt/format.h>

#include <cmath>

#include "sim/nexels/control_tree.h"
#include "sim/optics/decibel.h"
#include "sim/plant/truth.h"

namespace sim {

namespace {

/// To a hundredth of a dB: more would only be traffic.
float shown(double value) {
  constexpr double resolution = 0.01;
  constexpr double no_light_left_db = 99.0;
  if (!std::isfinite(value)) return static_cast<float>(no_light_left_db);
  return static_cast<float>(rounded_to(value, resolution));
}

measuring_point output_of(direction side) {
  return side == direction::rx ? measuring_point::booster_output : measuring_point::preamp_output;
}

}  // namespace

void control_tree::follow(const std::string& path, const std::function<double()>& value) {
  follow(add_reading<float>(path, shown(value())), [value] { return shown(value()); });
}

void control_tree::count(const std::string& path, const std::function<unsigned()>& value) {
  follow(add_reading<unsigned int>(path, value()), value);
}

void control_tree::add_fibre_truth(unsigned fibre) {
  const fibre_span& of = system_.fibres[fibre];
  const auto below = fmt::format("truth/fibre/{}/", fibre);
  follow(below + "spanLoss", [&of] { return of.span_loss_db(); });
  follow(below + "ramanTilt", [&of] { return of.raman_tilt_db(); });
}

void control_tree::add_node_truth(unsigned number) {
  const node& of = *system_.nodes[number];
  const auto below = fmt::format("/node/{}/", number);
  follow("truth" + below + "voaAttenuation", [&of] { return of.voa.true_attenuation_db(); });
  follow("reading" + below + "voaAttenuation", [&of] { return of.voa.shown_attenuation_db(); });
  follow(add_reading<bool>("reading" + below + "oscLink", of.osc.ready()),
         [&of] { return of.osc.ready(); });
  count("counters" + below + "voaWrites", [&of] { return of.voa.writes; });
}

void control_tree::add_side_truth(unsigned number, direction side) {
  const node& of = *system_.nodes[number];
  const amplifier& device = amplifier_of(of, side);
  const auto below = fmt::format("/node/{}/{}/", number, word_of(side));
  follow("truth" + below + "gain", [&device] { return device.true_gain_db(); });
  follow("reading" + below + "gain", [&device] { return device.shown_gain_db(); });
  follow("truth" + below + "saturation", [&device] { return device.saturation_db(); });
  follow("truth" + below + "totalPower",
         [&of, side] { return total_power_dbm(of, output_of(side)); });
  follow("reading" + below + "totalPower", [&device] { return device.output().reading_dbm(); });
  count("counters" + below + "gainWrites", [&device] { return device.writes; });
  count("counters" + below + "switchWrites",
        [&of, side] { return switch_of(of, side).all_counters().switch_attenuation; });
}

void control_tree::add_channel_truth(unsigned number, unsigned channel) {
  const node& of = *system_.nodes[number];
  const auto slot = system_.slot_of(channel);
  const auto tell = [&](const char* side, const char* name, measuring_point where) {
    follow(fmt::format("truth/node/{}/{}/channel/{}/{}", number, side, channel, name),
           [&of, slot, where] { return channel_power_dbm(of, where, slot); });
  };
  tell("rx", "laserPower", measuring_point::laser);
  tell("rx", "boosterPower", measuring_point::booster_output);
  tell("rx", "linePower", measuring_point::line_output);
  tell("tx", "linePower", measuring_point::line_input);
  tell("tx", "preampPower", measuring_point::preamp_output);
  tell("tx", "clientPower", measuring_point::client_output);
  follow(fmt::format("truth/node/{}/rx/channel/{}/boosterTarget", number, channel),
         [this, number, slot] { return system_.booster_target_dbm(number, slot); });
  follow(fmt::format("truth/node/{}/tx/channel/{}/osnr", number, channel), [this, &of, slot] {
    return osnr_db(of.at(measuring_point::preamp_output), system_.slots, slot);
  });
  add_channel_side(number, channel, direction::rx);
  add_channel_side(number, channel, direction::tx);
}

void control_tree::add_channel_side(unsigned number, unsigned channel, direction side) {
  const node& of = *system_.nodes[number];
  const wave_switch& device = switch_of(of, side);
  const channel_monitor& monitor = monitor_of(of, side);
  const auto slot = system_.slot_of(channel);
  const auto below = fmt::format("/node/{}/{}/channel/{}/", number, word_of(side), channel);
  follow("truth" + below + "attenuation",
         [=, &device] { return device.true_attenuation_db(slot); });
  follow("reading" + below + "attenuation",
         [=, &device] { return device.shown_attenuation_db(slot); });
  follow("reading" + below + "monitorPower", [=, &monitor] { return monitor.power_dbm(slot); });
  count("counters" + below + "switchWrites",
        [=, &device] { return device.counters(slot).switch_attenuation; });
}

}  // namespace sim
