// A line whose peer fails at the worst moment: while its preamp reads saturated, and while the
// fibre is dark. No attenuator moves on the peer's earlier reports, and what the peer cannot read
// is told.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cmath>
#include <optional>

#include "tests/loops/bars/pair_case.h"

namespace {

using namespace std::chrono_literals;
using test::plant_pair;

class pair_at_rest {
 public:
  pair_at_rest() { bars::bring_to_rest(pair, 3min); }

  double voa() { return pair.plant().voa_attenuation_db(0); }
  unsigned writes() { return pair.plant().voa_writes(0); }
  /// Runs and gives the largest attenuation on the way.
  double highest_within(std::chrono::nanoseconds duration) {
    double highest = voa();
    for (const auto end = pair.now() + duration; pair.now() < end;) {
      pair.run_for(100ms);
      highest = std::max(highest, voa());
    }
    return highest;
  }

  plant_pair pair{bars::known_pair("orvalite")};
};

TEST(saturated_peer_in_each_phase, leaves_the_attenuator_where_it_is) {
  pair_at_rest node;
  auto& plant = node.pair.plant();
  for (auto phase = 0ms; phase < 1500ms; phase += 190ms) {
    const auto what =
        phase / 190ms % 2 == 0 ? bars::peer_failure::hung : bars::peer_failure::killed;
    SCOPED_TRACE(fmt::format("after {} ms", phase.count()));
    const auto writes = node.writes();
    plant.drop_power_limit(1, sim::direction::tx, 5.8, 0s);
    ASSERT_TRUE(node.pair.run_until([&] { return node.writes() > writes; }, 15s));
    node.pair.run_for(phase);
    const double before = node.voa();
    begin(what, node.pair);
    EXPECT_LE(node.highest_within(20s), before + 1.05);
    end(what, node.pair);
    plant.drop_power_limit(1, sim::direction::tx, 0.0, 0s);
    node.pair.run_for(90s);
  }
}

/// The line of the first node, whose far end is left out of the closed loop by a cut.
class reopened_line : public testing::Test {
 protected:
  static constexpr double preset_db = 5.0;

  void cut() {
    node_.pair.plant().cut_line();
    node_.pair.run_for(10s);
    ASSERT_NEAR(node_.voa(), preset_db, 0.1);
  }
  void mend() {
    auto& pair = node_.pair;
    pair.plant().mend_line();
    ASSERT_TRUE(pair.run_until([&] { return pair.plant().osc_ready(0); }, 20s));
  }

  pair_at_rest node_;
};

TEST_F(reopened_line, stands_at_the_preset_until_its_peer_has_been_read) {
  cut();
  node_.pair.stop_manager(1);
  mend();
  const auto writes = node_.writes();
  EXPECT_NEAR(node_.highest_within(2min), preset_db, 0.1) << "nobody measured the zeros";
  EXPECT_EQ(node_.writes(), writes);
  EXPECT_TRUE(node_.pair.all_on_target(0));
  node_.pair.start_manager(1);
  node_.pair.run_for(4min);
  EXPECT_TRUE(node_.pair.all_on_target(0));
  EXPECT_TRUE(node_.pair.all_on_target(1));
}

TEST_F(reopened_line, does_not_open_by_what_was_told_before_the_cut) {
  // Of a span that is 6 dB shorter, for which the line would open 6 dB higher.
  auto& pair = node_.pair;
  pair.plant().set_span_offset(0, -6.0);
  pair.run_for(2min);
  pair.set_peer_link(1, nx::link_state::hung);
  cut();
  pair.plant().set_span_offset(0, 0.0);
  mend();
  EXPECT_NEAR(node_.highest_within(30s), preset_db, 0.1);
  pair.set_peer_link(1, nx::link_state::up);
  pair.run_for(4min);
  EXPECT_TRUE(pair.all_on_target(0));
}

/// "preamp booster or VOA": what of the peer a node cannot read.
std::string unreadable(plant_pair& pair, unsigned node) {
  const auto told = test::value_of(pair.tree(node), "insight/peer");
  std::string parts;
  for (const auto& gap : told["unreadable"].GetArray())
    parts += (parts.empty() ? "" : ", ") + std::string(gap["part"].GetString());
  return parts;
}

TEST(device_of_the_peer, that_fails_is_told_here_while_the_peer_lives) {
  pair_at_rest near;
  auto& pair = near.pair;
  struct far_failure {
    const char* device;
    const char* part;
    const char* state = "at rest";
  };
  const far_failure table[] = {{"preamp", "preamp"},
                               {"booster", "booster or VOA"},
                               {"voa_sfp", "booster or VOA"},
                               {"sfp/0", "supervisory transceiver"},
                               {"osc1", "supervisory channel"},
                               {"wss_edge", "", "peer's readings stand still"}};
  for (const auto kind : {sim::nexel_state::hung, sim::nexel_state::killed}) {
    for (const auto& [device, part, state] : table) {
      SCOPED_TRACE(device);
      EXPECT_EQ(unreadable(pair, 0), "");
      pair.plant().set_nexel_state(1, device, kind);
      pair.run_for(45s);
      EXPECT_EQ(unreadable(pair, 0), part);
      EXPECT_EQ(pair.text(0, "insight/line/state"), state);
      EXPECT_NE(pair.text(0, "insight/summary").find(*part != 0 ? "cannot be read" : state),
                std::string::npos);
      pair.plant().set_nexel_state(1, device, sim::nexel_state::ok);
      pair.run_for(20s);
    }
  }
  EXPECT_EQ(unreadable(pair, 0), "");
  EXPECT_EQ(pair.text(0, "insight/line/state"), "at rest");
}

TEST(coldstart, of_a_node_without_a_peer_opens_at_the_preset_and_once_with_it) {
  auto topology = bars::known_pair("orvalite");
  topology.nodes[0].coldstart = true;
  plant_pair pair(topology);
  const auto voa = [&] { return pair.plant().voa_attenuation_db(0); };
  pair.plant().set_write_fault(0, "voa_sfp", "config/attenuation", sim::write_fault::lost(), 90s);
  pair.start_manager(0);
  pair.plant().fill_band(0);
  // 60 s of the panel's test come first; the first of the settings is lost.
  ASSERT_TRUE(pair.run_until([&] { return std::fabs(voa() - 5.0) < 0.05; }, 3min));
  const auto writes = pair.plant().voa_writes(0);
  pair.run_for(2min);
  EXPECT_NEAR(voa(), 5.0, 0.05);
  EXPECT_EQ(pair.plant().voa_writes(0), writes);
  EXPECT_TRUE(pair.all_on_target(0));
}

}  // namespace
