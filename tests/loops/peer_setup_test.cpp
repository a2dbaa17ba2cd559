// A manager that meets a peer which is late: the manager's own cycles and channels do not wait.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/plant_node.h"
#include "tests/support/plant_pair.h"

namespace {

using namespace std::chrono_literals;

/// A node facing the plant's far end, which is late by so many ms.
class late_peer : public testing::TestWithParam<int> {
 protected:
  /// Longest of the cycles in this time.
  std::chrono::nanoseconds longest_cycle(std::chrono::nanoseconds time) {
    std::chrono::nanoseconds longest{0};
    for (const auto end = node.now() + time; node.now() < end;) {
      const auto begin = node.now();
      node.cycle();
      longest = std::max(longest, node.now() - begin);
    }
    return longest;
  }

  test::plant_node node{test::facing("orvalite", "orva-lite", 80.0)};
};

TEST_P(late_peer, delays_no_cycle_and_no_channel) {
  node.face_far_end();
  node.network().set_latency(test::plant_node::peer_address, std::chrono::milliseconds(GetParam()));
  node.start();
  EXPECT_LE(longest_cycle(10s), 620ms);
  EXPECT_TRUE(node.all_on_target()) << "10 s after the start";
  node.run_for(40s);
  if (GetParam() >= 2000) return;  // beyond what the client library waits for
  EXPECT_EQ(node.text("data/line/1/remoteProduct"), "ORVA-LITE");
  EXPECT_EQ(node.text("data/line/1/remoteHostname"), "simulated-orva-lite");

  for (const auto channel : node.channels())
    node.disturb(channel, -3.0);
  EXPECT_LE(longest_cycle(10s), 620ms);
  EXPECT_TRUE(node.all_on_target());
}

INSTANTIATE_TEST_SUITE_P(by, late_peer, testing::Values(5, 300, 1000, 1900, 3000));

/// Each is the other's peer, over a link on which every answer is delayed.
class late_pair : public test::plant_pair {
 public:
  explicit late_pair(std::chrono::milliseconds latency)
      : plant_pair(sim::default_topology("orvalite", 2)) {
    for (const char* address : {"[fe80::1%osc0]:5100", "[fe80::2%osc0]:5100"})
      network_.set_latency(address, latency);
  }
  bool is_known_to(unsigned node) { return text(node, "data/line/1/remoteProduct") == "ORVA-LITE"; }
};

TEST(late_peers, meet_and_find_each_other_again) {
  late_pair pair(300ms);
  pair.start();
  for (const unsigned node : {0u, 1u})
    EXPECT_TRUE(pair.run_until([&] { return pair.is_known_to(node); }, 10s)) << node;
  pair.run_for(30s);
  for (const unsigned node : {0u, 1u})
    EXPECT_TRUE(pair.all_on_target(node)) << node;

  pair.stop_manager(1);
  pair.run_for(30s);
  pair.take_log();
  pair.start_manager(1);
  pair.run_for(10s);
  const auto log = pair.take_log();
  for (const char* once : {"Starting remote subscription.", "Remote subscription complete."})
    EXPECT_EQ(test::count_of(log, once), 2) << once << " at each end";
  for (const unsigned node : {0u, 1u})
    EXPECT_TRUE(pair.all_on_target(node)) << node;
}

}  // namespace
