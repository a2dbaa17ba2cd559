// Two managers face to face on one fibre pair, in plant time: the line comes to rest, stays there,
// and survives failures of fibres, peers and stores.
#include <gtest/gtest.h>

#include <cmath>

#include "platform/kvs_client/kvs_client.h"
#include "tests/loops/pair_stories.h"

namespace {

using namespace std::chrono_literals;
using sim::measuring_point;
using test::plant_pair;
using test::voa_watch;

class line_bars : public testing::Test {
 protected:
  static constexpr auto first_line_step = 20s;

  explicit line_bars(const std::string& product = "orvalite")
      : pair_(test::dark_topology(product, 2)) {}

  void bring_to_rest() {
    pair_.start();
    pair_.run_for(20s);
    for (unsigned node : {0u, 1u})
      pair_.plant().fill_band(node);
    pair_.run_for(10min);
    ASSERT_TRUE(pair_.all_on_target(0));
    ASSERT_TRUE(pair_.all_on_target(1));
    for (unsigned node : {0u, 1u}) {
      ASSERT_EQ(pair_.text(node, "data/line/1/remoteProduct"),
                pair_.plant().get_topology().nodes[1 - node].part_number);
      ASSERT_LT(std::fabs(line_error(node)), 0.85) << "node " << node;
    }
  }

  /// Mean power at which this node's channels arrive behind the far preamp, less the wanted 5 dBm.
  double line_error(unsigned node) {
    double sum = 0;
    for (const auto channel : pair_.channels()) {
      sum += pair_.plant().channel_power_dbm(1 - node, measuring_point::preamp_output, channel);
    }
    return sum / static_cast<double>(pair_.channels().size()) - 5.0;
  }

  bool has_line_los(unsigned node) {
    return pair_.number(node, "alarms/line/1/rx/lossOfSignal/severity") != 0;
  }

  unsigned switch_writes() {
    auto& plant = pair_.plant();
    unsigned sum = 0;
    for (unsigned node : {0u, 1u}) {
      sum += plant.switch_writes(node, sim::direction::rx);
      sum += plant.switch_writes(node, sim::direction::tx);
    }
    return sum;
  }
  /// The first step towards a changed span needs five readings of the peer that differ.
  void expect_a_step_of_the_near_line() {
    const auto before = pair_.plant().voa_writes(0);
    pair_.plant().set_span_offset(0, 3.0);
    EXPECT_TRUE(
        pair_.run_until([&] { return pair_.plant().voa_writes(0) > before; }, first_line_step));
  }
  unsigned voa_writes() { return pair_.plant().voa_writes(0) + pair_.plant().voa_writes(1); }

