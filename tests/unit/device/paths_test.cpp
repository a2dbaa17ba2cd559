// How a proxy converts the values that it reads, what it says if a command is refused, and the
// order of its writes. Whether the paths exist shows wherever it meets the simulated devices.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>

#include "device/hardware/edfa.h"
#include "device/hardware/osc.h"
#include "device/hardware/selka_led.h"
#include "device/hardware/selka_ocm.h"
#include "device/hardware/sfp.h"
#include "device/hardware/twin_wss.h"
#include "device/hardware/voa.h"
#include "device/hardware/wss_edge.h"
#include "tests/support/memory_store.h"
#include "tests/unit/device/nexel.h"

namespace {

using namespace device_test;
using namespace device::hardware;
using testing::ElementsAre;

constexpr unsigned channel = 19600000;

/// A call of an operation on a new proxy; `index` stands for the further arguments of its maker.
template <class Device, class Operation, class... Index>
auto calls(Operation operation, Index... index) {
  return [=] {
    Device proxy(nullptr, nexel::address, index...);
    return std::invoke(operation, proxy);
  };
}

TEST(paths, of_states_and_alarms) {
  const char* los = "alarms/lossOfSignal/severity";
  const char* link = "alarms/lossOfLink/severity";
  const char* dropped = "data/module/drop/channel/19600000/attenuation";
  const char* port = "data/wss/2/channel/19600000/port";
  const auto twin_blocked =
      calls<twin_wss>([](twin_wss& d) { return d.is_channel_blocked(channel); }, 1u);
  const auto edge_blocked =
      calls<wss_edge>([](wss_edge& d) { return d.is_channel_blocked(channel); }, 2u);
  const auto edge_up = calls<wss_edge>(&wss_edge::is_operational, 2u);
  const std::tuple<const char*, const char*, std::function<bool()>, bool> table[] = {
      {los, "0", calls<edfa>(&edfa::has_los), false},
      {los, "2", calls<edfa>(&edfa::has_los), true},
      {"data/operStatus", R"("up")", calls<voa>(&voa::is_operational), true},
      {"data/operStatus", R"("down")", calls<voa>(&voa::is_operational), false},
      // An absent module has lost its light; nothing more is asked of it.
      {"present", "false", calls<sfp>(&sfp::has_los), true},
      {"data/debug/state", R"("ready")", calls<osc>(&osc::is_operational), true},
      {"data/debug/state", R"("init")", calls<osc>(&osc::is_operational), false},
      {link, "3", calls<osc>(&osc::has_loss_of_link), true},
      {dropped, "25", twin_blocked, false},
      {dropped, "100", twin_blocked, true},
      {"data/moduleStatus", R"("operational")", edge_up, true},
      {"data/moduleStatus", R"("starting")", edge_up, false},
      {port, R"("off")", edge_blocked, true},
      {port, R"("on")", edge_blocked, false},
  };
  for (const auto& [path, json, read, expected] : table) {
    nexel served;
    served.value(path, json);
    EXPECT_EQ(read(), expected) << path << " " << json;
    EXPECT_THAT(served.take_accesses(), ElementsAre(std::string("get ") + path));
  }
}

/// The call runs this command with this argument, and fails so when the answer is false.
void expect_command(const std::function<void()>& call, const std::string& path,
                    const std::string& argument, const std::string& refused) {
  nexel served;
  served.command(path, "true");
  EXPECT_EQ(failure_of(call), "");
  EXPECT_THAT(served.take_accesses(), ElementsAre("run " + path + " " + argument));
  served.command(path, "false");
  EXPECT_EQ(failure_of(call), refused);
}

TEST(paths, of_the_panel) {
  using led = selka_led;
  const auto paints = [](auto set, auto... n) {
    return calls<led>([=](led& panel) { (panel.*set)(n..., "red"); });
  };
  const std::tuple<std::function<void()>, const char*, const char*> table[] = {
      {paints(&led::set_xc_rx_led, 2u), "xc/2/rxLed", "xc rx led for xc number 2"},
      {paints(&led::set_line_tx_led), "line/1/txLed", "line tx led"},
      {paints(&led::set_client_tx_led, 9u), "client/9/txLed", "awg tx led for awg number 9"},
  };
  for (const auto& [paint, place, name] : table) {
    expect_command(paint, fmt::format("command/{}/status", place), R"("red")",
                   fmt::format("! -22 Failed to set {}", name));
  }
  nexel served;
  led proxy(nullptr, nexel::address);
  EXPECT_EQ(proxy.get_client_rx_led_or_end(10), "end");
  served.set_state(nx::link_state::dead);
  EXPECT_THAT(failure_of([&] { proxy.get_client_rx_led_or_end(10); }),
              testing::StartsWith("! -107"))
      << "a dead panel has not ended";
}

TEST(paths, of_channel_commands) {
  test::memory_store store;
  const auto wss = [](auto call) { return calls<twin_wss>(call, 2u); };  // the lowest bit: add
  const auto ocm = [](auto call) { return calls<selka_ocm>(call, 4u); };
  const std::string center = R"("{\"center_frequency\":19600000)";
  const std::tuple<std::function<void()>, const char*, std::string, const char*> table[] = {
      {wss([](twin_wss& d) { d.add_channel(channel, 5000, 3, "R7"); }), "module/add/addChannel",
       center + R"(,\"width\":5000,\"port\":3,\"version\":\"R7\"}")", "add WSS channel"},
      {wss([](twin_wss& d) { d.remove_channel(channel); }), "module/add/removeChannel",
       center + R"(}")", "remove WSS channel"},
      {wss([](twin_wss& d) { d.create_channel_plan("[{}]"); }), "module/add/addChannels",
       R"("[{}]")", "add WSS channel plan"},
      {wss(&twin_wss::remove_all_channels), "module/add/removeAllChannels", "true",
       "remove all WSS channels"},
      {ocm([](selka_ocm& d) { d.add_channel(channel, 5000); }), "port/4/system/createChannel",
       center + R"(,\"width\":5000}")", "add OCM channel"},
      {ocm([](selka_ocm& d) { d.remove_channel(channel); }), "port/4/system/deleteChannel",
       center + R"(}")", "remove WSS channel"},
      {ocm([](selka_ocm& d) { d.create_channel_plan("[]"); }), "port/4/system/createChannelPlan",
       R"("[]")", "create OCM channel plan"},
      {ocm(&selka_ocm::remove_all_channels), "port/4/system/deleteChannelPlan", "true",
       "remove all OCM channels"},
  };
  for (const auto& [call, path, argument, name] : table) {
    expect_command(call, std::string("command/") + path, argument,
                   fmt::format("! -5 Failed to {}.", name));
  }
  EXPECT_EQ(store.attenuation("add", channel), "100") << "a channel is dark before it is removed";
}

TEST(paths, of_the_edge_switch_are_written_port_first) {
  const std::string below = "config/wss/2/channel/19600000/";
  nexel served;
  served.value(below + "port", "null");
  served.value(below + "attenuation", "0");
  calls<wss_edge>([](wss_edge& d) { d.unblock_channel(channel, 15.0f); }, 2u)();
  EXPECT_THAT(served.take_accesses(),
              ElementsAre("set " + below + R"(port "on")", "set " + below + "attenuation 15"));
}

}  // namespace
