// How far others have moved a channel from its rest, as told from the readings of a noisy monitor.
#include "base/insight/rest_level.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using insight::rest_level;

struct monitor {
  float reading(float of) {
    return std::round((of + noise(random)) * 100) / 100;  // of hundredths
  }
  std::mt19937 random;
  std::normal_distribution<float> noise;
};

/// The largest departure told of forty channels, of which one moves by so much for some readings.
float told_of_band(float noise_db, float moved, unsigned lasting, unsigned seed) {
  constexpr unsigned channels = 40;
  constexpr unsigned readings = 12;
  monitor eye{std::mt19937(seed), std::normal_distribution<float>(0, noise_db)};
  float largest = 0;
  for (unsigned channel = 0; channel < channels; ++channel) {
    rest_level level;
    for (unsigned i = 0; i < 60; ++i)
      level.rest(eye.reading(-0.2f), true);
    for (unsigned i = 0; i < readings; ++i) {
      const bool moves = channel == 7 && i >= 3 && i < 3 + lasting;
      const float told = level.departure(eye.reading(moves ? moved - 0.2f : -0.2f));
      if (std::fabs(told) > std::fabs(largest)) largest = told;
    }
  }
  return largest;
}

TEST(rest_level, tells_a_move_within_a_tenth_of_a_decibel_from_the_noise) {
  struct row {
    float noise, moved;
    unsigned lasting;
  };
  const row table[] = {{0.02f, 0, 9},     {0.02f, 0.08f, 9}, {0.02f, 0.15f, 9}, {0.02f, -0.5f, 1},
                       {0.05f, 0, 9},     {0.05f, 0.08f, 9}, {0.05f, 0.2f, 9},  {0.05f, -0.3f, 9},
                       {0.05f, 0.6f, 9},  {0.05f, -3, 9},    {0.05f, 1, 1},     {0.05f, 0.25f, 5},
                       {0.002f, 0.04f, 9}};
  for (const auto& [noise, moved, lasting] : table) {
    constexpr unsigned seeds = 50;
    unsigned off = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
      const float told = told_of_band(noise, moved, lasting, seed);
      if (std::fabs(told - moved) > 0.105f) ++off;
    }
    EXPECT_LE(off, seeds / 10) << fmt::format("{} dB for {} readings in {} dB", moved, lasting,
                                              noise);
  }
}

TEST(rest_level, is_none_before_a_channel_rests_and_takes_a_repeated_reading_once) {
  rest_level level;
  EXPECT_FALSE(std::isfinite(level.departure(0.3f)));
  level.rest(0.1f, true);
  level.rest(0.1f, false);
  EXPECT_FALSE(std::isfinite(level.departure(0.3f))) << "it has left its rest by itself";
  level.rest(0.1f, true);
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(level.departure(0.2f), 0) << "one reading, looked at again and again";
  EXPECT_NEAR(level.departure(1.1f), 1.0f, 0.05f);
  EXPECT_FALSE(std::isfinite(level.departure(insight::no_figure)));
}

}  // namespace
