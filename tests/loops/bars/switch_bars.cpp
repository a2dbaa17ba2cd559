// Switches and amplifiers that lie, refuse, move late or repeat old readings.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "tests/loops/bars/node_case.h"
#include "tests/loops/bars/switch_faults.h"

namespace bars {

namespace {

using sim::reading_fault;

constexpr auto side = sim::direction::rx;

/// Seconds until the others rest: after the band's light, and the worst of some jumps.
double regulate_others(plant_node& node, unsigned bad) {
  node.plant().fill_band(0);
  double worst = seconds_until(
      node, [&] { return others_rest(node, bad); }, 2min);
  for (const std::size_t place : {0u, 20u, 25u}) {
    const double jump =
        seconds_after_jump(node, node.channels()[place], [&] { return others_rest(node, bad); });
    worst = std::max(worst, jump);
  }
  return worst;
}

figures one_refuses(const std::string& model, std::uint64_t seed) {
  const auto time_with = [&](const std::function<void(plant_node&, unsigned)>& spoil) {
    const auto node = started(dark_topology(model, seed));
    const auto bad = node->channels()[3];
    spoil(*node, bad);
    const double time = regulate_others(*node, bad);
    heal_writes(*node, model);
    node->plant().heal_readings(0, monitor_device(model));
    require(node->run_until([&] { return all_rest(*node); }, 30s), "the bad one does not follow");
    return time;
  };
  const double healthy = time_with([](plant_node&, unsigned) {});
  double worst = 0.0;
  worst = std::max(
      worst, time_with([&](plant_node& node, unsigned bad) { refuse_writes(node, model, bad); }));
  for (const bool detected : {false, true}) {
    worst = std::max(worst, time_with([&](plant_node& node, unsigned bad) {
                       node.plant().set_reading_fault(
                           0, monitor_device(model),
                           power_path(model, fmt::format("{}", bad), detected),
                           reading_fault::failed());
                     }));
  }
  return {healthy, worst, worst - healthy};
}

figures a_lying_switch(const std::string& model, std::uint64_t seed) {
  double worst = 0.0;
  for (const auto fault : all_switch_faults) {
    const auto node = started(dark_topology(model, seed));
    const switch_spoiler spoiler(*node, model, fault);
    node->plant().fill_band(0);
    const auto look = [&] {
      worst = std::max(worst, seconds_until(
                                  *node, [&] { return all_rest(*node); }, 2min));
    };
    look();
    node->disturb(node->channels()[5], 3.0);
    node->cycle();
    look();
  }
  // A channel that its whole range does not bring to its target.
  const auto node = at_rest(model, seed);
  const auto channel = node->channels()[5];
  const switch_spoiler spoiler(*node, model, switch_fault::trembling);
  node->disturb(channel, -12.0);
  node->run_for(1min);
  const channel_watch watch(*node);
  node->run_for(20min);
  return {worst, 3.0 * watch.steps(channel)};
}

figures readings_of_before(const std::string& model, std::uint64_t seed) {
  double steps = 0.0;
  double calibration_db = 0.0;
  double time = 0.0;
  for (const bool daemon_too : {false, true}) {
    const auto node = at_rest(model, seed);
    auto& plant = node->plant();
    const double calibration = node->number("data/client/rx/edfaCalibration");
    const auto look_at_calibration = [&] {
      const double now = node->number("data/client/rx/edfaCalibration");
      calibration_db = std::max(calibration_db, std::fabs(now - calibration));
    };
    auto devices = switch_devices(model);
    devices.push_back("booster");
    for (const auto& device : devices) {
      plant.set_stale_after_restart(0, device, 20s);
      plant.set_nexel_state(0, device, sim::nexel_state::killed);
    }
    node->run_for(5s);
    for (const auto channel : node->channels())
      node->disturb(channel, 3.0);
    node->run_for(2s);
    const channel_watch watch(*node);
    for (const auto& device : devices)
      plant.set_nexel_state(0, device, sim::nexel_state::ok);
    if (daemon_too) {
      node->restart();
      write_modes(*node);
    }
    node->run_for(18s);
    steps = std::max<double>(steps, watch.all_steps());
    node->run_for(2s);
    time = std::max(time, seconds_until(
                              *node, [&] { return all_rest(*node); }, 2min));
    look_at_calibration();
    node->run_for(10min);
    look_at_calibration();
  }
  return {steps, calibration_db, time};
}

figures a_falling_limit(const std::string& model, std::uint64_t seed) {
  const auto node = at_rest(model, seed);
  auto& plant = node->plant();
  std::map<unsigned, double> before;
  for (const auto channel : node->channels())
    before[channel] = plant.switch_attenuation_db(0, side, channel);
  double opened_db = 0.0;
  double deepest_db = 0.0;
  plant.drop_power_limit(0, side, 3.0, 60s);
  for (const auto begin = node->now(); node->now() - begin < 60s;) {
    node->cycle();
    deepest_db = std::max(deepest_db, plant.amplifier_saturation_db(0, side));
    if (plant.amplifier_saturation_db(0, side) <= 1.0) continue;
    for (const auto channel : node->channels()) {
      opened_db =
          std::max(opened_db, before[channel] - plant.switch_attenuation_db(0, side, channel));
    }
  }
  require(deepest_db > 1.0, "the amplifier does not saturate");
  const channel_watch watch(*node);
  const double time = seconds_until(
      *node, [&] { return all_rest(*node); }, 2min);
  node->run_for(15s);
  return {opened_db, time, most_steps(*node, watch)};
}

}  // namespace

std::vector<bar> switch_bars() {
  return {
      {"one-refuses",
       // A pass of the monitor and the cycle after it, depending on the noise.
       "one channel whose device refuses writes or reads",
       {{"s without", any}, {"s of the others", any}, {"s longer", 1.5}},
       all_models,
       one_refuses},
      {"lying-switch",
       "a switch that loses writes, rounds, moves late, trembles or reads back nothing new",
       {{"s to rest", 30}, {"writes an hour at the end", 0}},
       all_models,
       a_lying_switch},
      {"old-readings",
       "readings of before for 20 s after a restart",
       {{"steps on them", 0}, {"dB of calibration learned", 0.2}, {"s after fresh ones", 15}},
       all_models,
       readings_of_before},
      {"falling-limit",
       "the booster's limit 3 dB lower for a minute",
       {{"dB opened in saturation", 0.35}, {"s after", 15}, {"steps of a channel after", 4}},
       all_models,
       a_falling_limit},
  };
}

}  // namespace bars
