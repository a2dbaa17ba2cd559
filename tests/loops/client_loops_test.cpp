// The client loops beside each other and the line, and channels with odd switches, monitors and
// parameters. How fast and how well they regulate is a matter of the bars.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <map>

#include "tests/loops/bars/node_case.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

class client_loops : public testing::TestWithParam<const char*> {};

TEST_P(client_loops, do_not_write_in_one_cycle_with_each_other_or_the_line) {
  const std::string model = GetParam();
  auto topology = test::dark_topology(model);
  topology.fibres[0].length_km = 40.0;  // leaves room for the line
  topology.peer = "orva-lite";
  plant_node node(topology);
  auto& plant = node.plant();
  node.face_far_end();
  node.start();
  node.add_channels();
  node.run_for(20s);
  plant.fill_band(0);
  unsigned cycles_with_rx_steps = 0;
  unsigned cycles_with_tx_steps = 0;
  unsigned cycles_with_line_steps = 0;
  for (int i = 0; i < 600; ++i) {
    if (i == 100) plant.set_span_offset(0, 3.0);
    if (i % 20 == 0) node.disturb(node.channels()[5], i % 40 == 0 ? 3.0 : -3.0);
    plant.reset_counters();
    node.cycle();
    const bool rx_wrote = plant.switch_writes(0, sim::direction::rx) > 0;
    const bool tx_wrote = plant.switch_writes(0, sim::direction::tx) > 0;
    const bool line_wrote = plant.voa_writes(0) > 0;
    EXPECT_LE(rx_wrote + tx_wrote + line_wrote, 1) << "cycle " << i;
    cycles_with_rx_steps += rx_wrote ? 1 : 0;
    cycles_with_tx_steps += tx_wrote ? 1 : 0;
    cycles_with_line_steps += line_wrote ? 1 : 0;
  }
  EXPECT_GT(cycles_with_rx_steps, 0u);
  if (model == "orvalite") {
    EXPECT_GT(cycles_with_line_steps, 3u);
  }
  if (model != "orvakinet") {
    EXPECT_EQ(cycles_with_tx_steps, 0u) << "it does not regulate this side";
    return;
  }
  EXPECT_GT(cycles_with_tx_steps, 0u);
  // Both amplifiers divide their limit in the same way; a saturated one gives less.
  const auto& settings = plant.get_topology().nodes.front();
  const double limits_apart_db = settings.preamp.power_limit_dbm - settings.booster.power_limit_dbm;
  const double readings_db = 0.3;  // noise, calibration, the switch's own step
  const double saturation_db = plant.amplifier_saturation_db(0, sim::direction::tx);
  for (const auto channel : node.channels()) {
    const double power = plant.channel_power_dbm(0, sim::measuring_point::preamp_output, channel);
    const double target = plant.booster_target_dbm(0, channel) + limits_apart_db - saturation_db;
    const double attenuation = plant.switch_attenuation_db(0, sim::direction::tx, channel);
    const double dead_band_db = 0.2 + attenuation / 30.0;
    EXPECT_NEAR(power, target, dead_band_db + readings_db) << channel;
  }
}

INSTANTIATE_TEST_SUITE_P(each, client_loops, testing::Values("orvalite", "orvakinet", "selkaplus"));

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

// The log of an hour would else be a line each cycle.
TEST(saturated_amplifier, keeps_its_channels_from_opening_in_one_piece) {
  const auto node = bars::at_rest("orvalite", 7);
  node->take_log();
  node->plant().drop_power_limit(0, sim::direction::rx, 3.0, 60s);
  node->run_for(60s);
  std::map<std::string, unsigned> begins;
  for (const auto& line : node->take_log()) {
    const auto at = line.find("Guard unsaturated-amplifier begins on ");
    if (at != line.npos) ++begins[line.substr(at, line.find(':', at) - at)];
  }
  EXPECT_GT(begins.size(), 10U);
  for (const auto& [channel, times] : begins)
    EXPECT_LE(times, 3U) << channel;
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

TEST(default_attenuation, beyond_the_switch_freezes_nobody) {
  for (const char* value : {"20", "-5", "1e19"}) {
    plant_node node("orvalite");
    node.start();
    ASSERT_TRUE(node.run_until([&] { return node.all_on_target(); }, 60s));
    const auto dark = node.channels()[3];
    const auto other = node.channels()[20];
    node.write(fmt::format("config/client/{}/rx/defaultAttenuation", dark), value);
    node.plant().switch_laser(0, dark, false);
    node.run_for(10s);
    EXPECT_TRUE(node.is_fully_operational());
    node.disturb(other, 3.0);
    EXPECT_TRUE(node.run_until([&] { return node.on_target(other); }, 8s)) << value;
    node.plant().switch_laser(0, dark, true);
    EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 20s)) << value;
  }
}

// The drop side of a model that does not regulate it stands where it was parked: 5 dB, as told by a
// switch with steps of 0.1 dB.
TEST(default_attenuation, is_written_where_the_switch_is_more_than_a_tenth_of_a_db_away) {
  plant_node node("orvalite");
  node.start();
  node.run_for(10s);
  const auto channel = node.channels()[5];
  const channel_watch drop(node, sim::direction::tx);
  unsigned steps = 0;
  for (const auto& [parking, is_written] : {std::pair{"5.1", false},
                                            {"4.9", false},
                                            {"5.11", true},
                                            {"5.2", false},
                                            {"5.0", false},
                                            {"4.99", true},
                                            {"4.91", false},
                                            {"4.89", true}}) {
    node.write(fmt::format("config/client/{}/tx/defaultAttenuation", channel), parking);
    node.run_for(3s);
    steps += is_written ? 1 : 0;
    ASSERT_EQ(drop.steps(channel), steps) << parking;
  }
  EXPECT_EQ(drop.all_steps(), steps) << "of the other channels";
}

// Instruments without noise report nothing new until the light moves.
TEST(noiseless_instruments, hold_a_channel_up_once_at_the_start_and_no_more) {
  auto topology = sim::default_topology("orvalite");
  topology.nodes[0].booster_monitor.noise_db = 0.0;
  topology.nodes[0].tap_noise_db = 0.0;
  plant_node node(topology);
  node.start();
  EXPECT_TRUE(node.run_until([&] { return bars::all_rest(node); }, 22s + 12s));
  const auto channel = node.channels()[5];
  for (const double db : {3.0, -3.0}) {
    const channel_watch watch(node);
    node.disturb(channel, db);
    node.run_for(1s);
    EXPECT_TRUE(node.run_until([&] { return bars::all_rest(node); }, 12s))
        << node.true_error(channel);
    EXPECT_LE(watch.steps(channel), 3u);
  }
  node.plant().switch_laser(0, channel, false);
  node.run_for(3s);
  EXPECT_NEAR(node.plant().switch_attenuation_db(0, sim::direction::rx, channel), 15.0, 0.1);
  node.plant().switch_laser(0, channel, true);
  node.run_for(1s);
  EXPECT_TRUE(node.run_until([&] { return bars::all_rest(node); }, 15s))
      << node.true_error(channel);
}

}  // namespace
