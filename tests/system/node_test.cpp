// A node of real processes with its simulated devices: start to regulation, stop in each phase, and
// the effects of a dead store, dead devices and a restart.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "tests/support/daemon_node.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* operational = "Manager operational, regulating: ";
constexpr const char* plan_key = "{conf}:qz/lumora:channel/plan/rx";

struct node_test : testing::Test {
  /// The store, the devices and a daemon that waits for its configuration.
  void build(const std::string& product) {
    node.start_store();
    node.start_devices(product);
    start_daemon(product);
  }

  void start_daemon(const std::string& product) {
    node.start_daemon({"--product", product});
    ASSERT_TRUE(node.await_configuration()) << node.daemon().last_lines();
    ASSERT_EQ(node.write("debug/loglevel", "\"verbose\""), "{}");
  }

  void release() { ASSERT_EQ(node.write("config/redisConfigStatus", "true"), "{}"); }

  bool waits_for_one_more(const std::string& text) {
    return node.daemon().wait_for(text, node.daemon().count(text) + 1);
  }

  test::daemon_node node;
};

TEST_F(node_test, stops_within_two_seconds_in_each_phase) {
  node.start_store();
  node.start_devices("orvalite");
  const std::pair<const char*, std::function<void()>> phases[] = {
      {"waiting for the configuration",
       [&] { EXPECT_TRUE(waits_for_one_more("Waiting for redis configuration.")); }},
      {"in the pause before the main loop",
       [&] {
         release();
         EXPECT_TRUE(node.daemon().wait_for("Redis configuration received, proceeding."));
       }},
      {"regulating",
       [&] {
         release();
         EXPECT_TRUE(node.daemon().wait_for(operational)) << node.daemon().last_lines();
       }},
      {"in a mode without regulation",
       [&] {
         EXPECT_EQ(node.write("config/automationMode", "\"bright\""), "{}");
         release();
         EXPECT_TRUE(node.daemon().wait_for("Automation mode not allowed, sleeping."));
       }},
  };
  for (const auto& [name, enter] : phases) {
    SCOPED_TRACE(name);
    start_daemon("orvalite");
    enter();
    EXPECT_EQ(test::fault_of_end(node.daemon()), "");
  }
}

TEST_F(node_test, keeps_its_channels_across_a_crash_and_a_lost_store) {
  build("selkamin");
  const auto command = [&](const std::string& center) {
    return node.write("command/channel/add",
                      R"({"center":)" + center + R"(,"width":5000,"port":2})");
  };
  EXPECT_EQ(command("19600000"), R"({"command/channel/add":true})");
  EXPECT_THAT(node.store().get(plan_key), HasSubstr("19600000"));
  release();
  ASSERT_TRUE(node.daemon().wait_for("Redis configuration received, proceeding."));

  node.daemon().signal(SIGKILL);
  node.daemon().wait_for_exit();
  start_daemon("selkamin");
  EXPECT_EQ(node.read("data/channel/index"), R"("[19600000]")");
  release();

  const auto stored = node.store().get(plan_key);
  node.store().stop();
  EXPECT_EQ(command("19500000"), "error -5 Redis not connected.");
  EXPECT_EQ(node.read("data/channel/index"), R"("[19600000]")");
  node.start_store();
  EXPECT_EQ(command("19500000"), R"({"command/channel/add":true})");
  EXPECT_EQ(node.read("data/channel/index"), R"("[19500000,19600000]")");
  EXPECT_THAT(node.store().get(plan_key), HasSubstr("19600000"));
  EXPECT_EQ(test::fault_of_end(node.daemon()), "");
}

}  // namespace
