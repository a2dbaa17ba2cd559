// The dispersion modules of orvapro on the plant: the light's path, the compensator's setting, and
// the state after a refusal.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/failure.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

constexpr const char* limited_model = "TDCMX-C000-JC-BS08";
constexpr double fibre_ps_per_nm_km = 16.7;

/// A running orvapro with a fibre of this length.
class compensated {
 public:
  /// Its start opens the line and so makes the setting; the compensator takes a while.
  explicit compensated(double length_km, const char* part_number = "TDCM-0700",
                       bool switch_is_stuck = false)
      : node(topology_of(length_km, part_number)), length_km_(length_km) {
    node.plant().set_optical_switch_stuck(0, switch_is_stuck);
    node.start();
    node.run_for(25s);
  }

  static sim::topology topology_of(double length_km, const char* part_number) {
    auto topology = sim::default_topology("orvapro");
    for (auto& fibre : topology.fibres) {
      fibre.length_km = length_km;
      fibre.dispersion_ps_per_nm_km = fibre_ps_per_nm_km;
    }
    topology.nodes.front().compensator.part_number = part_number;
    return topology;
  }

  /// The setting is made again when the fibre comes back.
  void lose_and_find_the_fibre() {
    node.plant().cut_line();
    node.run_for(10s);
    node.plant().mend_line();
    node.run_for(25s);
  }

  /// "", or what the client is told.
  std::string set(const std::string& settings) {
    return test::failure_of(
        [&] { node.write("config/dispersion/rx/dispersionSettings", settings); });
  }

  float shown(const char* name) {
    return node.number(fmt::format("local/interface/line/1/data/dispersion/rx/{}", name));
  }
  std::string fiber_type() {
    return node.text("local/interface/line/1/data/dispersion/rx/fiberType");
  }
  double true_residual() {
    return length_km_ * fibre_ps_per_nm_km + node.plant().compensation_ps_per_nm(0);
  }

  plant_node node;

 private:
  double length_km_;
};

TEST(dispersion, automatic_settings_follow_length_and_compensator) {
  const std::tuple<double, const char*, float, double> rows[] = {
      {80.0, "TDCM-0700", 1.0f, -676.0},   {40.0, "TDCM-0700", 2.0f, -668.0},
      {40.1, "TDCM-0700", 1.0f, -9.67},    {30.0, "TDCM-0700", 2.0f, -501.0},
      {100.0, "TDCM-0700", 1.0f, -700.0},  // at the end of the compensator's range
      {80.0, limited_model, 1.0f, -180.0}, {36.0, limited_model, 2.0f, -180.0},
      {40.1, limited_model, 1.0f, -9.67},
  };
  for (const auto& [length_km, part_number, path, setting] : rows) {
    SCOPED_TRACE(fmt::format("{} km, {}", length_km, part_number));
    compensated line(length_km, part_number);
    EXPECT_EQ(line.shown("skipDCM"), path);
    EXPECT_NEAR(line.shown("tdcm"), setting, 0.5);
    EXPECT_NEAR(line.shown("finalDispersion"), line.true_residual(), 0.5);
    EXPECT_EQ(line.fiber_type(), "G.652");
  }
}

TEST(dispersion, the_operators_value_stays_until_he_goes_back_to_automatic) {
  compensated line(80.0, limited_model);
  EXPECT_EQ(line.set(R"({"mode":"manual","dispersion":400})"), "");
  line.node.run_for(30s);
  EXPECT_NEAR(line.shown("tdcm"), 400.0, 0.5) << "not held to the range of the automatic";
  EXPECT_EQ(line.shown("skipDCM"), 1.0f);
  EXPECT_EQ(line.fiber_type(), "Manual");
  line.lose_and_find_the_fibre();
  EXPECT_NEAR(line.shown("tdcm"), 400.0, 0.5);
  line.node.take_log();
  EXPECT_EQ(line.set(R"({"mode":"manual G.655","dispersion":400.0})"), "");
  EXPECT_EQ(test::count_of(line.node.take_log(), "Setting TDCM"), 0)
      << "the same settings once more move nothing";
  EXPECT_EQ(line.set(R"({"mode":"auto","dispersion":0})"), "");
  line.node.run_for(30s);
  EXPECT_NEAR(line.shown("tdcm"), -180.0, 0.5);
  EXPECT_EQ(line.fiber_type(), "G.652");
}

