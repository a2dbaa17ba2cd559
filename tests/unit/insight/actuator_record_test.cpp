// How the steps of an attenuator are classified: an approach, a drift, or hunting.
#include "base/insight/actuator_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace std::chrono_literals;
using insight::actuator_record;

struct happening {
  std::chrono::seconds at;
  float change;  // dB; 0 is an event from outside
};

struct row {
  const char* what;
  std::vector<happening> happenings;
  std::chrono::seconds asked_at;
  unsigned steps;
  unsigned reversals;
  bool hunts;
};

TEST(actuator_record, tells_hunting_from_approach_and_drift) {
  const std::vector<row> rows{
      {"an approach goes one way", {{1s, -3}, {4s, -2}, {7s, -1}, {9s, -.3f}}, 10s, 4, 0, false},
      {"three turns", {{0s, 1}, {9s, -1}, {99s, 1}, {599s, -1}}, 600s, 4, 3, true},
      {"ten minutes after the first", {{0s, 1}, {9s, -1}, {99s, 1}, {599s, -1}}, 610s, 4, 3, false},
      {"turns too far apart", {{0s, 1}, {60s, -1}, {400s, 1}, {661s, -1}}, 662s, 4, 3, false},
      {"the newest three count",
       {{0s, 1}, {60s, -1}, {400s, 1}, {661s, -1}, {662s, 1}},
       663s,
       5,
       4,
       true},
      {"a drift turned, then noise",
       {{0s, 1}, {601s, -1}, {780s, 1}, {840s, -1}},
       841s,
       4,
       3,
       false},
      {"the cause has gone", {{0s, 1}, {9s, -1}, {15s, 1}, {25s, -1}}, 146s, 4, 3, false},
      {"a minute before that", {{0s, 1}, {9s, -1}, {15s, 1}, {25s, -1}}, 86s, 4, 3, true},
      {"one way from there on",
       {{0s, 1}, {9s, -1}, {15s, 1}, {25s, -1}, {80s, -1}, {140s, -1}},
       146s,
       6,
       3,
       false},
      {"as slow as before", {{0s, 1}, {9s, -1}, {99s, 1}, {199s, -1}}, 480s, 4, 3, true},
      {"an event between",
       {{0s, 1}, {9s, -1}, {99s, 1}, {150s, 0}, {200s, -1}, {210s, 1}},
       211s,
       5,
       3,
       false},
      {"an hour", {{0s, 1}, {1800s, 1}, {3599s, 1}, {3600s, 1}}, 3600s, 3, 0, false},
      {"long after", {{0s, 1}, {9s, -1}}, 9000s, 0, 0, false},
      {"again long after", {{0s, 1}, {9000s, -1}}, 9000s, 1, 1, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const actuator_record::time_point start{777h};
    actuator_record record;
    for (const auto& [at, change] : row.happenings)
      change == 0 ? record.event() : record.step(start + at, change);
    const auto now = start + row.asked_at;
    const auto writes =
        std::ranges::count_if(row.happenings, [](auto& h) { return h.change != 0; });
    EXPECT_EQ(record.steps(), writes);
    EXPECT_EQ(record.steps_last_hour(now), row.steps);
    EXPECT_EQ(record.reversals_last_hour(now), row.reversals);
    EXPECT_EQ(record.is_hunting(now), row.hunts);
  }
}

/// How often a day of noise, which reverses at random, begins and ends to be hunting.
TEST(actuator_record, does_not_waver_over_a_day_of_noise) {
  std::mt19937 random(7);
  for (const auto mean : {3.0, 15.0, 45.0}) {
    std::exponential_distribution<> pause(1 / mean);
    actuator_record record;
    actuator_record::time_point now{777h};
    const auto end = now + 24h;
    auto next = now;
    float change = 1;
    bool hunted = false;
    int wavers = 0;
    for (; now < end; now += 1s) {
      if (now >= next) {
        record.step(now, change);
        change = -change;
        next += std::chrono::milliseconds(static_cast<int>(1000 * pause(random)));
      }
      if (record.is_hunting(now) != hunted) ++wavers;
      hunted = record.is_hunting(now);
    }
    EXPECT_TRUE(hunted) << mean;
    EXPECT_LE(wavers, 3) << mean;
  }
}

}  // namespace
