// The plant as tests and the simulator use it: repeatable by its seed, honest in its calibration,
// broken and mended by its controls.
#include "sim/plant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>

#include "tests/unit/plant/tree_reader.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;
using test::read_number;
using test::read_text;
using test::write;

std::map<std::string, double> calibration_of(const plant& of, unsigned node = 0) {
  std::map<std::string, double> values;
  std::istringstream lines(of.board_file(node));
  std::string key;
  double value = 0.0;
  while (lines >> key >> value)
    values[key] = value;
  return values;
}

/// Everything that an hour's start shows, in one text.
std::string readings_of(std::uint64_t seed, std::chrono::milliseconds step) {
  topology what = default_topology("orvalite");
  what.seed = seed;
  plant one(what);
  std::string text;
  for (int i = 0; i < 8; ++i) {
    for (auto left = 1000ms; left > 0ms; left -= step)
      one.step(step);
    for (const char* name : {"wss_edge", "booster", "preamp", "sfp/0"})
      text += test::dump(one.nexel_tree(name));
  }
  return text;
}

TEST(plant, same_seed_gives_the_same_run_and_another_seed_another) {
  const std::string first = readings_of(5, 100ms);
  EXPECT_EQ(first, readings_of(5, 100ms));
  EXPECT_NE(first, readings_of(6, 100ms));
  EXPECT_EQ(first, readings_of(5, 500ms)) << "inside, steps are the same";
}

TEST(plant, factory_calibration_brings_the_readings_to_the_truth) {
  topology what = default_topology("orvamax", 2);
  plant one(what);
  one.set_tended(0, true);
  one.set_tended(1, true);
  for (int i = 0; i < 30; ++i)
    one.step(1s);
  auto cal = calibration_of(one);
  auto& edge = one.nexel_tree("wss_edge");
  auto& booster = one.nexel_tree("booster");
  auto& preamp = one.nexel_tree("preamp");
  EXPECT_NEAR(read_number(booster, "data/txPower") - read_number(edge, "data/ocm/1/totalPower"),
              cal["cal_mon_to_boostertx"], 0.1);
  EXPECT_NEAR(read_number(preamp, "data/txPower") - read_number(edge, "data/ocm/2/totalPower"),
              cal["cal_mon_to_preamptx"], 0.1);
  const double line_out = read_number(booster, "data/txPower") + cal["cal_boostertx_to_linetx"] -
                          read_number(one.nexel_tree("voa_sfp"), "data/attenuation") -
                          read_number(one.nexel_tree("voa_sfp"), "data/insertionLoss");
  EXPECT_NEAR(line_out, one.total_power_dbm(0, measuring_point::line_output), 0.15);
  const double line_in = read_number(preamp, "data/rxPower") - cal["cal_linerx_to_preamprx"];
  EXPECT_NEAR(line_in, one.total_power_dbm(0, measuring_point::line_input), 0.15);

  const auto channels = one.channels();
  for (std::size_t i = 0; i < channels.size(); i += 7) {
    const std::string index = std::to_string(i);
    const std::string key = std::to_string(channels[i]);
    const double client = read_number(edge, "data/ocm/1/channel/" + key + "/powerLevel") -
                          cal["cal_clientrx_to_mon"] +
                          one.switch_attenuation_db(0, direction::rx, channels[i]) +
                          cal["cal_clientrx_loss_offset_" + index];
    EXPECT_NEAR(client, 0.0, 0.3) << key;
    const double dropped = cal["cal_mon_to_clienttx"] +
                           read_number(edge, "data/ocm/2/channel/" + key + "/powerLevel") -
                           one.switch_attenuation_db(0, direction::tx, channels[i]);
    EXPECT_NEAR(dropped, one.channel_power_dbm(0, measuring_point::client_output, channels[i]), 0.3)
        << key;
  }
}

TEST(plant, a_cut_is_dark_and_alarmed_and_a_mend_brings_all_back) {
  plant one(default_topology("orvalite"));
  one.step(5s);
  auto& preamp = one.nexel_tree("preamp");
  auto& sfp = one.nexel_tree("sfp/0");
  auto& osc = one.nexel_tree("osc1");
  ASSERT_EQ(read_text(osc, "data/debug/state"), "ready");
  ASSERT_EQ(read_text(osc, "data/neighbour"), "fe80::2%osc0");
  const double lit_dbm = read_number(preamp, "data/rxPower");

  one.cut_line();
  one.step(2s);
  EXPECT_EQ(read_number(preamp, "alarms/lossOfSignal/severity"), 1);
  EXPECT_LT(read_number(preamp, "data/rxPower"), -50.0);
  EXPECT_EQ(read_number(sfp, "alarms/lossOfSignal/severity"), 1);
  EXPECT_EQ(read_number(osc, "alarms/lossOfLink/severity"), 1);
  EXPECT_EQ(read_text(osc, "data/neighbour"), "");
  EXPECT_NEAR(read_number(osc, "data/fiberLength"), 80.0, 1e-4);
  EXPECT_TRUE(std::isinf(one.span_loss_db(0)));
  EXPECT_GT(one.total_power_dbm(0, measuring_point::line_output), -5.0) << "the way out is lit";

  one.mend_line();
  one.step(4s);
  EXPECT_EQ(read_number(preamp, "alarms/lossOfSignal/severity"), 0);
  EXPECT_EQ(read_text(osc, "data/debug/state"), "ready");
  EXPECT_NEAR(read_number(preamp, "data/rxPower"), lit_dbm, 0.2);
}

