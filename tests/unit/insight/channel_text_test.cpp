// What is told of a channel and of the node in words.
#include "base/insight/channel_text.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/insight/summary.h"

namespace {

using namespace insight;
using enum channel_reason;

channel_verdict lit(channel_reason reason, float error) {
  return {.reason = reason,
          .lit = true,
          .is_on_target = std::fabs(error) < 0.5f,
          .error = error,
          .dead_band = 0.7f};
}

TEST(channel_text, tells_why_in_a_sentence_with_figures) {
  channel_verdict stepping = lit(stepped, 3.1f);
  stepping.step = 2.2f;
  const channel_verdict dark{.reason = no_light, .attenuation = 15};
  const channel_verdict failed{
      .reason = channel_reason::device_failed, .lit = true, .failure = "Timeout"};
  struct row {
    channel_verdict verdict;
    channel_history history;
    const char* text;
  };
  const std::vector<row> rows{
      {lit(switch_not_moved, 3.1f),
       {1, 0.4f},
       "3.1 dB too strong; one step made, waiting for the switch to move (0.4 s)"},
      {lit(step_not_in_light, -3.1f),
       {2, 1.2f},
       "3.1 dB too weak; 2 steps made, waiting for the step to show in the light (1.2 s)"},
      {stepping, {}, "3.1 dB too strong; a step of +2.2 dB made"},
      {lit(channel_reason::on_target, 0.04f), {}, "as strong as wanted; on target"},
      {lit(in_dead_band, -0.6f), {}, "0.6 dB too weak; inside the dead band of 0.7 dB"},
      {dark, {}, "no light from the client; parked at 15.0 dB"},
      {dark, {.is_rx = false}, "no light from the line; parked at 15.0 dB"},
      {failed, {}, "a device does not answer: Timeout"},
      {{.reason = blocked}, {}, "blocked by the operator"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(why(row.verdict, row.history), row.text);
}

TEST(summary, tells_what_is_lost_first) {
  const auto channel = [](unsigned frequency, const channel_verdict& verdict) {
    return known_channel{
        .id = frequency, .frequency = frequency, .verdict = verdict, .actuator = {}};
  };
  node_facts node;
  node.line.reason = line_reason::within_rest;
  node.peer = "ORVA-LITE";
  node.channels = {channel(19170000, lit(fully_open, -2.7f)), channel(19207500, lit(stepped, 3)),
                   channel(19300000, lit(channel_reason::on_target, 0.1f)),
                   channel(19400000, {.reason = no_light})};
  EXPECT_EQ(summary_of(node),
            "1 of 3 lit channels on target; 191.70 exhausted (2.7 dB short), 192.075 settling; "
            "line at rest; peer ORVA-LITE");
  node.channels.assign(6, channel(19300000, lit(stepped, 3)));
  EXPECT_EQ(summary_of(node),
            "0 of 6 lit channels on target; 193.00 settling, 193.00 settling, 193.00 settling, "
            "193.00 settling, 2 more settling; line at rest; peer ORVA-LITE");
  node.channels.clear();
  node.peer.clear();
  node.line.reason = line_reason::no_light;
  node.line.figures = {20};
  node.faults = {{"client rx", "Timeout", {}}};
  EXPECT_EQ(summary_of(node).find("client rx down since 00:00:00 UTC: Timeout; "), 0u);
  EXPECT_LT(summary_of(node).find("no fibre since 00:00:00 UTC: amplifiers off"),
            summary_of(node).find("0 of 0 lit channels on target"));
}

}  // namespace
