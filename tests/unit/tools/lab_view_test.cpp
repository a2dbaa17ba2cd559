// What the lab shows and judges: target powers, states of channels, rows, verdicts, pictures.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>

#include "models/model.h"
#include "tests/support/temp_folder.h"
#include "tools/lab/channel_target.h"
#include "tools/lab/convergence.h"
#include "tools/lab/loop_report.h"
#include "tools/lab/neighbour.h"
#include "tools/lab/screen_text.h"
#include "tools/lab/summary_text.h"
#include "tools/lab/view_model.h"

using namespace tools::lab;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

struct channel {
  unsigned id = 19300000;
  double wavelength = 1553.33;
  double power = 4.9;
  double attenuation = 6.0;
  bool peak = true;
};

void put_channel(readings& read, const channel& what) {
  const auto base = "data/client/" + std::to_string(what.id) + "/rx/";
  read.put(base + "waveLength", what.wavelength);
  read.put(base + "width", 150.0);
  read.put(base + "wantedPowerOffset", 0.0);
  read.put(base + "ocm/power", what.power);
  read.put(base + "attenuation", what.attenuation);
  read.put(base + "peak", what.peak);
}

/// Two lit channels within their targets of about 4.9 dBm and a dark one.
readings node_at_rest() {
  readings read;
  put_channel(read, {19300000, 1553.33, 4.9, 6.0, true});
  put_channel(read, {19400000, 1545.32, 4.8, 6.0, true});
  put_channel(read, {19350000, 1549.32, -45.0, 15.0, false});
  read.put("data/client/rx/edfaCalibration", 0.1);
  read.put("data/line/1/rx/length", 80.0);
  read.put("booster:data/powerLimit", 20.0);
  read.put("voa:data/attenuation", 3.0);
  return read;
}

view view_of(const readings& read) {
  return make_view(read, models::get("orvalite"), {});
}

}  // namespace

TEST(channel_state, tells_rest_from_work_and_from_the_end_of_the_range) {
  const std::tuple<float, float, channel_state> table[] = {
      {0.49F, 5.0F, channel_state::on_target},           {0.5F, 5.0F, channel_state::settling},
      {-0.6F, 14.0F, channel_state::resting_off_target}, {0.6F, 9.0F, channel_state::settling},
      {3.0F, 15.0F, channel_state::exhausted},           {-3.0F, 15.0F, channel_state::settling},
      {-3.0F, 0.0F, channel_state::exhausted},           {3.0F, 0.0F, channel_state::settling},
      {0.3F, 15.0F, channel_state::on_target},
  };
  for (const auto& [error, attenuation, state] : table) {
    EXPECT_EQ(lit_state(error, attenuation, 15.0F), state) << error << " dB at " << attenuation;
  }
}

TEST(view_model, makes_rows_in_the_order_of_frequency_with_the_error_against_the_target) {
  auto read = node_at_rest();
  read.put(truth_path(0, "19300000"), 5.2);
  const auto seen = view_of(read);
  ASSERT_THAT(seen.channels, SizeIs(3));
  EXPECT_THAT(
      (std::vector<unsigned>{seen.channels[0].id, seen.channels[1].id, seen.channels[2].id}),
      ElementsAre(19300000, 19350000, 19400000));
  const auto& first = seen.channels[0];
  EXPECT_NEAR(first.measured, 5.0, 0.001);
  EXPECT_NEAR(first.error, first.measured - first.target, 0.001);
  EXPECT_NEAR(first.truth.value(), 5.2, 0.001);
  EXPECT_EQ(seen.channels[1].state, channel_state::dark);
  EXPECT_EQ(count(seen).lit, 2U);
}

TEST(convergence, begins_again_after_each_disturbance) {
  const auto rest = view_of(node_at_rest());
  auto off_target = node_at_rest();
  put_channel(off_target, {19300000, 1553.33, 8.0, 6.0, true});
  auto line_moves = node_at_rest();
  line_moves.put("voa:data/attenuation", 3.4);
  auto step_due = node_at_rest();
  step_due.put("data/line/lmsStepSize", -0.3);
  auto gone_dark = node_at_rest();
  put_channel(gone_dark, {19300000, 1553.33, -45.0, 15.0, false});
  auto false_reading = node_at_rest();
  false_reading.put(truth_path(0, "19300000"), 0.0);
  auto loop_down = rest;
  loop_down.loops.rx = "error";

  const std::pair<view, const char*> table[] = {
      {view_of(off_target), "193.000 THz settling"},
      {view_of(line_moves), "the line VOA moves"},
      {view_of(step_due), "the line has -0.30 dB to go"},
      {view_of(gone_dark), "1 of 2 lit channels in sight"},
      {view_of(false_reading), "is not the plant's 0.00 dBm"},
      {loop_down, "the client rx loop is down"},
  };
  for (const auto& [disturbed, reason] : table) {
    convergence verdict(2);
    const convergence::clock::time_point start{};
    EXPECT_FALSE(verdict.update(rest, start));
    EXPECT_THAT(verdict.reasons(disturbed), ElementsAre(HasSubstr(reason)));
    EXPECT_FALSE(verdict.update(disturbed, start + 1s)) << reason;
    EXPECT_FALSE(verdict.update(rest, start + convergence::hold)) << reason;
    EXPECT_TRUE(verdict.update(rest, start + 2 * convergence::hold)) << reason;
  }
}

