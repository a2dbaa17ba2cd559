// Switches, monitors and amplifiers that lose writes, move late, tremble, freeze or report
// nonsense: each channel reaches its target nevertheless, and none is moved by unknown values.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using sim::reading_fault;
using sim::write_fault;
using test::channel_watch;
using test::plant_node;

constexpr auto side = sim::direction::rx;

std::string switch_path(const char* what, const std::string& channel) {
  return fmt::format("{}/wss/1/channel/{}/attenuation", what, channel);
}

std::string monitor_path(unsigned channel, const char* what) {
  return fmt::format("data/ocm/1/channel/{}/{}", channel, what);
}

/// How far a channel may rest from its target: its dead band, and the noise at its edge.
double resting_db(plant_node& node, unsigned channel) {
  return 0.2 + node.plant().switch_attenuation_db(0, side, channel) / 30.0 + 0.15;
}

bool all_rest(plant_node& node) {
  const auto& all = node.channels();
  return std::all_of(all.begin(), all.end(), [&](unsigned channel) {
    return std::fabs(node.true_error(channel)) <= resting_db(node, channel);
  });
}

struct switch_case {
  const char* name;
  void (*spoil)(sim::plant& plant);
};

const switch_case switch_cases[] = {
    {"loses_every_tenth_write",
     [](sim::plant& plant) {
       plant.set_write_fault(0, "wss_edge", switch_path("config", "*"),
                             write_fault::lost().each(10));
     }},
    {"reads_back_in_quarters",
     [](sim::plant& plant) {
       plant.set_reading_fault(0, "wss_edge", switch_path("data", "*"),
                               reading_fault::stepped(0.25));
     }},
    {"moves_late",
     [](sim::plant& plant) {
       plant.set_write_fault(0, "wss_edge", switch_path("config", "*"), write_fault::late(1500ms));
     }},
    {"trembles",
     [](sim::plant& plant) {
       plant.set_reading_fault(0, "wss_edge", switch_path("data", "*"),
                               reading_fault::trembling(0.02));
     }},
    {"reads_back_what_it_had",
     [](sim::plant& plant) {
       plant.set_reading_fault(0, "wss_edge", switch_path("data", "*"), reading_fault::frozen());
     }},
};

class bad_switch : public testing::TestWithParam<switch_case> {};

TEST_P(bad_switch, brings_every_channel_to_its_target_in_half_a_minute) {
  plant_node node(test::dark_topology("orvalite"));
  node.start();
  node.run_for(20s);
  GetParam().spoil(node.plant());
  node.plant().fill_band(0);
  EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 30s));
  const auto channel = node.channels()[5];
  node.disturb(channel, 3.0);
  node.run_for(2s);
  EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 30s)) << node.true_error(channel);
  node.run_for(60s);
  EXPECT_TRUE(all_rest(node));
}

INSTANTIATE_TEST_SUITE_P(kinds, bad_switch, testing::ValuesIn(switch_cases),
                         [](const auto& of) { return std::string(of.param.name); });

TEST(trembling_switch, is_not_written_at_the_end_of_its_range) {
  plant_node node("orvalite");
  node.start();
  node.run_for(60s);
  const auto channel = node.channels()[5];
  node.plant().set_reading_fault(0, "wss_edge", switch_path("data", "*"),
                                 reading_fault::trembling(0.02));
  node.disturb(channel, -12.0);
  node.run_for(60s);
  const channel_watch watch(node);
  node.run_for(1h);
  EXPECT_EQ(watch.steps(channel), 0u) << "exhausted at 0 dB, which it reads back as 0.02";
}

/// One channel of a full band that its device refuses.
class refused_channel : public testing::TestWithParam<const char*> {};

TEST_P(refused_channel, leaves_the_others_their_cycles) {
  plant_node node(test::dark_topology("orvalite"));
  node.start();
  node.run_for(20s);
  const auto bad = node.channels()[3];
  auto& plant = node.plant();
  const std::string what = GetParam();
  if (what == "writes") {
    plant.set_write_fault(0, "wss_edge", switch_path("config", fmt::format("{}", bad)),
                          write_fault::refused());
  } else {
    plant.set_reading_fault(0, "wss_edge", monitor_path(bad, what.c_str()),
                            reading_fault::failed());
  }
  const auto others_rest = [&] {
    const auto& all = node.channels();
    return std::all_of(all.begin(), all.end(), [&](unsigned channel) {
      return channel == bad || std::fabs(node.true_error(channel)) <= resting_db(node, channel);
    });
  };
  plant.fill_band(0);
  EXPECT_TRUE(node.run_until(others_rest, 8s));
  for (const auto channel : {node.channels()[0], node.channels()[20]}) {
    node.disturb(channel, 3.0);
    node.run_for(1s);
    EXPECT_TRUE(node.run_until(others_rest, 8s)) << channel;
  }
  plant.heal_writes(0, "wss_edge");
  plant.heal_readings(0, "wss_edge");
  EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 30s)) << node.true_error(bad);
}

