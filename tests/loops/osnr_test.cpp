// The signal-to-noise ratio that the orva models show, against the plant's truth.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

#include "tests/loops/pair_stories.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

struct model {
  const char* product;
  /// The detection level, -26 dBm, is then between a dark channel's noise and a channel with a
  /// signal-to-noise ratio of 10 dB: with a weaker tap, channels below about 20 dB would count as
  /// dark.
  double monitor_tap_db;
};

std::ostream& operator<<(std::ostream& out, const model& of) {
  return out << of.product;
}

class osnr : public testing::TestWithParam<model> {};

TEST_P(osnr, is_close_to_the_truth_from_10_to_30_db) {
  auto topology = sim::default_topology(GetParam().product);
  topology.nodes.front().preamp_monitor.tap_loss_db = GetParam().monitor_tap_db;
  double sum = 0.0;
  const auto errors = test::osnr_errors(topology);
  for (const auto& one : errors) {
    EXPECT_LE(std::fabs(one.error_db), 1.0) << one.channel << " at " << one.truth_db << " dB";
    sum += std::fabs(one.error_db);
  }
  ASSERT_GT(errors.size(), 100u);
  EXPECT_LE(sum / static_cast<double>(errors.size()), 0.5);
}

TEST(osnr_of_a_full_band, is_none) {
  plant_node node("orvalite");
  node.start();
  node.run_for(20s);
  for (const auto channel : node.channels())
    EXPECT_EQ(node.number(fmt::format("data/client/{}/tx/osnr", channel)), 0.0f) << channel;
}

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

INSTANTIATE_TEST_SUITE_P(models, osnr,
                         testing::Values(model{"orvalite", 11.3}, model{"orvamax", 9.7}),
                         [](const auto& of) { return std::string(of.param.product); });

}  // namespace
