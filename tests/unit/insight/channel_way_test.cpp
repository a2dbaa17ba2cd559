// The ways of a channel to its target, from the verdicts of a loop's looks: what set it going, when
// it arrived, and what happened between.
#include "base/insight/channel_way.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace insight;
using enum channel_reason;

struct look {
  float at;  // s
  channel_reason reason;
  float error = no_figure;
  float step = 0;
  bool settled = false;
  float wish = 4;
  float fibre_km = no_figure;
};

channel_verdict verdict_of(const look& of) {
  const auto state = state_of(of.reason);
  const bool lit = state != states::channel_state::dark && state != states::channel_state::blocked;
  return {.reason = of.reason,
          .at = time_point(std::chrono::duration_cast<time_point::duration>(
              std::chrono::duration<float>(1000 + of.at))),
          .lit = lit,
          .is_settled = of.settled,
          .wish = lit ? of.wish : no_figure,
          .fibre_km = of.fibre_km,
          .measured = of.wish + of.error,
          .error = of.error,
          .dead_band = 0.5f,
          .attenuation = 8,
          .step = of.step};
}

look rest(float at, float error = 0, float wish = 4) {
  return {at, channel_reason::on_target, error, 0, true, wish};
}

struct expected_way {
  const char* cause;
  float seconds;
  unsigned steps;
  float largest_step;
  float beyond;
  bool under_way = false;
};

struct row {
  const char* what;
  std::vector<look> looks;
  std::optional<expected_way> expected;
};

TEST(channel_way, tells_cause_time_steps_and_excursion) {
  const std::vector<row> rows{
      {"dark for ever", {{0, no_light}, {1, no_light}}, {}},
      {"first light",
       {{0, no_light},
        {1, others_turn, -6},
        {2, stepped, -6, -4},
        {3, switch_not_moved, -6},
        {4, stepped, -2, -2},
        {5, light_rises, 0.3f},
        rest(6, 0.2f)},
       {{"lit", 5, 2, -4, 0.3f}}},
      {"lit from above, excursion below",
       {{0, no_light}, {1, stepped, 5, 4}, {2, reading_repeats, -0.7f}, rest(3)},
       {{"lit", 2, 1, 4, 0.7f}}},
      {"under way",
       {{0, no_light}, {1, others_turn, -6}, {3, stepped, -6, -4}},
       {{"lit", 2, 1, -4, 0, true}}},
      {"back in the dark before its end", {{0, no_light}, {1, stepped, -6, -4}, {2, no_light}}, {}},
      {"an earlier way stands then",
       {{0, no_light}, rest(1), {2, no_light}, {3, stepped, 9, 4}, {4, no_light}},
       {{"lit", 0, 0, 0, 0}}},
      {"small trims are no way",
       {rest(0), {1, stepped, 0.9f, 0.8f}, rest(2)},
       {{"lit", 0, 0, 0, 0}}},
      {"a jump",
       {rest(0), {9, stepped, -3, -2}, {10, stepped, -1, -1}, rest(12)},
       {{"disturbed", 3, 2, -2, 0}}},
      {"another target",
       {rest(0), {5, stepped, 2, 2, false, 2}, rest(8, 0.3f, 2)},
       {{"target", 3, 1, 2, 0}}},
      {"a target that follows the fibre's length",
       {{0, no_light},
        {1, stepped, -6, -4, false, 4, 0},
        {2, stepped, -2, -2, false, 5, 80},
        rest(3, 0, 5)},
       {{"lit", 2, 2, -4, 0}}},
      {"a target that trembles", {rest(0), rest(5, 0, 4.15f)}, {{"lit", 0, 0, 0, 0}}},
      {"an unblock begins with the write",
       {rest(0), {1, blocked}, {5, unblocked}, {6, no_light}, {7, stepped, -6, -6}, rest(9)},
       {{"unblocked", 4, 1, -6, 0}}},
      {"light long after an unblock",
       {rest(0), {1, blocked}, {2, no_light}, {60, no_light}, {61, stepped, -6, -6}, rest(62)},
       {{"lit", 1, 1, -6, 0}}},
      {"a device that fails ends nothing",
       {{0, no_light}, {1, stepped, -6, -4}, {2, device_failed}, {5, loop_down}, rest(6)},
       {{"lit", 5, 1, -4, 0}}},
      {"a channel that is left alone has none",
       {{0, no_light}, {1, mode_leaves_alone, -6}, {2, mode_leaves_alone, -6}},
       {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    channel_way ways;
    for (const auto& each : row.looks)
      ways.look(verdict_of(each));
    const auto last = ways.last();
    ASSERT_EQ(last.has_value(), row.expected.has_value());
    if (!last) continue;
    const auto now = verdict_of(row.looks.back()).at;
    EXPECT_STREQ(name_of(last->cause), row.expected->cause);
    EXPECT_NEAR(last->seconds(now), row.expected->seconds, 1e-3);
    EXPECT_EQ(last->steps, row.expected->steps);
    EXPECT_FLOAT_EQ(last->largest_step, row.expected->largest_step);
    EXPECT_FLOAT_EQ(last->beyond, row.expected->beyond);
    EXPECT_EQ(ways.is_under_way(), row.expected->under_way);
  }
}

TEST(channel_way, tells_news_once) {
  channel_way ways;
  ways.added();
  EXPECT_FALSE(ways.look(verdict_of({0, no_light})).went_dark);
  EXPECT_TRUE(ways.look(verdict_of({1, stepped, -4, -4})).came_on);
  const auto short_of_light = ways.look(verdict_of({2, fully_open, -2}));
  EXPECT_TRUE(short_of_light.exhausted);
  EXPECT_FALSE(short_of_light.came_on || short_of_light.arrived);
  EXPECT_FALSE(ways.look(verdict_of({3, fully_open, -2})).exhausted);
  EXPECT_TRUE(ways.look(verdict_of(rest(4))).arrived);
  EXPECT_EQ(ways.last()->cause, way_cause::added);
  EXPECT_FALSE(ways.look(verdict_of(rest(5))).arrived);
  EXPECT_TRUE(ways.look(verdict_of({6, no_light})).went_dark);
  EXPECT_FALSE(ways.look(verdict_of({7, no_light})).went_dark);
}

}  // namespace
