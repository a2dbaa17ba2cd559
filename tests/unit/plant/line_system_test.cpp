// The whole light path: that the default numbers fit together, and how the parts affect each other.
#include "sim/plant/line_system.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/truth.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;

/// The near node tended as well, until everything rests.
std::unique_ptr<line_system> at_rest(const topology& what) {
  auto system = std::make_unique<line_system>(what);
  system->tended = {true, true};
  system->step(60s);
  system->tended = {false, false};
  return system;
}

class product_at_rest : public testing::TestWithParam<std::string> {};

TEST_P(product_at_rest, stands_inside_every_range_with_every_channel_on_target) {
  const auto system = at_rest(default_topology(GetParam()));
  const node& near = *system->nodes[0];
  for (std::size_t i = 0; i < system->slots.size(); ++i) {
    const double power_dbm = channel_power_dbm(near, measuring_point::booster_output, i);
    EXPECT_NEAR(power_dbm, system->booster_target_dbm(0, i), 0.05) << i;
    EXPECT_GT(near.add_switch.true_attenuation_db(i), 3.0) << i;
    EXPECT_LT(near.add_switch.true_attenuation_db(i), 9.0) << i;
    EXPECT_NEAR(channel_power_dbm(near, measuring_point::preamp_output, i), 5.0, 1.0) << i;
  }
  for (const auto& each : system->nodes) {
    EXPECT_NEAR(each->booster.saturation_db(), 0.0, 0.01);
    EXPECT_NEAR(each->preamp.saturation_db(), 0.0, 0.01);
  }
}

INSTANTIATE_TEST_SUITE_P(every, product_at_rest, testing::ValuesIn(models::names()));

TEST(line_system, dark_channels_stay_below_every_detection_level) {
  // A peer asks for as little as -32 dBm; the noise of both amplifiers must not pass for light.
  topology what = default_topology("orvalite", 2);
  for (node_settings& each : what.nodes)
    each.lit = std::vector<unsigned>{19140000};
  const auto system = at_rest(what);
  for (const auto& each : system->nodes) {
    for (std::size_t i = 1; i < system->slots.size(); ++i) {
      EXPECT_LT(each->preamp_monitor.power_dbm(i), -33.0) << i;
      EXPECT_GT(each->preamp_monitor.power_dbm(i), -44.0) << "and be told from the floor";
    }
    EXPECT_TRUE(each->preamp_monitor.detected(0));
  }
}

TEST(line_system, raman_tilt_falls_with_frequency_and_can_be_taken_out) {
  topology what = default_topology("orvalite", 2);
  for (node_settings& each : what.nodes) {
    each.voa.start_attenuation_db = 0.0;
    each.booster.ripple_db = each.preamp.ripple_db = 0.0;
  }
  const auto system = at_rest(what);
  const auto tilt_db = [&] {
    const node& to = *system->nodes[1];
    const node& from = *system->nodes[0];
    const auto span_db = [&](std::size_t i) {
      return channel_power_dbm(to, measuring_point::line_input, i) -
             channel_power_dbm(from, measuring_point::line_output, i);
    };
    return span_db(system->slots.size() - 1) - span_db(0);
  };
  const double with_raman_db = tilt_db();
  EXPECT_LT(with_raman_db, -0.8) << "18 dBm in the fibre";
  EXPECT_NEAR(with_raman_db, system->fibres[0].raman_tilt_db(), 1e-6);
  system->fibres[0].set_raman(false);
  system->step(1s);
  EXPECT_NEAR(tilt_db(), 0.0, 1e-9);
}

TEST(line_system, supervisory_link_needs_both_fibres_for_three_seconds) {
  line_system system(default_topology("orvalite"));
  const auto ready = [&] { return system.nodes[0]->osc.ready() && system.nodes[1]->osc.ready(); };
  system.step(2900ms);
  EXPECT_FALSE(ready());
  system.step(100ms);
  EXPECT_TRUE(ready());
  EXPECT_NEAR(system.nodes[0]->osc.fibre_km(), 80.0, 1e-9);
  EXPECT_NEAR(system.nodes[0]->osc.dispersion_ps_per_nm(), 16.7 * 80.0, 1e-6);

  system.fibres[0].set_cut(true);  // the one away from node 0
  system.step(100ms);
  EXPECT_FALSE(ready());
  EXPECT_TRUE(system.nodes[0]->osc.has_light());
  EXPECT_FALSE(system.nodes[0]->preamp.loss_of_signal());
  EXPECT_FALSE(system.nodes[1]->osc.has_light());
  EXPECT_TRUE(system.nodes[1]->preamp.loss_of_signal());
  EXPECT_NEAR(system.nodes[0]->osc.fibre_km(), 80.0, 1e-9) << "the last measurement stays";

  system.fibres[0].set_cut(false);
  system.step(2900ms);
  EXPECT_FALSE(ready());
  system.step(200ms);
  EXPECT_TRUE(ready());
}

TEST(line_system, a_laser_off_its_frequency_ends_in_its_neighbours_noise) {
  const auto system = at_rest(default_topology("orvalite"));
  node& near = *system->nodes[0];
  const double clean_db = osnr_db(near.at(measuring_point::booster_output), system->slots, 11);
  laser_settings settings = near.lasers[10].settings();
  settings.frequency_offset_ghz = 60.0;
  near.lasers[10].set(settings);
  system->step(1s);
  EXPECT_GT(channel_power_dbm(near, measuring_point::booster_output, 10), 4.0)
      << "still inside its own 150 GHz";
  settings.frequency_offset_ghz = 150.0;
  near.lasers[10].set(settings);
  system->step(1s);
  EXPECT_EQ(channel_power_dbm(near, measuring_point::booster_output, 10), dark_dbm);
  const double disturbed_db = osnr_db(near.at(measuring_point::booster_output), system->slots, 11);
  EXPECT_LT(disturbed_db, clean_db - 1.0);
}

TEST(line_system, drop_ports_hear_their_neighbours_thirty_decibels_down) {
  const auto system = at_rest(default_topology("orvalite"));
  node& near = *system->nodes[0];
  near.drop_switch.set_blocked(5, true);
  system->step(1s);
  const light& client = near.at(measuring_point::client_output);
  const double neighbours_dbm = channel_power_dbm(near, measuring_point::preamp_output, 4) + 3.0;
  EXPECT_NEAR(dbm_of_mw(client.noise_mw[5]), neighbours_dbm - 7.0 - 30.0, 0.3);
  EXPECT_LT(dbm_of_mw(client.signal_mw[5]), -45.0);
}

}  // namespace
