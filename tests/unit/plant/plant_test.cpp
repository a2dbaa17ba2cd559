// The plant as used by tests and the simulator: repeatable by its seed, broken and mended by its
// controls, and with services that check their input.
#include "sim/plant.h"

#include <gtest/gtest.h>

#include "platform/value_tree/nx_db.h"
#include "tests/support/failure.h"
#include "tests/support/tree_values.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;
using test::failure_of;
using test::number_of;
using test::run_at;
using test::text_of;
using test::write_to;

/// Everything that an hour's start shows, in one text.
std::string readings_of(std::uint64_t seed, std::chrono::milliseconds step) {
  topology what = default_topology("orvalite");
  what.seed = seed;
  plant one(what);
  std::string text;
  for (int i = 0; i < 8; ++i) {
    for (auto left = 1000ms; left > 0ms; left -= step)
      one.step(step);
    for (const char* name : {"wss_edge", "booster", "preamp", "sfp/0"}) {
      for (const auto& node : one.nexel_tree(name).match("**")) {
        const auto path = node->get_path(0);
        text += path + "=" + test::shown_at(one.nexel_tree(name), path) + "\n";
      }
    }
  }
  return text;
}

TEST(plant, same_seed_gives_the_same_run_and_another_seed_another) {
  const std::string first = readings_of(5, 100ms);
  EXPECT_EQ(first, readings_of(5, 100ms));
  EXPECT_NE(first, readings_of(6, 100ms));
  EXPECT_EQ(first, readings_of(5, 500ms)) << "inside, steps are the same";
}

TEST(controls, act_through_the_tree_and_stand_beside_the_truth) {
  plant one(default_topology("orvalite"));
  auto& tree = one.control_tree();
  one.step(5s);
  const std::string laser = "config/node/0/laser/19140000/";
  const std::string truth = "truth/node/0/rx/channel/19140000/";
  write_to(tree, laser + "power", "-3.5");
  write_to(tree, "config/fibre/0/lossOffset", "2.0");
  one.step(2s);
  EXPECT_NEAR(number_of(tree, truth + "laserPower"), -3.5, 0.01);
  EXPECT_NEAR(number_of(tree, "truth/fibre/0/spanLoss"), 19.0, 0.01);
  EXPECT_NEAR(number_of(tree, truth + "boosterPower"),
              one.channel_power_dbm(0, measuring_point::booster_output, 19140000), 0.02);

  run_at(tree, "command/node/0/darkBand", "true");
  write_to(tree, "config/fibre/1/cut", "true");
  one.step(2s);
  EXPECT_EQ(number_of(tree, truth + "laserPower"), -99.0);
  EXPECT_EQ(text_of(tree, laser + "on"), "false");
  EXPECT_EQ(number_of(tree, "truth/fibre/1/spanLoss"), 99.0);
  run_at(tree, "command/node/0/fillBand", "true");
  one.mend_line();
  one.step(4s);
  EXPECT_EQ(text_of(tree, laser + "on"), "true");
  EXPECT_EQ(text_of(tree, "config/fibre/1/cut"), "false") << "whoever mended it";

  EXPECT_EQ(failure_of([&] { write_to(tree, "config/node/0/nexel/booster/state", "\"tired\""); }),
            "! -22 state: found 'tired', accepted are 'ok', 'hung', 'killed' and 'refusing'");
  write_to(tree, "config/node/0/nexel/booster/state", "\"refusing\"");
  EXPECT_EQ(one.get_nexel_state(0, "booster"), nexel_state::refusing);
}

TEST(controls, of_instruments_part_the_reading_from_the_truth) {
  plant one(default_topology("orvalite"));
  auto& tree = one.control_tree();
  one.step(5s);
  const auto number = [&](const std::string& path) { return number_of(tree, path); };
  const std::string truth = "truth/node/0/rx/channel/19140000/boosterPower";
  const std::string reading = "reading/node/0/rx/channel/19140000/monitorPower";
  const double below_db = number(truth) - number(reading);
  const double noise_db = 0.3;
  EXPECT_NEAR(below_db, 12.7, noise_db) << "the monitor's tap, less its offset";

  write_to(tree, "config/node/0/rx/monitor/stuck", "true");
  write_to(tree, "config/node/0/laser/19140000/power", "-3.0");
  one.step(5s);
  EXPECT_NEAR(number(truth) - number(reading), below_db - 3.0, noise_db);
  write_to(tree, "config/node/0/rx/monitor/stuck", "false");
  write_to(tree, "config/node/0/rx/monitor/offset", "1.3");
  one.step(5s);
  EXPECT_NEAR(number(truth) - number(reading), below_db - 1.0, noise_db);

  const double total_db = number("truth/node/0/rx/totalPower");
  EXPECT_NEAR(number("reading/node/0/rx/totalPower"), total_db, noise_db);
  write_to(tree, "config/node/0/tap/boosterOutput/offset", "2.0");
  one.step(2s);
  EXPECT_NEAR(number("reading/node/0/rx/totalPower"), total_db + 2.0, noise_db);

  run_at(tree, "command/cutLine", "true");
  one.step(2s);
  EXPECT_EQ(number("truth/fibre/0/spanLoss"), 99.0);
  EXPECT_EQ(text_of(tree, "reading/node/0/oscLink"), "false");
  run_at(tree, "command/cutLine", "false");
  one.step(5s);
  EXPECT_EQ(text_of(tree, "reading/node/0/oscLink"), "true");
}

TEST(trees, refuse_what_is_out_of_range_or_of_another_type) {
  plant one(default_topology("orvapro"));
  const std::array<const char*, 4> table[] = {
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "15.2",
       "! -22 attenuation 15.199999809265137 dB is out of range [0, 15]"},
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "\"5\"", "? float, string"},
      {"wss_edge", "config/wss/1/channel/19210000/port", "\"open\"",
       "! -22 port: found 'open', accepted are 'on' and 'off'"},
      {"booster", "config/gain", "27", "! -22 gain 27 dB is out of range [15, 26]"},
      {"booster", "config/enable", "1", "? bool, 32-bit unsigned integer"},
      {"booster", "data/gain", "20", "! -22 Not writable: data/gain"},
      {"voa_sfp", "config/attenuation", "-1", "! -22 attenuation -1 dB is out of range [0, 25]"},
      {"tdcm", "config/dispersion", "900",
       "! -22 dispersion 900 ps/nm is out of range [-700, 700]"},
  };
  for (const auto& [nexel, path, value, refusal] : table) {
    auto& tree = one.nexel_tree(nexel);
    EXPECT_EQ(failure_of([&, to = path, what = value] { write_to(tree, to, what); }), refusal)
        << path;
  }
  EXPECT_EQ(
      failure_of(
          [&] { run_at(one.nexel_tree("led_selka"), "command/line/1/rxLed/status", "\"blue\""); }),
      "! -22 colour: found 'blue', accepted are 'off', 'green', 'yellow', 'orange' and 'red'");
}

}  // namespace
