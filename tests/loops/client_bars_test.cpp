// The client loops on the plant, in plant time: how fast channels reach their targets, that they
// then rest, and that a change of one channel leaves the others alone.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <ostream>

#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

struct model {
  const char* product;
  bool regulates_tx;
  /// How far from its target a channel may rest and how large a step may be, dB. A channel at 7 to
  /// 8 dB of attenuation rests within 0.43 to 0.47 dB, and no step of it is smaller than nine
  /// tenths of that: on selka one of 48 channels happens to be at the edge.
  double rest_db;
  /// Steps of all channels in an hour of rest. The dead band grows with attenuation: at 5 dB, on
  /// orvakinet's drop side, and at 7.3 dB, on selka's add side, the monitor's noise now and then
  /// carries a channel that rests near its edge out of it.
  unsigned steps_at_rest;
  /// How far a survivor of half the band may then be off, dB. A channel that was lit 7 dB off comes
  /// to rest where its two steps leave it, a tenth of a large error below its target, and less tilt
  /// takes another twentieth of a dB.
  double survivor_db;
};

std::ostream& operator<<(std::ostream& out, const model& of) {
  return out << of.product;
}

constexpr model models[] = {
    {"orvalite", false, 0.3, 0, 0.4},
    {"orvakinet", true, 0.3, 5, 0.4},
    {"selkaplus", false, 0.45, 4, 0.45},
};

/// A node whose daemon has run through its start in the dark.
class client_bars : public testing::TestWithParam<model> {
 protected:
  void start_dark() {
    node_ = std::make_unique<plant_node>(test::dark_topology(GetParam().product));
    node_->start();
    node_->add_channels();
    node_->run_for(20s);
  }

  void light_and_rest() {
    start_dark();
    node_->plant().fill_band(0);
    node_->run_for(10min);
    ASSERT_TRUE(node_->all_on_target());
  }

  plant_node& node() { return *node_; }

  std::unique_ptr<plant_node> node_;
};

TEST_P(client_bars, first_channel_15_db_off_takes_three_steps_and_twelve_seconds) {
  start_dark();
  const auto channel = node().channels()[node().channels().size() / 2];
  // One cycle after it is lit, the channel is still at the parked attenuation of 15 dB: its error
  // there says how weak the laser must be for an error of 15 dB.
  sim::laser_settings laser = node().plant().get_laser(0, channel);
  laser.on = true;
  laser.ramp_s = 0.0;
  node().plant().set_laser(0, channel, laser);
  node().cycle();
  laser.power_dbm += -15.0 - node().true_error(channel);
  laser.on = false;
  node().plant().set_laser(0, channel, laser);
  node().run_for(30s);

  channel_watch watch(node());
  laser.on = true;
  node().plant().set_laser(0, channel, laser);
  ASSERT_TRUE(node().run_until([&] { return node().on_target(channel); }, 12s))
      << "error " << node().true_error(channel);
  EXPECT_LE(watch.steps(channel), 3u);
  node().run_for(30s);
  EXPECT_TRUE(node().on_target(channel)) << "error " << node().true_error(channel);
}

TEST_P(client_bars, full_band_lit_at_once_is_on_target_in_fifteen_seconds) {
  start_dark();
  channel_watch watch(node());
  node().plant().fill_band(0);
  EXPECT_TRUE(node().run_until([&] { return node().all_on_target(); }, 15s));
  node().run_for(30s);
  for (const auto channel : node().channels()) {
    EXPECT_TRUE(node().on_target(channel)) << channel << ": " << node().true_error(channel);
    EXPECT_LE(watch.steps(channel), 4u) << channel;
  }
}

