// A device service that forgets its subscribers, or that is away when it is needed most: during a
// coldstart, or while the switch has lost its plan. Killed ones are a matter of the bars, hung ones
// of the soak.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "sim/nexels/device_values.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/environment.h"
#include "tests/support/plant_node.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

TEST(node_at_rest, subscribes_again_when_the_monitor_ends_its_subscriptions) {
  plant_node node("orvalite");
  node.start();
  node.run_for(11min);
  const channel_watch add(node, sim::direction::rx);
  const auto channel = node.channels()[5];
  node.plant().drop_subscription(0, "wss_edge", fmt::format("data/ocm/1/channel/{}/*", channel));
  node.disturb(channel, 2.0);
  EXPECT_TRUE(
      node.run_until([&] { return add.steps(channel) > 0 && node.on_target(channel); }, 15s));
  EXPECT_TRUE(node.is_fully_operational());
}

TEST(dead_booster, while_the_switch_has_lost_its_plan_leaves_no_channel_behind) {
  plant_node node("selkamin");
  node.start();
  node.add_channels();
  ASSERT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));

  auto& plant = node.plant();
  const auto loaded = plant.nexel_tree("wss").find("data/module/add/channelPlanLoaded");
  plant.set_nexel_state(0, "booster", sim::nexel_state::killed);
  std::dynamic_pointer_cast<sim::reading<bool>>(loaded)->update(false);
  node.run_for(10s);
  plant.set_nexel_state(0, "booster", sim::nexel_state::ok);
  node.run_for(10s);
  for (const auto channel : node.channels())
    node.regulate(channel);
  EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));
}

TEST(late_amplifier, at_a_coldstart_keeps_the_other_from_nothing_and_is_shut_down_too) {
  auto topology = sim::default_topology("orvalite");
  topology.nodes.front().coldstart = true;
  const test::temp_folder root;
  const auto marker = root.write("tmp/lumora_cold_start", "");
  std::filesystem::remove(marker);
  const test::environment_variable below("NX_ROOT", root.path());
  plant_node node(topology);
  node.plant().attach_to(node.network(), 0, root.path());
  const auto is_on = [&](const char* amplifier) {
    return test::flag_of(node.plant().nexel_tree(amplifier), "data/enable");
  };
  node.plant().set_nexel_state(0, "preamp", sim::nexel_state::killed);
  node.clock().at(29s, [&] {
    EXPECT_FALSE(is_on("booster"));
    EXPECT_FALSE(std::filesystem::exists(marker));
    node.plant().set_nexel_state(0, "preamp", sim::nexel_state::ok);
  });
  node.start();
  EXPECT_LE(node.now(), 35s);
  EXPECT_FALSE(is_on("preamp"));
  EXPECT_TRUE(std::filesystem::exists(marker));
  EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));
}

}  // namespace
