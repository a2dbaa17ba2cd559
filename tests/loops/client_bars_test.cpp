// The client loops against the plant, in plant time: how fast channels find their targets, that
// they then rest, and that one channel's change leaves the others alone.
#include <gtest/gtest.h>

#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

sim::topology dark_topology(const std::string& product) {
  auto topology = sim::default_topology(product);
  topology.nodes.front().lit = std::vector<unsigned>{};
  return topology;
}

/// A node whose daemon has run through its start in the dark.
class client_bars : public testing::TestWithParam<const char*> {
 protected:
  void start_dark() {
    node_ = std::make_unique<plant_node>(dark_topology(GetParam()));
    node_->start();
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
  // One cycle after its light the channel still stands at the parked attenuation of 15 dB: what it
  // lacks there says how weak the laser must be for an error of 15 dB.
  sim::laser_settings laser = node().plant().get_laser(0, channel);
  laser.on = true;
  laser.ramp_s = 0.0;
  node().plant().set_laser(0, channel, laser);
  node().cycle();
  laser.power_dbm += -14.8 - node().true_error(channel);
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

TEST_P(client_bars, an_hour_of_rest_writes_nothing) {
  light_and_rest();
  const auto voa_writes = node().plant().voa_writes(0);
  const channel_watch add(node(), sim::direction::rx);
  const channel_watch drop(node(), sim::direction::tx);
  node().run_for(1h);
  EXPECT_EQ(add.all_steps(), 0u);
  EXPECT_EQ(drop.all_steps(), 0u);
  EXPECT_LE(node().plant().voa_writes(0) - voa_writes, 1u);
  EXPECT_TRUE(node().all_on_target());
}

TEST_P(client_bars, one_laser_off_and_on_leaves_the_others_alone) {
  light_and_rest();
  const auto changed = node().channels()[7];
  std::map<unsigned, double> before;
  for (const auto channel : node().channels())
    before[channel] = node().true_error(channel);
  const auto expect_others_alone = [&](channel_watch& watch) {
    for (int i = 0; i < 600; ++i) {
      node().cycle();
      watch.look();
    }
    for (const auto channel : node().channels()) {
      if (channel == changed) continue;
      EXPECT_NEAR(node().true_error(channel), before[channel], 0.3) << channel;
      EXPECT_LE(watch.largest_change(channel), 0.35) << channel << " (0.3 dB and the switch's own)";
    }
  };
  channel_watch off(node());
  node().plant().switch_laser(0, changed, false);
  expect_others_alone(off);
  channel_watch on(node());
  node().plant().switch_laser(0, changed, true);
  expect_others_alone(on);
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
    EXPECT_LT(std::fabs(node().true_error(channels[i])), 0.3) << channels[i];
  }
}

TEST_P(client_bars, no_two_loops_write_in_one_cycle) {
  start_dark();
  node().plant().fill_band(0);
  auto& plant = node().plant();
  unsigned cycles_with_steps = 0;
  for (int i = 0; i < 240; ++i) {
    plant.reset_counters();
    node().cycle();
    const bool client_wrote = plant.switch_writes(0, sim::direction::rx) > 0;
    const bool line_wrote = plant.voa_writes(0) > 0;
    EXPECT_FALSE(client_wrote && line_wrote) << "cycle " << i;
    cycles_with_steps += client_wrote ? 1 : 0;
  }
  EXPECT_GT(cycles_with_steps, 0u);
}

INSTANTIATE_TEST_SUITE_P(models, client_bars, testing::Values("orvalite", "orvamax"));

}  // namespace
