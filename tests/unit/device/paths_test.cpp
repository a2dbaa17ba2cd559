// What a proxy makes of the values that it reads, what it says when a command is refused, and the
// order of its writes. That the paths exist is seen wherever it meets the simulated devices.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

template <class Device, class... Arguments>
auto maker(Arguments... arguments) {
  return [arguments...] { return std::make_shared<Device>(nullptr, nexel::address, arguments...); };
}

/// The operation reads the one path, whose value is given as JSON text, and gives that value if
/// nothing else is expected.
template <class Device>
struct read_row {
  template <class Read>
  read_row(const char* its_path, const char* its_json, Read operation,
           const char* expects = nullptr)
      : path(its_path),
        json(its_json),
        read([operation](Device& device) { return shown(std::invoke(operation, device)); }),
        expected(expects != nullptr ? expects : its_json) {}

  static std::string shown(const std::string& value) { return '"' + value + '"'; }
  template <class T>
  static std::string shown(T value) {
    return fmt::format("{}", value);
  }

  const char* path;
  const char* json;
  std::function<std::string(Device&)> read;
  std::string expected;
};

template <class Device, class Make>
void expect_reads(Make make, const std::vector<read_row<Device>>& rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    nexel served;
    served.value(row.path, row.json);
    const auto proxy = make();
    std::string result;
    EXPECT_EQ(failure_of([&] { result = row.read(*proxy); }), "");
    EXPECT_EQ(result, row.expected);
    EXPECT_THAT(served.take_accesses(), ElementsAre(std::string("get ") + row.path));
  }
}

/// The operation makes these accesses, in this order. Commands, which are run, answer with true.
template <class Device>
struct write_row {
  std::function<void(Device&)> write;
  std::vector<std::string> accesses;
  const char* refused = nullptr;  ///< the error when commands answer with false
};

template <class Device>
std::string write_failure(Device& proxy, nexel& served, const write_row<Device>& row,
                          const char* answer) {
  for (const auto& access : row.accesses) {
    const auto path = access.substr(4, access.find(' ', 4) - 4);
    if (access.starts_with("run ")) {
      served.command(path, answer);
    } else {
      served.value(path, "null");
    }
  }
  return failure_of([&] { row.write(proxy); });
}

template <class Device, class Make>
void expect_writes(Make make, const std::vector<write_row<Device>>& rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.accesses.front());
    nexel served;
    const auto proxy = make();
    EXPECT_EQ(write_failure(*proxy, served, row, "true"), "");
    EXPECT_EQ(served.take_accesses(), row.accesses);
    if (row.refused != nullptr) {
      EXPECT_EQ(write_failure(*proxy, served, row, "false"), row.refused);
    }
  }
}

TEST(paths, of_states_and_alarms) {
  const char* los = "alarms/lossOfSignal/severity";
  expect_reads<edfa>(maker<edfa>(),
                     {{los, "0", &edfa::has_los, "false"}, {los, "2", &edfa::has_los, "true"}});
  expect_reads<voa>(maker<voa>(),
                    {{"data/operStatus", R"("up")", &voa::is_operational, "true"},
                     {"data/operStatus", R"("down")", &voa::is_operational, "false"}});
  // An absent module has lost its light; nothing more is asked of it.
  expect_reads<sfp>(maker<sfp>(), {{"present", "false", &sfp::has_los, "true"}});
  expect_reads<osc>(maker<osc>(),
                    {{"data/debug/state", R"("ready")", &osc::is_operational, "true"},
                     {"data/debug/state", R"("init")", &osc::is_operational, "false"},
                     {"alarms/lossOfLink/severity", "3", &osc::has_loss_of_link, "true"}});
}

