#include "base/guards/calibration_evidence.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

class calibration_evidence : public testing::Test {
 protected:
  bool sound_after(int seconds, float tx_power, float total_power) {
    const auto now = std::chrono::steady_clock::time_point(1h) + std::chrono::seconds(seconds);
    evidence.look(tx_power, total_power, now);
    return evidence.is_sound(now);
  }

  guards::calibration_evidence evidence;
};

TEST_F(calibration_evidence, wants_two_passes_of_one_and_the_same_light) {
  EXPECT_FALSE(sound_after(0, 17.00f, 4.10f));
  EXPECT_FALSE(sound_after(1, 17.02f, 4.12f)) << "one pass since the start";
  EXPECT_TRUE(sound_after(2, 17.01f, 4.09f));
  EXPECT_FALSE(sound_after(3, 20.01f, 4.09f)) << "the amplifier tells of light that came since";
  EXPECT_FALSE(sound_after(4, 20.02f, 7.10f)) << "the pass before was of other light";
  EXPECT_TRUE(sound_after(5, 20.01f, 7.08f));
}

TEST_F(calibration_evidence, learns_nothing_from_readings_of_before_a_restart) {
  for (int second = 0; second < 20; ++second) {
    const float noise = second % 2 == 0 ? 0.01f : 0.0f;
    EXPECT_FALSE(sound_after(second, 17.0f + noise, 4.1f)) << "the monitor tells what it told";
  }
  EXPECT_FALSE(sound_after(20, 17.0f, 7.1f));
  EXPECT_TRUE(sound_after(21, 17.01f, 7.09f));
  evidence.begin_anew();
  EXPECT_FALSE(sound_after(22, 17.0f, 7.1f));
}

TEST_F(calibration_evidence, believes_instruments_without_noise_after_half_a_minute) {
  EXPECT_FALSE(sound_after(0, 17.0f, 4.1f));
  EXPECT_FALSE(sound_after(29, 17.0f, 4.1f));
  EXPECT_TRUE(sound_after(30, 17.0f, 4.1f));
}

}  // namespace
