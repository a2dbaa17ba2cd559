// A front panel that is away, hung or late: the light is not affected, and the panel is right once
// it answers.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "base/insight/event_log.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

enum class panel { well, hung, killed, late };

void afflict(plant_node& node, panel how) {
  auto& plant = node.plant();
  if (how == panel::hung) plant.set_nexel_state(0, "led_selka", sim::nexel_state::hung);
  if (how == panel::killed) plant.set_nexel_state(0, "led_selka", sim::nexel_state::killed);
  if (how == panel::late) plant.set_latency(0, "led_selka", 1s);
}

void heal(plant_node& node) {
  node.plant().set_nexel_state(0, "led_selka", sim::nexel_state::ok);
  node.plant().set_latency(0, "led_selka", 0s);
}

/// Time until all channels are on target, after the start and after a jump of one.
struct times {
  std::chrono::nanoseconds start;
  std::chrono::nanoseconds jump;
};

std::string colour(plant_node& node, const std::string& led) {
  return test::text_of(node.plant().nexel_tree("led_selka"), fmt::format("data/{}Led/status", led));
}

std::optional<insight::event_kind> newest_of_panel() {
  std::optional<insight::event_kind> newest;
  for (const auto& event : insight::event_log::instance().events())
    if (event.on == "panel") newest = event.kind;
  return newest;
}

class panel_fault : public testing::TestWithParam<const char*> {
 protected:
  static times regulate(plant_node& node, panel how) {
    afflict(node, how);
    times result{};
    const auto begin = node.now();
    node.start();
    node.add_channels();
    EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 3min));
    result.start = node.now() - begin;
    node.run_for(30s);
    const auto jumped = node.now();
    node.disturb(node.channels()[3], 3.0);
    EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 10s));
    result.jump = node.now() - jumped;
    return result;
  }
};

TEST_P(panel_fault, costs_the_light_nothing_and_is_made_good) {
  plant_node healthy(GetParam());
  const auto expected = regulate(healthy, panel::well);
  for (const auto how : {panel::hung, panel::killed, panel::late}) {
    SCOPED_TRACE(static_cast<int>(how));
    plant_node node(GetParam());
    insight::event_log::instance().reset();
    const auto found = regulate(node, how);
    EXPECT_EQ(found.start, expected.start);
    EXPECT_EQ(found.jump, expected.jump);
    EXPECT_TRUE(node.is_fully_operational());
    const auto before = node.take_log();
    EXPECT_LE(std::count_if(before.begin(), before.end(),
                            [](const auto& text) { return text.starts_with("Failed to "); }),
              1);
    const auto is_down =
        how != panel::late ? std::optional(insight::event_kind::loop_down) : std::nullopt;
    EXPECT_EQ(newest_of_panel(), is_down);
    heal(node);
    node.run_for(15s);
    EXPECT_EQ(colour(node, "line/1/rx"), "green");
    EXPECT_EQ(colour(node, "line/1/tx"), "green");
    EXPECT_NE(newest_of_panel(), insight::event_kind::loop_down);
  }
}

INSTANTIATE_TEST_SUITE_P(models, panel_fault, testing::Values("orvamax", "selkaplus"));

}  // namespace
