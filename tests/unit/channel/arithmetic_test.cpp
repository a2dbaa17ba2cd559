// Arithmetic of channels as tables: what a wrong constant, sign or rounding would change.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/channel/arithmetic.h"
#include "base/channel/control/regulation.h"
#include "base/manager/loops/edfa_calibration.h"
#include "products/orva/fixed_plan.h"
#include "products/orva/osnr.h"

namespace {

TEST(channel_arithmetic, channels_that_just_touch_do_not_overlap) {
  EXPECT_FALSE(channel::overlap(19600000, 5000, 19605000, 5000));
  EXPECT_TRUE(channel::overlap(19600000, 5000, 19604999, 5000));
  EXPECT_TRUE(channel::overlap(19605000, 5000, 19600000, 5002));
  EXPECT_TRUE(channel::overlap(19600000, 5000, 19600000, 5000));
  EXPECT_TRUE(channel::overlap(19600000, 2147483647, 18000001, 2147483647));
}

TEST(regulation, target_is_the_share_by_width_moved_by_the_tilt) {
  EXPECT_NEAR(channel::control::target_power(20.0f, 50.0f, 0.0f), 20.0 - 19.823, 0.001);
  EXPECT_FLOAT_EQ(channel::control::target_power(20.0f, 4800.0f, 0.25f), 20.25f);
  // Long wavelengths gain on the fibre, so they are launched lower.
  EXPECT_GT(channel::control::tilt_loss(1530.0f, 80.0f), 0.0f);
  EXPECT_LT(channel::control::tilt_loss(1565.0f, 80.0f), 0.0f);
  EXPECT_FLOAT_EQ(channel::control::tilt_loss(1530.0f, 50.0f) * 2,
                  channel::control::tilt_loss(1530.0f, 100.0f));
}

TEST(regulation, steps_shrink_with_the_error_and_never_overshoot) {
  for (const auto& [difference, change] : {std::pair{3.3f, 3.0f},
                                           {-3.3f, -3.0f},
                                           {4.0f, 2.7972f},
                                           {1.1f, 1.0f},
                                           {-0.55f, -0.5f},
                                           {15.0f, 10.4895f}}) {
    EXPECT_NEAR(channel::control::attenuation_change(difference), change, 1e-4) << difference;
  }
}

TEST(regulation, what_is_no_attenuation_becomes_the_darkest) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FLOAT_EQ(channel::control::clamp_attenuation(nan, 0.0f, 15.0f), 15.0f);
  EXPECT_FLOAT_EQ(channel::control::clamp_attenuation(-1.0f, 0.0f, 15.0f), 0.0f);
}

TEST(edfa_calibration, follows_the_last_six_accepted_differences) {
  manager::loops::edfa_calibration calibration(20.0f);
  EXPECT_FALSE(calibration.accept(25.0f)) << "5 dB away is a fault, not a drift";
  EXPECT_FLOAT_EQ(calibration.get(), 20.0f);
  EXPECT_TRUE(calibration.accept(24.9f));
  EXPECT_FLOAT_EQ(calibration.get(), 24.9f) << "the start value is no part of the mean";
  for (const float difference : {21.0f, 22.0f, 23.0f, 24.0f, 25.0f, 26.0f}) {
    EXPECT_TRUE(calibration.accept(difference)) << difference;
  }
  EXPECT_FLOAT_EQ(calibration.get(), 23.5f) << "the first difference has left the mean";
  EXPECT_FALSE(calibration.accept(std::numeric_limits<float>::infinity()));
  EXPECT_FALSE(calibration.accept(std::numeric_limits<float>::quiet_NaN()));
}

TEST(edfa_calibration, starts_anew_from_the_board_when_it_was_not_finite) {
  manager::loops::edfa_calibration calibration(std::numeric_limits<float>::quiet_NaN());
  EXPECT_FALSE(calibration.is_finite());
  EXPECT_FALSE(calibration.accept(20.0f));
  calibration.restart(21.0f);
  EXPECT_TRUE(calibration.accept(20.0f));
  EXPECT_FLOAT_EQ(calibration.get(), 20.0f);
}

TEST(osnr, nearest_dark_channel_stands_for_the_noise) {
  using products::orva::closest_dark_power;
  const std::vector<products::orva::monitored_channel> band{{100, false, -40.0f},
                                                            {200, true, -10.0f},
                                                            {300, false, -41.0f},
                                                            {400, true, -11.0f},
                                                            {600, false, -42.0f}};
  EXPECT_EQ(closest_dark_power(band, 200), -41.0f) << "the one above wins at equal distance";
  EXPECT_EQ(closest_dark_power(band, 400), -41.0f);
  EXPECT_EQ(closest_dark_power(band, 700), -42.0f);
  EXPECT_EQ(closest_dark_power(band, 50), -40.0f);
  EXPECT_EQ(closest_dark_power({{200, true, -10.0f}, {300, true, -9.0f}}, 200), std::nullopt);
}

TEST(osnr, is_quoted_in_a_tenth_of_a_nanometre) {
  using products::orva::osnr_db;
  // 20 dB over the noise in 150 GHz: 99 times the noise, and a twelfth of it counts.
  EXPECT_NEAR(osnr_db(-20.0f, -40.0f, 150.0f), 10 * std::log10(99.0 * 12.0), 1e-3);
  EXPECT_TRUE(std::isinf(osnr_db(-40.0f, -40.0f, 150.0f)));
  EXPECT_TRUE(std::isnan(osnr_db(-41.0f, -40.0f, 150.0f)));
  EXPECT_NEAR(products::orva::compensated_bandwidth(-254.9f), 83.4986, 1e-3);
  EXPECT_NEAR(products::orva::compensated_bandwidth(-255.0f), 85.3911, 1e-3);
}

TEST(utilization, of_fixed_plans_has_one_decimal) {
  EXPECT_FLOAT_EQ(products::orva::utilization(models::get("orvalite").grid, 1), 3.1f);
}

}  // namespace
