#include "api/hysteresis.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using nx::api::hysteresis;

enum source { poll, push };

struct reading {
  source from;
  float value;
  bool accepted;
  unsigned count;  // of polls that the small change has waited
};

/// Of a polled value that begins at 10.
void expect_decisions(hysteresis<float> filter, const std::vector<reading>& readings) {
  float present = 10.0f;
  for (std::size_t i = 0; i < readings.size(); ++i) {
    const auto& next = readings[i];
    const bool accepted = filter.accepts(present, next.value, true, next.from == push);
    EXPECT_EQ(accepted, next.accepted) << "reading " << i << ": " << next.value;
    EXPECT_EQ(filter.get_cycle_count(), next.count) << "reading " << i << ": " << next.value;
    if (accepted) present = next.value;
  }
}

TEST(hysteresis_test, polled_value_holds_small_changes_back) {
  std::vector<reading> readings = {{push, 10.5f, false, 0}};
  for (unsigned tick = 1; tick <= 10; ++tick)
    readings.push_back({poll, 10.5f, false, tick});
  readings.push_back({poll, 10.5f, true, 10});
  // The delay has run out: the moving value is accepted each time, until it rests once.
  readings.push_back({poll, 10.9f, true, 10});
  readings.push_back({poll, 10.9f, false, 0});
  readings.push_back({poll, 11.3f, false, 1});
  readings.push_back({poll, 12.0f, true, 1});  // a large change does not wait
  expect_decisions(hysteresis<float>::limits(1.0f, 0.2f), readings);
}

TEST(hysteresis_test, limits_themselves_are_on_the_quiet_side) {
  expect_decisions(hysteresis<float>::limits(1.0f, 0.25f), {{poll, 10.25f, false, 0},
                                                            {poll, 9.75f, false, 0},
                                                            {poll, 11.0f, false, 1},
                                                            {poll, 9.0f, false, 2},
                                                            {poll, 11.001f, true, 2}});
}

}  // namespace
