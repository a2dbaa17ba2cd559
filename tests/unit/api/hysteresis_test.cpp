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

void expect_decisions(const char* story, hysteresis<float> filter, bool polled, float start,
                      const std::vector<reading>& readings) {
  SCOPED_TRACE(story);
  float present = start;
  for (std::size_t i = 0; i < readings.size(); ++i) {
    const auto& next = readings[i];
    const bool accepted = filter.accepts(present, next.value, polled, next.from == push);
    EXPECT_EQ(accepted, next.accepted) << "reading " << i << ": " << next.value;
    EXPECT_EQ(filter.get_cycle_count(), next.count) << "reading " << i << ": " << next.value;
    if (accepted) present = next.value;
  }
}

TEST(hysteresis_test, value_in_no_group_lets_small_changes_through_at_once) {
  expect_decisions("limits 1 and 0.2", hysteresis<float>::limits(1.0f, 0.2f), false, 10.0f,
                   {{push, 10.1f, false, 0},
                    {push, 10.5f, true, 0},
                    {push, 10.6f, false, 0},
                    {push, 10.71f, true, 0},  // drift is measured from the last accepted value
                    {push, 9.0f, true, 0}});
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
  expect_decisions("limits 1 and 0.2", hysteresis<float>::limits(1.0f, 0.2f), true, 10.0f,
                   readings);
}

TEST(hysteresis_test, limits_themselves_are_on_the_quiet_side) {
  expect_decisions("a change of exactly a limit", hysteresis<float>::limits(1.0f, 0.25f), true,
                   10.0f,
                   {{poll, 10.25f, false, 0},
                    {poll, 9.75f, false, 0},
                    {poll, 11.0f, false, 1},
                    {poll, 9.0f, false, 2},
                    {poll, 11.001f, true, 2}});
}

TEST(hysteresis_test, equal_filter_knows_no_small_change) {
  expect_decisions("equal", hysteresis<float>::equal(), true, 1.0f,
                   {{poll, 1.0f, false, 0}, {poll, 1.0000001f, true, 0}, {poll, 1.0f, true, 0}});
}

TEST(hysteresis_test, custom_filter_is_given_the_limits) {
  const auto only_rises = [](const float& before, const float& after, const float& immediate,
                             const float&) { return after - before > immediate ? 1 : -1; };
  expect_decisions("custom", hysteresis<float>::custom(only_rises, 2.0f, 0.0f), true, 1.0f,
                   {{poll, -5.0f, false, 0}, {poll, 2.5f, false, 0}, {poll, 3.5f, true, 0}});
}

}  // namespace
