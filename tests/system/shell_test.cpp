// The daemon's outer life as a process: what it prints, how it ends, what prevents it from starting
// and what does not. No devices.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/support/daemon_node.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* waiting = "Waiting for redis connection.";
constexpr const char* building = "Manager starting up.";

struct shell_test : testing::Test {
  static void expect_orderly_end(test::process& daemon) {
    EXPECT_EQ(test::fault_of_end(daemon), "");
    EXPECT_THAT(daemon.output(), HasSubstr("Shutting down manager thread"));
  }

  test::daemon_node node;
};

TEST_F(shell_test, a_wrong_command_line_starts_nothing) {
  const std::pair<std::vector<std::string>, std::string> table[] = {
      {{"--product", "orvabright"}, "Unknown product: orvabright\n"},
      {{"--product", "Orvalite"}, "Unknown product: Orvalite\n"},
      {{"--help"}, "Available options:\n"},
      {{"--port", "many"}, "Available options:\n"},
  };
  for (const auto& [arguments, printed] : table) {
    const auto [status, output] = test::run(node.daemon_settings(arguments));
    EXPECT_EQ(status, 1) << printed;
    EXPECT_EQ(output.substr(0, printed.size()), printed);
  }
  EXPECT_FALSE(std::filesystem::exists(node.root().file("tmp")));
}

TEST_F(shell_test, a_second_daemon_refuses_and_the_first_goes_on) {
  node.start_daemon();
  ASSERT_TRUE(test::eventually([&] { return node.serves(); })) << node.daemon().last_lines();
  const auto [status, output] = test::run(node.daemon_settings());
  EXPECT_NE(status, 0);
  EXPECT_THAT(output, HasSubstr("lumora_manager: "));
  EXPECT_THAT(output, HasSubstr(node.daemon_socket()));
  EXPECT_TRUE(node.serves());
  expect_orderly_end(node.daemon());
  EXPECT_FALSE(std::filesystem::exists(node.daemon_socket()));
}

TEST_F(shell_test, a_stop_is_orderly_however_early_it_comes) {
  for (const std::string& phase : {std::string("Reading calibration file"),
                                   std::string("Manager thread started"), std::string(waiting)}) {
    auto& daemon = node.start_daemon();
    ASSERT_TRUE(daemon.wait_for(phase)) << daemon.last_lines();
    expect_orderly_end(daemon);
  }
}

TEST_F(shell_test, waits_for_a_usable_store_and_recovers) {
  const auto status_key = std::string(test::daemon_node::data_tag) + ":qz:status";
  const auto mounts_key = std::string(test::daemon_node::conf_tag) + ":qz:mounts";
  auto& daemon = node.start_daemon();
  // It says so once, and goes on looking.
  const auto waits_on = [&] {
    node.store().command({"CONFIG", "RESETSTAT"});
    return test::eventually([&] {
      return node.store().command({"INFO", "commandstats"}).find("cmdstat_get:calls=") !=
             std::string::npos;
    });
  };
  EXPECT_TRUE(daemon.wait_for(waiting)) << "without a store";
  EXPECT_THAT(daemon.output(), HasSubstr("Redis client not connected, reconnecting."));
  node.store().start();
  node.store().set(status_key, "starting");
  node.store().set(mounts_key, "/mnt/qz");
  EXPECT_TRUE(waits_on()) << "with a store that is not ok";
  node.store().set(mounts_key, "");
  node.store().set(status_key, "ok");
  EXPECT_TRUE(waits_on()) << "with nothing mounted";
  EXPECT_THAT(daemon.output(), Not(HasSubstr(building)));
  EXPECT_EQ(daemon.count(waiting), 1u);
  EXPECT_EQ(node.read("data/configStatus"), "true");
  EXPECT_THAT(node.read("config/redisConfigStatus"), HasSubstr("error -2"));
  node.seed_store();
  EXPECT_TRUE(daemon.wait_for(building)) << daemon.last_lines();
  expect_orderly_end(daemon);
}

TEST_F(shell_test, serves_without_regulation_when_a_hash_tag_is_missing) {
  node.start_store();
  auto settings = node.daemon_settings();
  settings.environment.erase("REDIS_DATA_HASH_TAG");
  settings.unset.emplace_back("REDIS_DATA_HASH_TAG");
  test::process daemon(settings);
  EXPECT_TRUE(daemon.wait_for("undefined: REDIS_DATA_HASH_TAG")) << daemon.last_lines();
  EXPECT_TRUE(test::eventually([&] { return node.serves(); }));
  const auto fault = node.read("insight/start");
  EXPECT_THAT(fault, HasSubstr("REDIS_DATA_HASH_TAG is not set")) << fault;
  EXPECT_EQ(daemon.count(" error start: Nothing is regulated"), 1u);
  expect_orderly_end(daemon);
}

TEST_F(shell_test, tells_once_what_somebody_has_to_mend) {
  node.store().start();
  const auto status_key = std::string(test::daemon_node::data_tag) + ":qz:status";
  node.store().command({"HSET", status_key, "field", "value"});
  auto settings = node.daemon_settings();
  settings.environment["NOTE_LOG_SEVERITY"] = "loud";
  test::process daemon(settings);
  for (const char* fault : {"NOTE_LOG_SEVERITY is 'loud', which is not a severity",
                            "No calibration of this board in ", "The key is not a text"}) {
    EXPECT_TRUE(daemon.wait_for(fault)) << daemon.last_lines();
    EXPECT_TRUE(test::eventually([&] {
      return node.read("insight/start").find(fault) != std::string::npos;
    })) << fault;
  }
  node.store().command({"DEL", status_key});
  node.seed_store();
  EXPECT_TRUE(daemon.wait_for(building)) << daemon.last_lines();
  EXPECT_THAT(node.read("insight/start"), Not(HasSubstr("another type")));
  EXPECT_EQ(daemon.count(" error start: "), 3u);
  expect_orderly_end(daemon);

  settings.environment["KVS_URL"] = "redis//nowhere";
  test::process lost(settings);
  EXPECT_TRUE(lost.wait_for("error start: KVS_URL 'redis//nowhere' is not understood"));
  expect_orderly_end(lost);
}

}  // namespace
