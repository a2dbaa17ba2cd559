// One device service dead for ten minutes: unrelated parts are left alone, and the loops are back
// within three cycles of its return. One that forgets its subscribers is reminded.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/kvs_client/kvs_client.h"
#include "sim/nexels/device_values.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

class node_at_rest : public testing::Test {
 protected:
  void SetUp() override {
    node_.start();
    node_.run_for(11min);
    ASSERT_TRUE(node_.all_on_target());
  }

  plant_node node_{"orvalite"};
};

TEST_F(node_at_rest, subscribes_again_when_the_monitor_ends_its_subscriptions) {
  const channel_watch add(node_, sim::direction::rx);
  const auto channel = node_.channels()[5];
  node_.plant().drop_subscription(0, "wss_edge", fmt::format("data/ocm/1/channel/{}/*", channel));
  node_.disturb(channel, 2.0);
  EXPECT_TRUE(
      node_.run_until([&] { return add.steps(channel) > 0 && node_.on_target(channel); }, 15s));
  EXPECT_TRUE(node_.is_fully_operational());
}

class dead_device : public node_at_rest, public testing::WithParamInterface<const char*> {};

TEST_P(dead_device, leaves_the_channels_at_rest_and_is_used_again_after_its_return) {
  const std::string device = GetParam();
  auto& plant = node_.plant();
  const channel_watch add(node_, sim::direction::rx);
  const channel_watch drop(node_, sim::direction::tx);
  const auto voa_writes = plant.voa_writes(0);

  plant.set_nexel_state(0, device, sim::nexel_state::killed);
  node_.run_for(10min);
  EXPECT_EQ(add.all_steps(), 0u);
  EXPECT_EQ(drop.all_steps(), 0u);
  EXPECT_EQ(plant.voa_writes(0), voa_writes);

  // Parts that need the device wait for it, the others continue. Long enough before the return for
  // the monitor to have seen it.
  const auto channel = node_.channels()[5];
  node_.disturb(channel, 2.0);
  node_.run_for(12s);
  const bool needed = device == "wss_edge" || device == "booster" || device == "osc1";
  EXPECT_EQ(add.steps(channel) == 0, needed);
  plant.set_nexel_state(0, device, sim::nexel_state::ok);
  for (int i = 0; i < 3; ++i)
    node_.cycle();
  EXPECT_GT(add.steps(channel), 0u);
  EXPECT_TRUE(node_.run_until([&] { return node_.on_target(channel); }, 12s));
  EXPECT_TRUE(node_.is_fully_operational());
}

TEST_P(dead_device, that_hangs_does_no_more_harm) {
  const std::string device = GetParam();
  auto& plant = node_.plant();
  const channel_watch add(node_, sim::direction::rx);
  plant.set_nexel_state(0, device, sim::nexel_state::hung);
  node_.run_for(2min);
  EXPECT_EQ(add.all_steps(), 0u);
  plant.set_nexel_state(0, device, sim::nexel_state::ok);
  EXPECT_TRUE(node_.run_until([&] { return node_.is_fully_operational(); }, 10s));
  EXPECT_TRUE(node_.all_on_target());
}

INSTANTIATE_TEST_SUITE_P(devices, dead_device,
                         testing::Values("wss_edge", "booster", "preamp", "osc1", "voa_sfp",
                                         "sfp/0"),
                         [](const auto& device) {
                           std::string name = device.param;
                           std::replace(name.begin(), name.end(), '/', '_');
                           return name;
                         });

// On selka attenuations go to the switch through the store.
TEST(dead_store, of_a_selka_leaves_the_channels_at_rest_and_is_used_again_after_its_return) {
  plant_node node("selkaplus");
  node.start();
  node.add_channels();
  node.run_for(11min);
  ASSERT_TRUE(node.all_on_target());
  const channel_watch add(node);
  const auto channel = node.channels()[5];
  kvs_memory::set_available(false);
  node.run_for(2min);
  EXPECT_EQ(add.all_steps(), 0u);
  node.disturb(channel, 2.0);
  node.run_for(5min);
  EXPECT_EQ(add.all_steps(), 0u);
  kvs_memory::set_available(true);
  for (int i = 0; i < 3; ++i)
    node.cycle();
  EXPECT_GT(add.steps(channel), 0u);
  EXPECT_TRUE(node.run_until([&] { return node.on_target(channel); }, 12s));
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
    node.write(fmt::format("config/client/{}/rx/opticalControlMode", channel), "\"power\"");
  EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));
}

}  // namespace