TEST_P(client_bars, an_hour_of_rest_leaves_the_channels_alone) {
  light_and_rest();
  const auto voa_writes = node().plant().voa_writes(0);
  const channel_watch add(node(), sim::direction::rx);
  const channel_watch drop(node(), sim::direction::tx);
  node().run_for(1h);
  EXPECT_LE(add.all_steps() + drop.all_steps(), GetParam().steps_at_rest);
  EXPECT_LE(node().plant().voa_writes(0) - voa_writes, 1u);
  EXPECT_TRUE(node().all_on_target());
}

TEST_P(client_bars, one_channel_gone_and_back_leaves_the_others_alone) {
  light_and_rest();
  const auto changed = node().channels()[7];
  constexpr double rounding_db = 1e-4;  // of 0.3 as a float
  std::map<unsigned, double> before;
  for (const auto channel : node().channels())
    before[channel] = node().true_error(channel);
  const auto expect_others_alone = [&] {
    channel_watch add(node(), sim::direction::rx);
    channel_watch drop(node(), sim::direction::tx);
    for (int i = 0; i < 120; ++i) {
      node().cycle();
      add.look();
      drop.look();
    }
    for (const auto channel : node().channels()) {
      if (channel == changed) continue;
      EXPECT_NEAR(node().true_error(channel), before[channel], GetParam().rest_db) << channel;
      EXPECT_LE(add.largest_change(channel), GetParam().rest_db + rounding_db) << channel;
      EXPECT_LE(drop.largest_change(channel), GetParam().rest_db + rounding_db) << channel;
    }
  };
  node().plant().switch_laser(0, changed, false);
  if (node().has_channels_by_command()) {
    node().run("command/channel/remove",
               fmt::format(R"({{"center":{},"direction":"both"}})", changed));
  }
  expect_others_alone();
  if (node().has_channels_by_command()) node().add_channel(changed);
  node().plant().switch_laser(0, changed, true);
  expect_others_alone();
  EXPECT_TRUE(node().on_target(changed));
}

TEST_P(client_bars, half_the_band_lost_at_once_leaves_the_survivors_at_target) {
  light_and_rest();
  const auto& channels = node().channels();
  sim::laser_settings gone;
  gone.on = false;
  gone.ramp_s = 0.0;
  for (std::size_t i = 0; i < channels.size() / 2; ++i) {
    node().plant().set_laser(0, channels[i], gone);
  }
  node().run_for(6s);
  for (std::size_t i = channels.size() / 2; i < channels.size(); ++i) {
    EXPECT_LT(std::fabs(node().true_error(channels[i])), GetParam().survivor_db) << channels[i];
  }
}

TEST_P(client_bars, no_two_loops_write_in_one_cycle) {
  start_dark();
  node().plant().fill_band(0);
  auto& plant = node().plant();
  unsigned cycles_with_rx_steps = 0;
  unsigned cycles_with_tx_steps = 0;
  for (int i = 0; i < 240; ++i) {
    plant.reset_counters();
    node().cycle();
    const bool rx_wrote = plant.switch_writes(0, sim::direction::rx) > 0;
    const bool tx_wrote = plant.switch_writes(0, sim::direction::tx) > 0;
    const bool line_wrote = plant.voa_writes(0) > 0;
    EXPECT_LE(rx_wrote + tx_wrote + line_wrote, 1) << "cycle " << i;
    cycles_with_rx_steps += rx_wrote ? 1 : 0;
    cycles_with_tx_steps += tx_wrote ? 1 : 0;
  }
  EXPECT_GT(cycles_with_rx_steps, 0u);
  if (!GetParam().regulates_tx) {
    EXPECT_EQ(cycles_with_tx_steps, 0u);
    return;
  }
  EXPECT_GT(cycles_with_tx_steps, 0u);
  // Both amplifiers divide their limit in the same way; a saturated one gives less.
  const auto& settings = plant.get_topology().nodes.front();
  const double limits_apart_db = settings.preamp.power_limit_dbm - settings.booster.power_limit_dbm;
  const double readings_db = 0.3;  // noise, calibration, the switch's own step
  const double saturation_db = plant.amplifier_saturation_db(0, sim::direction::tx);
  for (const auto channel : node().channels()) {
    const double power = plant.channel_power_dbm(0, sim::measuring_point::preamp_output, channel);
    const double target = plant.booster_target_dbm(0, channel) + limits_apart_db - saturation_db;
    const double attenuation = plant.switch_attenuation_db(0, sim::direction::tx, channel);
    const double dead_band_db = 0.2 + attenuation / 30.0;
    EXPECT_NEAR(power, target, dead_band_db + readings_db) << channel;
  }
}

