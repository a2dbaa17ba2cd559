// Devices behind slow buses: a cycle waits for all of them once, however much it reads from them,
// and the light is regulated as with devices that answer at once.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <functional>

#include "helpers/waiting.h"
#include "tests/loops/bars/node_case.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

struct cycle_cost {
  double seconds;
  unsigned requests;
  unsigned waits;
};

cycle_cost last_cycle(plant_node& node) {
  const auto cycle = test::value_of(node.tree(), "insight/cycle");
  return {cycle["seconds"].GetDouble(), cycle["requests"].GetUint(), cycle["waits"].GetUint()};
}

void delay_all(plant_node& node, std::chrono::milliseconds latency) {
  for (const auto& name : node.plant().nexel_names())
    node.plant().set_latency(0, name, latency);
}

class late_answers : public testing::TestWithParam<std::string> {};

TEST_P(late_answers, are_waited_for_once_a_cycle) {
  for (const auto latency : {5ms, 20ms, 200ms}) {
    SCOPED_TRACE(latency.count());
    const auto started = bars::started(test::dark_topology(GetParam()));
    auto& node = *started;
    delay_all(node, latency);
    node.plant().fill_band(0);
    EXPECT_TRUE(node.run_until([&] { return node.all_on_target(0.75); }, 18s));
    node.run_for(40s);
    for (int i = 0; i < 6; ++i) {
      node.cycle();
      const auto cost = last_cycle(node);
      EXPECT_LE(cost.waits, 3u);
      EXPECT_LE(cost.requests, 60u);
      EXPECT_LT(cost.seconds, 3.5 * std::chrono::duration<double>(latency).count());
    }
  }
}

// Any one device so slow as to be useless: a cycle waits for it once, and effects of its own
// readings take a few cycles more.
TEST_P(late_answers, of_one_device_hold_up_nothing_but_its_own) {
  plant_node probe(GetParam());
  for (const auto& name : probe.plant().nexel_names()) {
    SCOPED_TRACE(name);
    const auto started = bars::started(test::dark_topology(GetParam()));
    auto& node = *started;
    node.plant().set_latency(0, name, 1000ms);
    node.plant().fill_band(0);
    EXPECT_TRUE(node.run_until([&] { return node.all_on_target(0.75); }, 30s));
    node.run_for(40s);
    const auto channel = node.channels()[5];
    node.disturb(channel, -3.0);
    node.run_for(2s);
    EXPECT_TRUE(node.run_until([&] { return node.on_target(channel, 0.75); }, 15s))
        << node.true_error(channel);
  }
}

/// How often a command waited for its devices: they answer so late that nothing else takes time.
double waits_of(plant_node& node, const std::function<void()>& command) {
  constexpr auto latency = 1s;
  delay_all(node, latency);
  auto& waiting = helpers::waiting::instance();
  const auto begin = waiting.steady_now();
  command();
  const std::chrono::duration<double> took = waiting.steady_now() - begin;
  delay_all(node, 0ms);
  node.run_for(5s);
  return took / latency;
}

// A channel comes by the switch and then the monitor, and leaves both at once; beside that nothing
// is waited for.
TEST_P(late_answers, of_a_command_are_waited_for_where_one_decides_about_the_next) {
  const auto started = bars::started(test::dark_topology(GetParam()));
  auto& node = *started;
  const auto id = node.has_channels_by_command() ? node.channels()[1] : 2;
  const auto channel = [&](const char* what, unsigned of) {
    return fmt::format("config/client/{}/rx/{}", of, what);
  };
  struct row {
    std::string path;
    std::string value;
    double waits;
    bool by_command = false;
  };
  const auto centre = node.channels()[0];
  const row rows[] = {
      {"command/channel/remove", fmt::format(R"({{"center":{},"direction":"both"}})", centre), 4,
       true},
      {"command/channel/add", fmt::format(R"({{"center":{},"width":10000,"port":2}})", centre), 4,
       true},
      {channel("wantedPowerOffset", id), "1", 1},
      {channel("defaultAttenuation", id), "5", 0},
      {channel("adminStatus", id), "\"down\"", 0},
      {channel("opticalControlMode", id), "\"off\"", 0},
      {"config/client/rx/targetOutputPower", "-3", 2},
      {"config/netconf/spanlossReceive", "12", 2},
  };
  for (const auto& [path, value, waits, by_command] : rows) {
    if (!node.tree().find(path) || (by_command && !node.has_channels_by_command())) continue;
    const auto run = [&, path = path, value = value, by_command = by_command] {
      by_command ? node.run(path, value) : node.write(path, value);
    };
    const auto found = waits_of(node, run);
    EXPECT_LE(found, waits) << path;
  }
}

INSTANTIATE_TEST_SUITE_P(models, late_answers, testing::ValuesIn(models::names()),
                         [](const auto& of) { return std::string(of.param); });

TEST(osnr_of_a_late_compensator, costs_a_cycle_one_wait) {
  plant_node node("orvapro");
  for (std::size_t i = 1; i < node.channels().size(); i += 3)
    node.plant().switch_laser(1, node.channels()[i], false);
  node.start();
  node.run_for(30s);
  node.plant().set_latency(0, "tdcm", 300ms);
  std::chrono::nanoseconds longest{0};
  for (int i = 0; i < 20; ++i) {
    const auto begin = node.now();
    node.cycle();
    longest = std::max(longest, node.now() - begin);
  }
  EXPECT_GE(longest, 800ms) << "no pass was made";
  EXPECT_LT(longest, 1500ms);
}

}  // namespace
