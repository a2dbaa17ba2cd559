// How fast channels reach their targets, and that a change of one channel leaves the others alone.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

figures first_channel(const std::string& model, std::uint64_t seed) {
  const auto node = started(dark_topology(model, seed));
  const auto channel = node->channels()[node->channels().size() / 2];
  // One cycle after it is lit, the channel is still at the parked attenuation: its error there says
  // how weak the laser must be for an error of 15 dB.
  auto laser = node->plant().get_laser(0, channel);
  laser.on = true;
  laser.ramp_s = 0.0;
  node->plant().set_laser(0, channel, laser);
  node->cycle();
  laser.power_dbm += -15.0 - node->true_error(channel);
  laser.on = false;
  node->plant().set_laser(0, channel, laser);
  node->run_for(30s);

  const channel_watch watch(*node);
  laser.on = true;
  node->plant().set_laser(0, channel, laser);
  const double time = seconds_until(
      *node, [&] { return node->on_target(channel); }, 60s);
  const double steps = watch.steps(channel);
  node->run_for(30s);
  require(node->on_target(channel), "the channel does not stay");
  return {steps, time};
}

figures full_band(const std::string& model, std::uint64_t seed) {
  const auto node = started(dark_topology(model, seed));
  const channel_watch watch(*node);
  node->plant().fill_band(0);
  const double time = seconds_until(
      *node, [&] { return node->all_on_target(); }, 60s);
  node->run_for(30s);
  require(node->all_on_target(), "the channels do not stay");
  return {time, most_steps(*node, watch)};
}

/// Largest move of the light and largest step of the switches while a minute goes by.
struct disturbance {
  double moved_db = 0.0;
  double step_db = 0.0;
};

void watch_others(plant_node& node, unsigned changed, const std::map<unsigned, double>& before,
                  disturbance& worst) {
  channel_watch add(node, sim::direction::rx);
  channel_watch drop(node, sim::direction::tx);
  for (int i = 0; i < 120; ++i) {
    node.cycle();
    add.look();
    drop.look();
  }
  for (const auto channel : node.channels()) {
    if (channel == changed) continue;
    worst.moved_db =
        std::max(worst.moved_db, std::fabs(node.true_error(channel) - before.at(channel)));
    worst.step_db =
        std::max({worst.step_db, add.largest_change(channel), drop.largest_change(channel)});
  }
}

figures one_channel_less_and_more(const std::string& model, std::uint64_t seed) {
  const auto node = at_rest(model, seed);
  const auto changed = node->channels()[7];
  std::map<unsigned, double> before;
  for (const auto channel : node->channels())
    before[channel] = node->true_error(channel);
  disturbance worst;
  node->plant().switch_laser(0, changed, false);
  if (node->has_channels_by_command()) {
    node->run("command/channel/remove",
              fmt::format(R"({{"center":{},"direction":"both"}})", changed));
  }
  watch_others(*node, changed, before, worst);
  if (node->has_channels_by_command()) node->add_channel(changed);
  node->plant().switch_laser(0, changed, true);
  watch_others(*node, changed, before, worst);
  require(node->on_target(changed), "the channel does not come back");
  return {worst.moved_db, worst.step_db};
}

figures half_the_band_lost(const std::string& model, std::uint64_t seed) {
  const auto node = at_rest(model, seed);
  const auto& channels = node->channels();
  for (std::size_t i = 0; i < channels.size() / 2; ++i) {
    node->plant().change_laser(0, channels[i], [](sim::laser_settings& laser) {
      laser.on = false;
      laser.ramp_s = 0.0;
    });
  }
  node->run_for(6s);
  double worst = 0.0;
  for (std::size_t i = channels.size() / 2; i < channels.size(); ++i)
    worst = std::max(worst, std::fabs(node->true_error(channels[i])));
  return {worst};
}

}  // namespace

std::vector<bar> client_bars() {
  return {
      {"first-channel",
       "the first channel, 15 dB off",
       {{"steps", 3}, {"s to target", 12}},
       all_models,
       first_channel},
      {"full-band",
       "a full band lit at once",
       {{"s to target", 15}, {"steps of a channel", 4}},
       all_models,
       full_band},
      {"one-channel",
       "one channel of a full band gone, and back",
       {{"dB that another moves", 0.3}, {"dB of its largest step", 0.3}},
       all_models,
       one_channel_less_and_more},
      {"half-band",
       "half the band lost in one reading",
       {{"dB of a survivor after 6 s", 0.3}},
       all_models,
       half_the_band_lost},
  };
}

}  // namespace bars