TEST(dispersion, what_is_refused_changes_nothing) {
  compensated line(80.0);
  ASSERT_EQ(line.set(R"({"mode":"manual","dispersion":100})"), "");
  line.node.run_for(20s);
  constexpr const char* out_of_range =
      "! -22 Dispersion compensation value is not within range (-700 to 700 [ps/nm]).";
  const std::pair<const char*, const char*> rows[] = {
      {R"({"mode":"auto G.652","dispersion":"a"})", "! -22 Dispersion value is not a number"},
      {R"({"mode":"auto G.652"})", "! -22 Dispersion value is not a number"},
      {R"({"dispersion":5})", "! -22 Dispersion mode is not a string"},
      {R"({"mode":"manual","dispersion":700.1})", out_of_range},
      {R"({"mode":"auto","dispersion":-701})", out_of_range},
  };
  const auto expect_as_before = [&](const std::string& when) {
    line.node.run_for(5s);
    EXPECT_NEAR(line.shown("tdcm"), 100.0, 0.5) << when;
    EXPECT_EQ(line.fiber_type(), "Manual") << when;
  };
  for (const auto& [settings, told] : rows) {
    EXPECT_EQ(line.set(settings), told) << settings;
    expect_as_before(settings);
  }
  const std::string wanted = R"({"mode":"manual","dispersion":-300})";
  line.node.plant().set_nexel_state(0, "tdcm", sim::nexel_state::refusing);
  EXPECT_EQ(line.set(wanted), "! -5 Refused by the device");
  expect_as_before("refusing compensator");
  line.node.plant().set_nexel_state(0, "tdcm", sim::nexel_state::ok);
  EXPECT_EQ(line.set(wanted), "");
  line.node.run_for(20s);
  EXPECT_NEAR(line.shown("tdcm"), -300.0, 0.5);
}

TEST(dispersion, a_switch_that_answers_another_position_is_tried_until_it_moves) {
  compensated line(30.0, "TDCM-0700", true);  // it stands on 1 and belongs on 2
  const std::string manual = R"({"mode":"manual","dispersion":50})";
  EXPECT_EQ(line.set(manual), "! -22 Failed to set pathselect. Expected 2, got 1");
  EXPECT_EQ(line.shown("skipDCM"), 1.0f);
  EXPECT_EQ(line.shown("tdcm"), 0.0f) << "not set for a way that the light does not take";
  EXPECT_EQ(line.fiber_type(), "G.652");
  line.node.plant().set_optical_switch_stuck(0, false);
  line.node.run_for(30s);
  EXPECT_EQ(line.shown("skipDCM"), 2.0f);
  EXPECT_NEAR(line.shown("tdcm"), -501.0, 0.5);
  EXPECT_NEAR(line.shown("finalDispersion"), line.true_residual(), 0.5);
  EXPECT_EQ(line.set(manual), "");
}

class dispersion_device : public testing::TestWithParam<const char*> {};

TEST_P(dispersion_device, that_is_away_when_the_fibre_comes_back_is_set_once_it_is_there) {
  compensated line(30.0);
  auto& plant = line.node.plant();
  ASSERT_EQ(line.set(R"({"mode":"manual","dispersion":100})"), "");
  plant.cut_line();
  line.node.run_for(10s);
  plant.set_nexel_state(0, GetParam(), sim::nexel_state::killed);
  line.node.take_log();
  plant.mend_line();
  ASSERT_TRUE(line.node.run_until([&] { return line.node.all_on_target(); }, 1min))
      << "the line goes on without it";
  line.node.run_for(1min);
  EXPECT_TRUE(line.node.is_fully_operational());
  EXPECT_EQ(test::count_of(line.node.take_log(), "Line connection is back up."), 0) << "told again";

  plant.set_nexel_state(0, GetParam(), sim::nexel_state::ok);
  line.node.run_for(5s);
  EXPECT_EQ(test::count_of(line.node.take_log(), "Guard dispersion-setting ends"), 1);
  line.node.run_for(1min);
  EXPECT_EQ(line.shown("skipDCM"), 2.0f);
  EXPECT_NEAR(line.shown("tdcm"), 100.0, 0.5);
  EXPECT_NEAR(line.shown("finalDispersion"), line.true_residual(), 0.5);
  EXPECT_EQ(test::count_of(line.node.take_log(), "Setting TDCM"), 0) << "done is done";
}

INSTANTIATE_TEST_SUITE_P(devices, dispersion_device,
                         testing::Values("tdcm", "ols_optical_switch/1"), [](const auto& device) {
                           return std::string(device.index == 0 ? "compensator" : "switch");
                         });

TEST(dispersion, is_set_after_a_coldstart_without_a_compensator_and_in_the_dark) {
  auto topology = compensated::topology_of(30.0, "TDCM-0700");
  topology.nodes.front().coldstart = true;
  plant_node node(topology);
  node.plant().set_nexel_state(0, "tdcm", sim::nexel_state::killed);
  node.plant().cut_line();
  node.start();
  node.run_for(30s);
  node.plant().mend_line();
  node.run_for(30s);
  node.plant().set_nexel_state(0, "tdcm", sim::nexel_state::ok);
  node.run_for(30s);
  EXPECT_NEAR(node.plant().compensation_ps_per_nm(0), -501.0, 0.5);
}

TEST(dispersion, shows_the_truth_after_a_restart_of_the_daemon_and_moves_nothing) {
  for (const double length_km : {30.0, 80.0}) {
    compensated line(length_km);
    line.node.take_log();
    line.node.restart();
    line.node.run_for(30s);
    EXPECT_EQ(test::count_of(line.node.take_log(), "Selecting optical switch"), 0);
    EXPECT_EQ(line.shown("skipDCM"), length_km > 40.0 ? 1.0f : 2.0f);
    EXPECT_NEAR(line.shown("finalDispersion"), line.true_residual(), 0.5);
  }
}

}  // namespace
