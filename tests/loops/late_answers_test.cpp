// Devices behind slow buses: a cycle waits for all of them once, whatever it reads of them, and the
// light is regulated as by devices that answer at once.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

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
    plant_node node(test::dark_topology(GetParam()));
    node.start();
    node.add_channels();
    node.run_for(20s);
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

// One device as slow as to be useless, whichever: a cycle waits for it once, and what follows from
// its own readings takes a few cycles more.
TEST_P(late_answers, of_one_device_hold_up_nothing_but_its_own) {
  plant_node probe(GetParam());
  for (const auto& name : probe.plant().nexel_names()) {
    SCOPED_TRACE(name);
    plant_node node(test::dark_topology(GetParam()));
    node.start();
    node.add_channels();
    node.run_for(20s);
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

INSTANTIATE_TEST_SUITE_P(models, late_answers, testing::ValuesIn(models::names()),
                         [](const auto& of) { return std::string(of.param); });

}  // namespace