  plant_pair pair_;
};

/// On models that give way to a saturated far preamp early, and late.
class line_of_model : public line_bars, public testing::WithParamInterface<const char*> {
 protected:
  line_of_model() : line_bars(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(each, line_of_model, testing::Values("orvalite", "orvapro"),
                         [](const auto& model) { return std::string(model.param); });

TEST_P(line_of_model, three_db_more_span_is_made_up_in_90_seconds_without_a_change_of_sign) {
  bring_to_rest();
  const auto event = pair_.now();
  voa_watch watch(pair_, 0);
  pair_.plant().set_span_offset(0, 3.0);
  while (pair_.now() < event + 150s) {
    pair_.run_for(100ms);
    watch.look();
  }
  ASSERT_FALSE(watch.steps().empty());
  for (const double step : watch.steps())
    EXPECT_LT(step, 0.0);
  EXPECT_LE(watch.last_write(), 90s);
  EXPECT_LT(std::fabs(line_error(0)), 0.85);
  EXPECT_TRUE(pair_.all_on_target(0));
}

TEST_P(line_of_model, two_daemons_with_both_lines_5_db_off_rest_within_180_seconds) {
  bring_to_rest();
  const auto event = pair_.now();
  voa_watch near(pair_, 0);
  voa_watch far(pair_, 1);
  pair_.plant().set_span_offset(0, -5.0);
  pair_.plant().set_span_offset(1, -5.0);
  double lowest = 0.0;
  while (pair_.now() < event + 240s) {
    pair_.run_for(100ms);
    near.look();
    far.look();
    lowest = std::min({lowest, line_error(0), line_error(1)});
  }
  EXPECT_LE(near.last_write(), 180s);
  EXPECT_LE(far.last_write(), 180s);
  EXPECT_GE(lowest, -0.2) << "overshoot";
  for (unsigned node : {0u, 1u})
    EXPECT_LT(std::fabs(line_error(node)), 0.85) << node;
}

TEST_F(line_bars, a_cut_mended_after_five_minutes_is_on_target_15_seconds_after_light) {
  bring_to_rest();
  auto& plant = pair_.plant();
  plant.set_span_offset(0, 3.0);
  pair_.run_for(3min);
  ASSERT_LT(plant.voa_attenuation_db(0), 4.0) << "it has to close for the dark";
  plant.cut_line();
  double least_attenuation = 99.0;
  const auto cut = pair_.now();
  while (pair_.now() < cut + 5min) {
    pair_.run_for(100ms);
    if (pair_.now() < cut + 2s) continue;
    least_attenuation =
        std::min({least_attenuation, plant.voa_attenuation_db(0), plant.voa_attenuation_db(1)});
  }
  EXPECT_GE(least_attenuation, 4.9) << "the board's preset in the dark";
  EXPECT_TRUE(has_line_los(0)) << "loss of signal is raised";
  plant.mend_line();
  ASSERT_TRUE(pair_.run_until([&] { return plant.osc_ready(0) && plant.osc_ready(1); }, 20s));
  EXPECT_TRUE(
      pair_.run_until([&] { return pair_.all_on_target(0) && pair_.all_on_target(1); }, 15s));
  pair_.run_for(3min);
  EXPECT_FALSE(has_line_los(0));
  for (unsigned node : {0u, 1u}) {
    EXPECT_LT(std::fabs(line_error(node)), 0.85) << node;
    EXPECT_TRUE(pair_.all_on_target(node)) << node;
  }
}

TEST_F(line_bars, an_hour_of_rest_moves_no_switch_and_at_most_one_voa) {
  bring_to_rest();
  const auto switches = switch_writes();
  const auto near = pair_.plant().voa_writes(0);
  const auto far = pair_.plant().voa_writes(1);
  pair_.run_for(1h);
  EXPECT_EQ(switch_writes(), switches);
  EXPECT_LE(pair_.plant().voa_writes(0), near + 1);
  EXPECT_LE(pair_.plant().voa_writes(1), far + 1);
}

TEST_F(line_bars, a_dead_peer_leaves_the_node_alone_and_is_identified_on_its_return) {
  bring_to_rest();
  const auto switches = switch_writes();
  const auto voas = voa_writes();
  pair_.stop_manager(1);
  pair_.run_for(10min);
  EXPECT_EQ(switch_writes(), switches);
  EXPECT_EQ(voa_writes(), voas);
  pair_.take_log();
  pair_.start_manager(1);
  ASSERT_TRUE(pair_.run_until(
      [&] {
        for (const auto& line : pair_.take_log()) {
          if (line.starts_with("Remote subscription complete.")) return true;
        }
        return false;
      },
      60s));
  expect_a_step_of_the_near_line();
  pair_.run_for(2min);
  EXPECT_LT(std::fabs(line_error(0)), 0.85);
}

TEST_F(line_bars, a_hung_peer_holds_up_no_cycle_for_longer_than_its_time_out) {
  bring_to_rest();
  const auto voas = voa_writes();
  pair_.set_peer_link(1, nx::link_state::hung);
  pair_.run_for(5min);
  EXPECT_EQ(voa_writes(), voas);
  EXPECT_TRUE(pair_.all_on_target(0));
  pair_.set_peer_link(1, nx::link_state::up);
  pair_.run_for(1min);
  expect_a_step_of_the_near_line();
}

TEST_F(line_bars, a_dead_store_is_not_noticed_by_the_light) {
  bring_to_rest();
  const auto switches = switch_writes();
  const auto voas = voa_writes();
  kvs_memory::set_available(false);
  pair_.run_for(10min);
  EXPECT_EQ(switch_writes(), switches);
  EXPECT_EQ(voa_writes(), voas);
  kvs_memory::set_available(true);
  pair_.run_for(10s);
  EXPECT_TRUE(pair_.all_on_target(0));
}

TEST(cut_line, opens_no_drop_switch_below_its_default) {
  constexpr double default_db = 5.0;
  constexpr double setting_db = 0.06;  // the switch's own error
  plant_pair pair(test::dark_topology("orvakinet", 2));
  auto& plant = pair.plant();
  pair.start();
  pair.run_for(20s);
  // With a longer span less light arrives, and the drop side rests below its default.
  for (unsigned node : {0u, 1u}) {
    plant.set_span_offset(node, 3.0);
    plant.fill_band(node);
  }
  pair.run_for(5min);
  const auto least_db = [&] {
    double least = 99.0;
    for (unsigned node : {0u, 1u}) {
      for (const auto channel : pair.channels())
        least = std::min(least, plant.switch_attenuation_db(node, sim::direction::tx, channel));
    }
    return least;
  };
  ASSERT_LT(least_db(), default_db - 1.0) << "they have to close for the dark";
  plant.cut_line();
  pair.run_for(5s);
  for (int i = 0; i < 3000; ++i) {
    pair.run_for(100ms);
    ASSERT_GE(least_db(), default_db - setting_db) << i;
  }
  plant.mend_line();
  ASSERT_TRUE(pair.run_until([&] { return plant.osc_ready(0) && plant.osc_ready(1); }, 20s));
  EXPECT_TRUE(pair.run_until([&] { return pair.all_on_target(0) && pair.all_on_target(1); }, 15s));
}

TEST(noiseless_plant, stops_the_line_for_good) {
  auto topology = sim::default_topology("orvalite", 2);
  for (auto& node : topology.nodes) {
    node.booster_monitor.noise_db = node.preamp_monitor.noise_db = 0.0;
    node.tap_noise_db = 0.0;
  }
  plant_pair pair(topology);
  pair.start();
  pair.run_for(3min);
  const auto writes = pair.plant().voa_writes(0);
  pair.plant().set_span_offset(0, 3.0);
  pair.run_for(10min);
  EXPECT_LE(pair.plant().voa_writes(0), writes + 1) << "five readings that differ never come";
}

TEST(span_loss, is_within_half_a_db_of_the_truth_and_a_fifth_in_the_mean) {
  double sum = 0;
  unsigned count = 0;
  for (const double span_db : {12.0, 17.0, 22.0, 28.0}) {
    for (const double error :
         test::span_loss_errors(sim::default_topology("orvalite", 2), span_db)) {
      EXPECT_LE(std::fabs(error), 0.5) << "over " << span_db << " dB";
      sum += std::fabs(error);
      ++count;
    }
  }
  EXPECT_LE(sum / count, 0.2);
}

}  // namespace
