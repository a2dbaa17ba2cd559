// A node of real processes with its simulated devices: start to regulation, stop in each phase, and
// the effects of a dead store, dead devices and a restart.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* plan_key = "{conf}:qz/lumora:channel/plan/rx";

struct node_test : testing::Test {
  void release() { ASSERT_EQ(node.write("config/redisConfigStatus", "true"), "{}"); }

  test::regulating_node node;
};

TEST_F(node_test, stops_within_two_seconds_in_each_phase) {
  node.start_surroundings();
  const std::pair<const char*, std::function<void()>> phases[] = {
      {"waiting for the configuration",
       [&] { EXPECT_TRUE(node.wait_for_more("Waiting for redis configuration.")); }},
      {"in the pause before the main loop",
       [&] {
         release();
         EXPECT_TRUE(node.daemon().wait_for("Redis configuration received, proceeding."));
       }},
      {"regulating",
       [&] {
         release();
         EXPECT_TRUE(node.daemon().wait_for(test::operational_line)) << node.daemon().last_lines();
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
    node.start_and_await();
    enter();
    EXPECT_EQ(test::fault_of_end(node.daemon()), "");
  }
}

TEST_F(node_test, keeps_its_channels_across_a_crash_and_a_lost_store) {
  node.start_surroundings("selkamin");
  node.start_and_await("selkamin");
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
  node.start_and_await("selkamin");
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