TEST(plant, span_drift_and_tap_drift_show_where_they_should) {
  topology what = default_topology("orvalite");
  for (node_settings& each : what.nodes)
    each.tap_noise_db = 0.0;
  plant one(what);
  one.step(10s);
  auto& preamp = one.nexel_tree("preamp");
  const double before_dbm = read_number(preamp, "data/rxPower");
  one.set_span_drift(1, 24.0);
  one.step(30min);
  EXPECT_NEAR(one.span_loss_db(1), 17.5, 0.01);
  EXPECT_NEAR(read_number(preamp, "data/rxPower"), before_dbm - 0.5, 0.02);
  one.set_span_drift(1, 0.0);
  one.set_tap_drift(0, tap::preamp_input, 24.0);
  one.step(30min);
  EXPECT_NEAR(read_number(preamp, "data/rxPower"), before_dbm, 0.02) << "the tap made up for it";
  EXPECT_NEAR(one.span_loss_db(1), 17.5, 0.01);
}

TEST(plant, counts_accepted_writes_by_channel) {
  plant one(default_topology("orvalite"));
  auto& edge = one.nexel_tree("wss_edge");
  write(edge, "config/wss/1/channel/19140000/attenuation", "7.0");
  write(edge, "config/wss/1/channel/19140000/attenuation", "7.0");
  write(edge, "config/wss/1/channel/19155000/port", "\"off\"");
  EXPECT_ANY_THROW(write(edge, "config/wss/1/channel/19140000/attenuation", "17.0"));
  write(one.nexel_tree("voa_sfp"), "config/attenuation", "6.5");
  write(one.nexel_tree("preamp"), "config/gain", "24.0");
  EXPECT_EQ(one.channel_writes(0, direction::rx, 19140000).switch_attenuation, 2u);
  EXPECT_EQ(one.channel_writes(0, direction::rx, 19155000).switch_port, 1u);
  EXPECT_EQ(one.switch_writes(0, direction::rx), 2u);
  EXPECT_EQ(one.switch_writes(0, direction::tx), 0u);
  EXPECT_EQ(one.voa_writes(0), 1u);
  EXPECT_EQ(one.amplifier_writes(0, direction::tx), 1u);
  one.reset_counters();
  EXPECT_EQ(one.switch_writes(0, direction::rx) + one.voa_writes(0), 0u);
}

TEST(plant, unknown_names_are_no_silent_successes) {
  plant one(default_topology("orvalite"));
  EXPECT_THROW(one.switch_laser(0, 19140001, true), std::out_of_range);
  EXPECT_THROW(one.nexel_tree("tdcm"), std::out_of_range);
  EXPECT_THROW(one.nexel_tree("booster", 1), std::out_of_range) << "the built-in far end has none";
  EXPECT_THROW(one.cut_fibre(2), std::out_of_range);
}

TEST(controls, act_through_the_tree_and_stand_beside_the_truth) {
  plant one(default_topology("orvalite"));
  auto& tree = one.control_tree();
  one.step(5s);
  const std::string laser = "config/node/0/laser/19140000/";
  const std::string truth = "truth/node/0/rx/channel/19140000/";
  EXPECT_NEAR(read_number(tree, truth + "laserPower"), 0.0, 0.01);
  write(tree, laser + "power", "-3.5");
  write(tree, "config/fibre/0/lossOffset", "2.0");
  one.step(2s);
  EXPECT_NEAR(read_number(tree, truth + "laserPower"), -3.5, 0.01);
  EXPECT_NEAR(read_number(tree, "truth/fibre/0/spanLoss"), 19.0, 0.01);
  EXPECT_NEAR(read_number(tree, truth + "boosterPower"),
              one.channel_power_dbm(0, measuring_point::booster_output, 19140000), 0.02);

  test::run(tree, "command/node/0/darkBand", "true");
  write(tree, "config/fibre/1/cut", "true");
  one.step(2s);
  EXPECT_EQ(read_number(tree, truth + "laserPower"), -99.0);
  EXPECT_EQ(read_text(tree, laser + "on"), "false");
  EXPECT_EQ(read_number(tree, "truth/fibre/1/spanLoss"), 99.0);
  test::run(tree, "command/node/0/fillBand", "true");
  one.mend_line();
  one.step(4s);
  EXPECT_EQ(read_text(tree, laser + "on"), "true");
  EXPECT_EQ(read_text(tree, "config/fibre/1/cut"), "false") << "whoever mended it";

  EXPECT_EQ(test::refusal_of([&] { write(tree, laser + "power", "40"); }),
            "-22 config/node/0/laser/19140000/power 40 dBm is out of range [-40, 10]");
  EXPECT_EQ(
      test::refusal_of([&] { write(tree, "config/node/0/nexel/booster/state", "\"tired\""); }),
      "-22 state: found 'tired', accepted are 'ok', 'hung', 'killed' and 'refusing'");
}

}  // namespace
