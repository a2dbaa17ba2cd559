// Each device by itself: what it does to light over time, and what it shows of it.
#include <gtest/gtest.h>

#include <cmath>

#include "sim/optics/decibel.h"
#include "sim/plant/amplifier.h"
#include "sim/plant/channel_monitor.h"
#include "sim/plant/laser.h"
#include "sim/plant/wave_switch.h"

namespace {

using namespace sim;

const grid four_slots = make_grid(19300000, 10000, 4, 0);

template <class Device>
void run(Device& device, double seconds, double dt_s = 0.05) {
  for (double t = 0.0; t < seconds - 1e-9; t += dt_s)
    device.step(dt_s);
}

light even_light(double each_dbm) {
  light beam(four_slots.size());
  for (double& power : beam.signal_mw)
    power = mw_of_dbm(each_dbm);
  return beam;
}

TEST(wave_switch, shows_a_step_when_it_has_settled) {
  wave_switch device(switch_settings{}, 4, noise_source(1, "switch"));
  device.set_attenuation(1, 6.04);
  run(device, 0.1);
  EXPECT_DOUBLE_EQ(device.shown_attenuation_db(1), 15.0);
  EXPECT_LT(device.true_attenuation_db(1), 9.0) << "most of the way after half the time";
  run(device, 0.1);
  EXPECT_DOUBLE_EQ(device.shown_attenuation_db(1), 6.0) << "in steps of 0.1 dB";
  EXPECT_NEAR(device.true_attenuation_db(1), 6.0, 0.05);
  EXPECT_NEAR(device.loss_db()[1], 13.0, 0.05);
  EXPECT_DOUBLE_EQ(device.true_attenuation_db(2), 15.0) << "neighbours stay";
  device.set_blocked(3, true);
  EXPECT_DOUBLE_EQ(device.loss_db()[3], 7.0 + 15.0 + 40.0);
  device.set_blocked(3, false);
  EXPECT_DOUBLE_EQ(device.loss_db()[3], 22.0);
}

TEST(wave_switch, a_coarse_one_answers_a_small_step_with_what_it_had) {
  switch_settings coarse;
  coarse.step_db = 0.5;
  wave_switch device(coarse, 4, noise_source(1, "switch"));
  device.set_attenuation(0, 6.0);
  run(device, 0.3);
  const double before_db = device.true_attenuation_db(0);
  device.set_attenuation(0, 6.18);
  run(device, 0.3);
  EXPECT_DOUBLE_EQ(device.shown_attenuation_db(0), 6.0);
  EXPECT_DOUBLE_EQ(device.true_attenuation_db(0), before_db);
  EXPECT_EQ(device.counters(0).switch_attenuation, 2u);
}

TEST(channel_monitor, shows_passes_to_a_hundredth_above_its_floor) {
  monitor_settings settings;
  settings.noise_db = 0.0;
  settings.offset_db = 0.3;
  channel_monitor monitor(settings, 4, noise_source(1, "monitor"));
  light beam = even_light(5.0);
  beam.signal_mw[2] = 0.0;
  EXPECT_FALSE(monitor.step(beam, 0.95));
  EXPECT_EQ(monitor.passes(), 0u);
  EXPECT_TRUE(monitor.step(beam, 0.05));
  EXPECT_NEAR(monitor.power_dbm(0), 5.0 - 13.0 + 0.3, 0.0051);
  EXPECT_DOUBLE_EQ(monitor.power_dbm(0), rounded_to(monitor.power_dbm(0), 0.01));
  EXPECT_NEAR(monitor.power_dbm(2), -45.0, 1e-9) << "the end of the scale";
  EXPECT_TRUE(monitor.detected(0));
  EXPECT_FALSE(monitor.detected(2));
  EXPECT_NEAR(monitor.total_dbm(), -7.7 + db_of_ratio(3.0), 0.02);
}

TEST(channel_monitor, noise_at_the_detection_level_does_not_flicker) {
  monitor_settings settings;
  settings.detect_level_dbm = -20.0;
  channel_monitor monitor(settings, 4, noise_source(1, "monitor"));
  const light beam = even_light(-20.0 + settings.tap_loss_db + 0.2);
  monitor.step(beam, 1.0);
  ASSERT_TRUE(monitor.detected(0));
  const light slightly_less = even_light(-20.0 + settings.tap_loss_db - 0.1);
  for (int i = 0; i < 100; ++i) {
    monitor.step(slightly_less, 1.0);
    ASSERT_TRUE(monitor.detected(0)) << i;
  }
  monitor.set_detect_level(-10.0);
  EXPECT_FALSE(monitor.detected(0)) << "at once, without a pass";
}

TEST(laser, lights_over_its_ramp_goes_dark_at_once_and_drifts) {
  laser_settings settings;
  settings.on = false;
  laser source(settings);
  source.step(0.05);
  EXPECT_EQ(source.power_mw(), 0.0);
  source.switch_to(true);
  run(source, 1.0);
  EXPECT_NEAR(source.power_mw(), 0.5, 0.01) << "evenly, in power";
  run(source, 1.0);
  EXPECT_NEAR(dbm_of_mw(source.power_mw()), 0.0, 1e-6);
  source.switch_to(false);
  source.step(0.05);
  EXPECT_EQ(source.power_mw(), 0.0);
  laser drifting({.drift_db_per_hour = -6.0});
  run(drifting, 600.0, 0.1);
  EXPECT_NEAR(dbm_of_mw(drifting.power_mw()), -1.0, 1e-3);
}

class amplifier_test : public testing::Test {
 protected:
  amplifier make(amplifier_settings settings) {
    const auto make_tap = [](const char* name) {
      return power_tap(tap_settings{}, 0.1, 0.0, 0.01, noise_source(1, name));
    };
    return amplifier(settings, four_slots, 0.0, make_tap("in"), make_tap("out"),
                     noise_source(1, "gain"));
  }
  static light feed(amplifier& device, double each_dbm, double seconds) {
    light beam = even_light(each_dbm);
    for (double t = 0.0; t < seconds; t += 0.05) {
      beam = even_light(each_dbm);
      device.step(beam, beam.total_mw(), 0.05);
    }
    return beam;
  }
};

TEST_F(amplifier_test, saturates_at_its_limit_and_tells_so) {
  amplifier_settings settings;
  settings.limit_headroom_db = 0.0;
  amplifier device = make(settings);
  light beam = feed(device, -10.0, 2.0);
  EXPECT_NEAR(device.saturation_db(), 0.0, 1e-6);
  EXPECT_NEAR(device.output().reading_dbm(), -10.0 + 6.02 + 17.5, 0.02);
  beam = feed(device, 0.0, 2.0);
  EXPECT_NEAR(dbm_of_mw(beam.total_mw()), 20.0, 0.02);
  EXPECT_NEAR(device.saturation_db(), 17.5 + 6.02 - 20.0, 0.01);
  EXPECT_NEAR(device.set_gain_db() - device.shown_gain_db(), 3.52, 0.1);
  // Gain missing at the high frequencies first: negative tilt.
  const double ripple_db = device.ripple_db()[3] - device.ripple_db()[0];
  const double tilt_db = db_of_ratio(beam.signal_mw[3] / beam.signal_mw[0]) - ripple_db;
  EXPECT_NEAR(tilt_db, -0.3 * 3.52, 0.02);
}

TEST_F(amplifier_test, alarms_below_its_threshold_with_hysteresis) {
  amplifier device = make(amplifier_settings{});  // -36 dBm over four slots
  const std::pair<double, bool> story[] = {
      {-50.0, true}, {-41.5, true}, {-40.9, false}, {-41.5, false}, {-42.1, true}};
  for (const auto& [each_dbm, los] : story) {
    feed(device, each_dbm, 0.2);
    EXPECT_EQ(device.loss_of_signal(), los) << each_dbm;
  }
}

}  // namespace