TEST(paths, of_the_panel) {
  using led = selka_led;
  expect_writes<led>(maker<led>(), {{[](led& d) { d.set_xc_rx_led(2, "red"); },
                                     {R"(run command/xc/2/rxLed/status "red")"},
                                     "! -22 Failed to set xc rx led for xc number 2"},
                                    {[](led& d) { d.set_xc_tx_led(2, "red"); },
                                     {R"(run command/xc/2/txLed/status "red")"},
                                     "! -22 Failed to set xc tx led for xc number 2"},
                                    {[](led& d) { d.set_line_tx_led("red"); },
                                     {R"(run command/line/1/txLed/status "red")"},
                                     "! -22 Failed to set line tx led"},
                                    {[](led& d) { d.set_line_rx_led("red"); },
                                     {R"(run command/line/1/rxLed/status "red")"},
                                     "! -22 Failed to set line rx led"},
                                    {[](led& d) { d.set_client_rx_led(9, "red"); },
                                     {R"(run command/client/9/rxLed/status "red")"},
                                     "! -22 Failed to set awg rx led for awg number 9"},
                                    {[](led& d) { d.set_client_tx_led(9, "red"); },
                                     {R"(run command/client/9/txLed/status "red")"},
                                     "! -22 Failed to set awg tx led for awg number 9"}});
  nexel served;
  led proxy(nullptr, nexel::address);
  EXPECT_EQ(proxy.get_client_rx_led_or_end(10), "end");
  served.set_state(nx::link_state::dead);
  EXPECT_THAT(failure_of([&] { proxy.get_client_rx_led_or_end(10); }),
              testing::StartsWith("! -107"))
      << "a dead panel has not ended";
}

TEST(paths, of_the_twin_switch) {
  test::memory_store store;
  const char* attenuation = "data/module/drop/channel/19600000/attenuation";
  const auto blocked = [](twin_wss& d) { return d.is_channel_blocked(channel); };
  expect_reads<twin_wss>(maker<twin_wss>(1u), {{attenuation, "50", blocked, "false"},
                                               {attenuation, "50.1", blocked, "true"}});
  expect_writes<twin_wss>(
      maker<twin_wss>(2u),  // the lowest bit alone tells the side
      {{[](twin_wss& d) { d.add_channel(channel, 5000, 3, "R7"); },
        {R"(run command/module/add/addChannel "{\"center_frequency\":19600000,\"width\":5000,)"
         R"(\"port\":3,\"version\":\"R7\"}")"},
        "! -5 Failed to add WSS channel."},
       {[](twin_wss& d) { d.remove_channel(channel); },
        {R"(run command/module/add/removeChannel "{\"center_frequency\":19600000}")"},
        "! -5 Failed to remove WSS channel."},
       {[](twin_wss& d) { d.create_channel_plan("[{}]"); },
        {R"(run command/module/add/addChannels "[{}]")"},
        "! -5 Failed to add WSS channel plan."},
       {[](twin_wss& d) { d.remove_all_channels(); },
        {"run command/module/add/removeAllChannels true"},
        "! -5 Failed to remove all WSS channels."}});
  EXPECT_EQ(store.attenuation("add", channel), "100") << "a channel is dark before it is removed";
}

TEST(paths, of_monitors_and_the_edge_switch) {
  expect_writes<selka_ocm>(
      maker<selka_ocm>(4u),
      {{[](selka_ocm& d) { d.add_channel(channel, 5000); },
        {R"(run command/port/4/system/createChannel )"
         R"("{\"center_frequency\":19600000,\"width\":5000}")"},
        "! -5 Failed to add OCM channel."},
       {[](selka_ocm& d) { d.remove_channel(channel); },
        {R"(run command/port/4/system/deleteChannel "{\"center_frequency\":19600000}")"},
        "! -5 Failed to remove WSS channel."},
       {[](selka_ocm& d) { d.create_channel_plan("[]"); },
        {R"(run command/port/4/system/createChannelPlan "[]")"},
        "! -5 Failed to create OCM channel plan."},
       {[](selka_ocm& d) { d.remove_all_channels(); },
        {"run command/port/4/system/deleteChannelPlan true"},
        "! -5 Failed to remove all OCM channels."}});
  const char* port = "data/wss/2/channel/19600000/port";
  const auto blocked = [](wss_edge& d) { return d.is_channel_blocked(channel); };
  expect_reads<wss_edge>(
      maker<wss_edge>(2u),
      {{"data/moduleStatus", R"("operational")", &wss_edge::is_operational, "true"},
       {"data/moduleStatus", R"("starting")", &wss_edge::is_operational, "false"},
       {port, R"("off")", blocked, "true"},
       {port, R"("on")", blocked, "false"}});
  expect_writes<wss_edge>(maker<wss_edge>(2u),
                          {{[](wss_edge& d) { d.unblock_channel(channel, 15.0f); },
                            {R"(set config/wss/2/channel/19600000/port "on")",
                             "set config/wss/2/channel/19600000/attenuation 15"}}});
}

}  // namespace
