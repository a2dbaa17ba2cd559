// Two managers face to face on one fibre pair, in plant time: the lines rest, whatever happens to
// peer and store, and follow the span once they know it again.
#include <gtest/gtest.h>

#include <cmath>

#include "platform/kvs_client/kvs_client.h"
#include "tests/loops/bars/pair_case.h"

namespace {

using namespace std::chrono_literals;
using test::plant_pair;

class line : public testing::Test {
 protected:
  static constexpr auto first_line_step = 20s;
  static constexpr double resting_db = 0.85;

  void SetUp() override {
    bars::bring_to_rest(pair_, 10min);
    for (unsigned node : {0u, 1u}) {
      ASSERT_EQ(pair_.text(node, "data/line/1/remoteProduct"),
                pair_.plant().get_topology().nodes[1 - node].part_number);
      ASSERT_LT(line_error(node), resting_db) << "node " << node;
    }
  }

  double line_error(unsigned node) { return std::fabs(bars::line_error(pair_, node)); }

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

  plant_pair pair_{test::dark_topology("orvalite", 2)};
};

TEST_F(line, an_hour_of_rest_moves_no_switch_and_at_most_one_voa) {
  const auto switches = switch_writes();
  const auto near = pair_.plant().voa_writes(0);
  const auto far = pair_.plant().voa_writes(1);
  pair_.run_for(1h);
  EXPECT_EQ(switch_writes(), switches);
  EXPECT_LE(pair_.plant().voa_writes(0), near + 1);
  EXPECT_LE(pair_.plant().voa_writes(1), far + 1);
}

TEST_F(line, a_dead_peer_leaves_the_node_alone_and_is_identified_on_its_return) {
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
        for (const auto& text : pair_.take_log()) {
          if (text.starts_with("Remote subscription complete.")) return true;
        }
        return false;
      },
      60s));
  expect_a_step_of_the_near_line();
  pair_.run_for(2min);
  EXPECT_LT(line_error(0), resting_db);
}

TEST_F(line, a_hung_peer_holds_up_no_cycle_for_longer_than_its_time_out) {
  const auto voas = voa_writes();
  pair_.set_peer_link(1, nx::link_state::hung);
  pair_.run_for(5min);
  EXPECT_EQ(voa_writes(), voas);
  EXPECT_TRUE(pair_.all_on_target(0));
  pair_.set_peer_link(1, nx::link_state::up);
  pair_.run_for(1min);
  expect_a_step_of_the_near_line();
}

TEST_F(line, a_dead_store_is_not_noticed_by_the_light) {
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

}  // namespace