// Both sides correct on this model. When it looks at the channels, the add side says whether it
// wants the turn, and gets it in the next cycle.
TEST(drop_side, leaves_the_light_alone_while_the_add_side_wants_the_turn) {
  plant_node node("orvakinet");
  node.start();
  ASSERT_TRUE(node.run_until([&] { return node.all_on_target(); }, 2min));
  auto& plant = node.plant();
  const auto add_side_has_turn = [&] {
    return node.text("insight/cycle").find("client rx") != std::string::npos;
  };
  unsigned drop_steps = 0;
  for (int phase = 0; phase < 12; ++phase) {
    const double db = phase % 2 == 0 ? 3.0 : -3.0;
    plant.set_span_offset(1, std::max(db, 0.0));
    node.clock().at(node.now() + phase * 250ms, [&, db] { node.disturb(node.channels()[5], db); });
    bool drop_stepped = false;
    for (int i = 0; i < 40; ++i) {
      plant.reset_counters();
      node.cycle();
      EXPECT_FALSE(drop_stepped && add_side_has_turn()) << "phase " << phase << " cycle " << i;
      drop_stepped = plant.switch_writes(0, sim::direction::tx) > 0;
      drop_steps += drop_stepped ? 1 : 0;
    }
  }
  EXPECT_GT(drop_steps, 12u);
}

// A step of less than half the switch's own leaves the attenuation as it was, so the channel then
// waits for its effect.
TEST(coarse_switch, leaves_channels_settling_and_does_not_hunt) {
  auto topology = test::dark_topology("orvalite");
  topology.nodes[0].add_switch.step_db = 0.5;
  plant_node node(topology);
  node.start();
  node.run_for(20s);
  node.plant().fill_band(0);
  node.run_for(10min);
  const channel_watch add(node);
  node.run_for(1h);
  for (const auto channel : node.channels()) {
    EXPECT_LE(add.steps(channel), 1u) << channel;
    EXPECT_LT(std::fabs(node.true_error(channel)), 0.8) << channel;
  }
}

TEST(released_channel, is_regulated_from_the_attenuation_that_its_last_step_started_from) {
  plant_node node("orvalite");
  node.start();
  ASSERT_TRUE(node.run_until([&] { return node.all_on_target(); }, 60s));
  auto& plant = node.plant();
  const auto channel = node.channels()[5];
  const auto set = [&](const char* what, const std::string& value) {
    node.write(fmt::format("config/client/{}/rx/{}", channel, what), value);
  };
  const auto attenuation = [&] {
    return plant.switch_attenuation_db(0, sim::direction::rx, channel);
  };
  node.run_for(30s);
  const double start_db = attenuation();
  set("defaultAttenuation", fmt::format("{:.1f}", start_db));
  node.disturb(channel, 2.0);
  ASSERT_TRUE(node.run_until([&] { return attenuation() > start_db; }, 15s));

  set("adminStatus", "\"down\"");
  node.run_for(10s);
  set("adminStatus", "\"up\"");
  EXPECT_TRUE(node.run_until([&] { return node.on_target(channel); }, 15s))
      << node.true_error(channel);
}

INSTANTIATE_TEST_SUITE_P(every, client_bars, testing::ValuesIn(models),
                         [](const auto& of) { return std::string(of.param.product); });

}  // namespace