TEST(loop_report, is_followed_line_by_line_and_never_half_a_line) {
  const test::temp_folder folder;
  const auto path = folder.file("daemon.log");
  log_follower follower(path);
  EXPECT_EQ(follower.update().turn, "-");
  std::ofstream log(path);
  log << "Manager operational, regulating: line\nManager operational, regulating: cli"
      << std::flush;
  EXPECT_EQ(follower.update().turn, "line");
  log << "ent rx\n" << std::flush;
  EXPECT_EQ(follower.update().turn, "client rx");
}

TEST(picture, never_exceeds_the_terminal_and_scrolls_to_the_last_channel) {
  readings read;
  for (unsigned id = 19140000; id < 19140000 + 32 * 15000; id += 15000) {
    put_channel(read, {id, 29979244800.0 / id, 4.9, 6.0, true});
  }
  const auto seen = view_of(read);
  picture_options options{"orvalite", 75s, 0, "q ends"};
  for (const screen_size size : {screen_size{80, 24}, {40, 10}, {200, 60}, {10, 3}}) {
    options.first_row = 1000;
    const auto lines = picture(seen, options, size, {false, false});
    EXPECT_LE(lines.size(), size.rows);
    for (const auto& line : lines)
      EXPECT_LE(line.size(), size.columns) << line;
    if (size.rows < 10 || size.columns < 40) continue;
    EXPECT_THAT(lines[lines.size() - 2], HasSubstr("196.05")) << size.rows;
  }
  EXPECT_EQ(last_first_row(seen, {80, 60}), 0U);
}

TEST(picture, shows_the_road_of_the_light_and_the_panel) {
  auto read = node_at_rest();
  const std::pair<const char*, double> truth[] = {
      {"truth/node/0/rx/channel/1/laserPower", 0.0},
      {"truth/node/0/rx/channel/2/laserPower", 1.0},
      {"truth/node/0/rx/channel/3/laserPower", -99.0},  // a dark one does not count
      {"truth/node/0/rx/channel/1/boosterPower", 4.9},
      {"truth/node/0/rx/gain", 20.0},
      {"truth/node/0/rx/channel/1/linePower", -1.5},
      {"truth/fibre/0/spanLoss", 17.0},
      {"truth/node/1/tx/channel/1/linePower", -18.5},
      {"truth/node/1/tx/channel/1/preampPower", 5.5},
      {"truth/node/1/tx/channel/1/clientPower", -6.5},
      {"truth/fibre/1/spanLoss", 99.0},  // cut
      {"truth/node/0/tx/channel/1/preampPower", -99.0}};
  for (const auto& [path, value] : truth)
    read.put(path, value);
  const std::pair<const char*, const char*> lamps[] = {
      {"line/1/rx", "green"},     {"client/1/rx", "off"},  {"client/2/rx", "red"},
      {"client/10/rx", "yellow"}, {"line/1/tx", "orange"}, {"xc/1/tx", "green"}};
  for (const auto& [port, colour] : lamps)
    read.put(fmt::format("panel:data/{}Led/status", port), std::string(colour));

  const auto plain = picture(view_of(read), {"orvalite", 0s, 0, ""}, {80, 30}, {false, true});
  const auto at = std::find_if(plain.begin(), plain.end(),
                               [](const auto& line) { return line.starts_with("light"); });
  ASSERT_GE(plain.end() - at, 5);
  EXPECT_THAT((std::vector(at + 1, at + 5)),
              ElementsAre(" going      1.0  -15.1     4.9   -1.5  | 17.0 |  -18.5    5.5   -6.5",
                          " coming       -      -       -      -  |    - |      -      -      -",
                          "leds rx  line G  client .RY", "leds tx  line O  xc G"));
  const auto coloured = picture(view_of(read), {"orvalite", 0s, 0, ""}, {16, 30}, {true, true});
  EXPECT_THAT(coloured, testing::Contains("leds rx  line \x1b[32m●\x1b[0m "));
}

TEST(neighbour, is_simulated_where_there_is_no_link) {
  for (const auto& product : models::names()) {
    const auto stands_in = simulated_in_place_of(find_neighbour("", product));
    EXPECT_TRUE(find_neighbour(stands_in.name, product).is_simulated()) << product;
  }
}