INSTANTIATE_TEST_SUITE_P(by, refused_channel, testing::Values("writes", "powerLevel", "detected"));

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

// After a restart of the devices the monitor repeats old readings for a while.
TEST(readings_of_before, move_no_channel_and_teach_nothing) {
  for (const bool daemon_too : {false, true}) {
    plant_node node("orvalite");
    node.start();
    node.run_for(11min);
    auto& plant = node.plant();
    const float calibration = node.number("data/client/rx/edfaCalibration");
    for (const char* device : {"wss_edge", "booster"}) {
      plant.set_stale_after_restart(0, device, 20s);
      plant.set_nexel_state(0, device, sim::nexel_state::killed);
    }
    node.run_for(5s);
    for (const auto channel : node.channels())
      node.disturb(channel, 3.0);
    node.run_for(2s);
    const channel_watch watch(node);
    for (const char* device : {"wss_edge", "booster"})
      plant.set_nexel_state(0, device, sim::nexel_state::ok);
    if (daemon_too) node.restart();
    node.run_for(18s);
    EXPECT_EQ(watch.all_steps(), 0u) << daemon_too;
    node.run_for(2s);
    EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 15s)) << daemon_too;
    EXPECT_NEAR(node.number("data/client/rx/edfaCalibration"), calibration, 0.2) << daemon_too;
    node.run_for(10min);
    EXPECT_NEAR(node.number("data/client/rx/edfaCalibration"), calibration, 0.2) << daemon_too;
  }
}

// Instruments without noise report nothing new until the light moves.
TEST(noiseless_instruments, hold_a_channel_up_once_at_the_start_and_no_more) {
  auto topology = sim::default_topology("orvalite");
  topology.nodes[0].booster_monitor.noise_db = 0.0;
  topology.nodes[0].tap_noise_db = 0.0;
  plant_node node(topology);
  node.start();
  EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 22s + 12s));
  const auto channel = node.channels()[5];
  for (const double db : {3.0, -3.0}) {
    const channel_watch watch(node);
    node.disturb(channel, db);
    node.run_for(1s);
    EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 12s)) << node.true_error(channel);
    EXPECT_LE(watch.steps(channel), 3u);
  }
  node.plant().switch_laser(0, channel, false);
  node.run_for(3s);
  EXPECT_NEAR(node.plant().switch_attenuation_db(0, side, channel), 15.0, 0.1);
  node.plant().switch_laser(0, channel, true);
  node.run_for(1s);
  EXPECT_TRUE(node.run_until([&] { return all_rest(node); }, 15s)) << node.true_error(channel);
}

TEST(falling_power_limit, opens_no_attenuator_into_saturation) {
  for (const char* product : {"orvalite", "orvakinet", "selkaplus"}) {
    SCOPED_TRACE(product);
    plant_node node(product);
    node.start();
    node.add_channels();
    node.run_for(11min);
    auto& plant = node.plant();
    std::map<unsigned, double> before;
    for (const auto channel : node.channels())
      before[channel] = plant.switch_attenuation_db(0, side, channel);
    channel_watch watch(node);
    plant.drop_power_limit(0, side, 3.0, 60s);
    for (int i = 0; i < 60; ++i) {
      node.cycle();
      if (plant.amplifier_saturation_db(0, side) <= 1.0) continue;
      for (const auto channel : node.channels()) {
        ASSERT_GE(plant.switch_attenuation_db(0, side, channel), before[channel] - 0.35) << channel;
      }
    }
    ASSERT_TRUE(node.run_until([&] { return plant.amplifier_saturation_db(0, side) < 0.1; }, 90s));
    watch.restart();
    node.run_for(15s);
    EXPECT_TRUE(all_rest(node));
    for (const auto channel : node.channels())
      EXPECT_LE(watch.steps(channel), 4u) << channel;
  }
}

}  // namespace
