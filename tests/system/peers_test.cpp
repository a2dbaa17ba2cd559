// Two daemons face to face, each in its own network, over a supervisory link that dies with one of
// them or is unplugged.
#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <memory>
#include <string>

#include "tests/support/process_figures.h"
#include "tests/system/daemon_pair.h"

namespace {

class two_nodes : public testing::Test {
 protected:
  void SetUp() override {
    auto link = test::supervisory_link::make();
    if (!link) GTEST_SKIP() << "this system refuses network namespaces";
    pair_ = std::make_unique<test::daemon_pair>(std::move(link));
    pair_->bring_up();
  }

  test::process& daemon(unsigned node) { return pair_->daemon(node); }

  auto attenuations(const std::string& node = "*") const {
    return pair_->plant(0).numbers("truth/node/" + node + "/*/channel/*/attenuation");
  }

  bool await_cycles(unsigned count) {
    const auto seen = daemon(0).count(test::operational_line);
    return daemon(0).wait_for(test::operational_line, seen + count);
  }

  /// The link of both is gone and there again, about every second.
  void flap(unsigned times) {
    for (unsigned i = 0; i < times; ++i) {
      pair_->link().unplug();
      ASSERT_TRUE(await_cycles(1)) << daemon(0).last_lines();
      pair_->link().plug();
      ASSERT_TRUE(await_cycles(1)) << daemon(0).last_lines();
    }
  }

  std::unique_ptr<test::daemon_pair> pair_;
};

TEST_F(two_nodes, a_killed_peer_moves_no_channel_and_is_regulated_with_again) {
  const auto at_rest = attenuations();
  const auto own_at_rest = attenuations("0");
  daemon(1).signal(SIGKILL);
  daemon(1).wait_for_exit();
  ASSERT_TRUE(daemon(0).wait_for("Remote connection lost: fe80::2%osc0"));
  pair_->plant(0).set("config/fibre/0/lossOffset", "3");
  ASSERT_TRUE(await_cycles(8)) << daemon(0).last_lines();
  EXPECT_LT(test::largest_change(at_rest, attenuations()), test::one_step_db);

  const auto begin = daemon(0).output().size();
  const auto steps = daemon(0).count("Adjusting VOA from");
  pair_->start_daemon(1);
  ASSERT_TRUE(pair_->await_line(0, begin)) << daemon(0).last_lines();
  EXPECT_LE(pair_->cycles_until_regulation(0, begin), 3U);
  EXPECT_TRUE(daemon(0).wait_for("Adjusting VOA from", steps + 1)) << daemon(0).last_lines();
  // The other node corrects what it receives from the longer fibre.
  EXPECT_LT(test::largest_change(own_at_rest, attenuations("0")), test::one_step_db);
}

TEST_F(two_nodes, find_each_other_over_an_interface_that_comes_and_goes) {
  const std::string listening = "Listening on [fe80::2%osc0]:5100";
  const std::string missing = "Interface osc0 is missing, listening on it once it is there";
  const auto at_rest = attenuations();
  auto begin = daemon(0).output().size();
  flap(1);  // with what the first loss brings along
  ASSERT_TRUE(pair_->await_line(0, begin)) << daemon(0).last_lines();
  const auto before = test::figures_of(daemon(0).pid());
  flap(9);
  // A link that is away for less than a second may not be missed.
  for (unsigned node : {0U, 1U}) {
    ASSERT_TRUE(test::eventually([&] {
      const auto said = daemon(node).output();
      const auto gone = said.rfind(missing);
      return gone == said.npos || said.find("Listening on [fe80::", gone) != said.npos;
    })) << daemon(node).last_lines();
  }
  const std::array lost{daemon(0).count(missing), daemon(1).count(missing)};
  pair_->link().unplug();
  for (unsigned node : {0U, 1U}) {
    ASSERT_TRUE(daemon(node).wait_for(missing, lost.at(node) + 1)) << daemon(node).last_lines();
  }
  begin = daemon(0).output().size();
  const auto listened = daemon(1).count(listening);
  // Its neighbour dials the second of its addresses.
  pair_->link().plug({"fe80::7/64"});
  EXPECT_TRUE(daemon(1).wait_for(listening, listened + 1)) << daemon(1).last_lines();
  EXPECT_TRUE(daemon(1).wait_for("Listening on [fe80::7%osc0]:5100")) << daemon(1).last_lines();
  ASSERT_TRUE(pair_->await_line(0, begin)) << daemon(0).last_lines();
  EXPECT_LT(test::largest_change(at_rest, attenuations()), test::one_step_db);
  EXPECT_TRUE(test::eventually([&] {
    const auto after = test::figures_of(daemon(0).pid());
    return after.descriptors <= before.descriptors + 1 && after.threads <= before.threads + 1;
  }));
}

}  // namespace
