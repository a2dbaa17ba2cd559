// Any device that comes up after the daemon, on every model: it is waited for, with a line that
// names it, and regulation begins by itself.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/loops/channel_watch.h"
#include "tests/support/environment.h"
#include "tests/support/plant_node.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

constexpr auto late_by = 30s;
constexpr auto begins_within = 5s;

void write_modes(plant_node& node) {
  if (!node.has_channels_by_command()) return;
  for (const auto channel : node.channels())
    for (const char* side : {"rx", "tx"})
      node.write(fmt::format("config/client/{}/{}/opticalControlMode", channel, side), "\"power\"");
}

class late_device : public testing::TestWithParam<std::string> {
 protected:
  late_device() {
    node_.start();
    node_.add_channels();
    node_.run_for(20s);
  }

  /// A manager restarts without the device, which comes up later, with a channel off its target.
  void restart_without(const std::string& device) {
    node_.plant().set_nexel_state(0, device, sim::nexel_state::killed);
    node_.disturb(channel_, sign_ *= -1.0);
    node_.take_log();
    node_.clock().at(node_.now() + late_by, [this, device] {
      node_.plant().set_nexel_state(0, device, sim::nexel_state::ok);
    });
    node_.restart();
    write_modes(node_);
  }

  bool is_named(const std::string& device) {
    const auto lines = node_.take_log();
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.ends_with("Not connected: /tmp/nexels/" + device);
    });
  }

  plant_node node_{GetParam()};
  const unsigned channel_ = node_.channels()[5];
  double sign_ = 3.0;
};

TEST_P(late_device, is_waited_for_and_regulated_with_within_seconds) {
  auto devices = node_.devices();
  devices.insert({"system_info", "system_start"});
  ASSERT_TRUE(devices.contains("booster") && devices.contains("osc1"));
  for (const auto& device : devices) {
    SCOPED_TRACE(device);
    const auto end = node_.now() + late_by + begins_within;
    restart_without(device);
    const bool was_awaited = node_.now() >= end - begins_within;
    // The switch and monitor of orva is told by the path that it does not give.
    EXPECT_TRUE(!was_awaited || device == "wss_edge" || is_named(device));
    const channel_watch add(node_);
    const auto is_regulated = [&] {
      return node_.now() >= end - begins_within && node_.is_fully_operational() &&
             (add.steps(channel_) > 0 || node_.on_target(channel_));
    };
    EXPECT_TRUE(node_.run_until(is_regulated, end - node_.now())) << node_.true_error(channel_);
    node_.run_for(20s);
    EXPECT_TRUE(node_.all_on_target());
  }
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
  node.clock().at(late_by - 1s, [&] {
    EXPECT_FALSE(is_on("booster"));
    EXPECT_FALSE(std::filesystem::exists(marker));
    node.plant().set_nexel_state(0, "preamp", sim::nexel_state::ok);
  });
  node.start();
  EXPECT_LE(node.now(), late_by + begins_within);
  EXPECT_FALSE(is_on("preamp"));
  EXPECT_TRUE(std::filesystem::exists(marker));
  EXPECT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));
}

INSTANTIATE_TEST_SUITE_P(models, late_device, testing::ValuesIn(models::names()),
                         [](const auto& model) { return std::string(model.param); });

}  // namespace
