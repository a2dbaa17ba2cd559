// The line's arithmetic at its edges.
#include <gtest/gtest.h>

#include <cmath>

#include "base/manager/loops/line_arithmetic.h"

namespace {

using namespace manager::loops;

TEST(line_arithmetic, losses_are_never_negative_and_need_a_length) {
  EXPECT_EQ(loss_between(3, -14), 17);
  EXPECT_EQ(loss_between(-14, 3), 0);
  EXPECT_EQ(attenuation_per_kilometer(17, 80), 17.0f / 80);
  EXPECT_EQ(attenuation_per_kilometer(17, 1.0f), 0);
  EXPECT_EQ(attenuation_per_kilometer(17, 1.0001f), 17 / 1.0001f);
  EXPECT_EQ(attenuation_per_kilometer(-1, 80), 0);
}

TEST(line_arithmetic, embedded_settings_are_limited_on_one_side_each) {
  EXPECT_FLOAT_EQ(voa_attenuation_for({20, 150, 0, 1, -0.25f, 0.3f}), 20 - 15.0515f - 1.55f);
  EXPECT_FLOAT_EQ(voa_attenuation_for({20, 4800, 5, 0, 0, 0}), 15);
  EXPECT_EQ(embedded_target_power(17, 25), -3);
  EXPECT_EQ(embedded_target_power(17, 17), 5);
  EXPECT_EQ(embedded_target_power(17, 3), 5);
  EXPECT_EQ(embedded_preamp_gain(-0.5f, 17, 1, 15), 17);
  EXPECT_EQ(embedded_preamp_gain(-0.5f, 10, 1, 15), 15);
  EXPECT_EQ(embedded_preamp_gain(std::nanf(""), 10, 1, 15), 15);
}

TEST(line_arithmetic, weak_channels_pull_the_attenuation_down) {
  lms_sum sum;
  EXPECT_EQ(sum.mean_gradient(), 0) << "without a channel";
  sum.add(2);
  EXPECT_EQ(sum.mean_gradient(), -4);
  sum.add(-1);
  EXPECT_EQ(sum.mean_gradient(), -1);
  EXPECT_EQ(sum.squares(), 5) << "not divided";
}

TEST(line_arithmetic, the_history_of_a_channel_holds_six_readings) {
  std::deque<float> history;
  for (int power = 1; power <= 10; ++power)
    remember_power(history, static_cast<float>(power));
  EXPECT_EQ(history, (std::deque<float>{5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(mean(history), 7.5f);
}

TEST(line_arithmetic, gradients_may_differ_more_once_half_of_the_band_is_lit) {
  for (const auto& [width, threshold] : {std::pair{0.0f, 0.1f},
                                         {2399.0f, 0.1f},
                                         {2400.0f, 5.0f},
                                         {4800.0f, 5.0f},
                                         {7200.0f, 10.0f}}) {
    EXPECT_EQ(steadiness_threshold(width), threshold) << width;
  }
  EXPECT_EQ(spread({-4, 1, -3}), 5);
  EXPECT_EQ(spread({}), 0);
}

TEST(line_arithmetic, deviation_is_of_the_population) {
  EXPECT_EQ(standard_deviation(std::deque<float>{}), -1);
  EXPECT_EQ(standard_deviation(std::deque<float>{17}), 0);
  EXPECT_FLOAT_EQ(standard_deviation(std::deque<float>{2, 4, 4, 4, 5, 5, 7, 9}), 2);
}

TEST(line_arithmetic, a_small_step_is_rest_in_either_direction) {
  const float just_above = std::nextafter(0.15f, 1.0f);
  EXPECT_TRUE(is_at_rest(0));
  EXPECT_TRUE(is_at_rest(std::nextafter(0.15f, 0.0f)));
  EXPECT_FALSE(is_at_rest(just_above));
  EXPECT_FALSE(is_at_rest(-just_above));
  EXPECT_TRUE(is_at_rest(std::nanf(""))) << "what is no number is not written";
}

}  // namespace
