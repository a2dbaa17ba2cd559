// The daemon under a service manager that watches it, played by the test: it speaks the same
// protocol on a socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "tests/support/notify_socket.h"
#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;

constexpr const char* fed = "WATCHDOG=1";
constexpr const char* trigger = "WATCHDOG=trigger";
constexpr const char* bright = "Automation mode not allowed, sleeping.";

struct watchdog_test : testing::Test {
  watchdog_test() { node.give_daemon("NOTIFY_SOCKET", node.root().file("notify")); }

  /// A sign of life is due four times in a period.
  void watch(std::chrono::microseconds period) {
    node.give_daemon("WATCHDOG_USEC", std::to_string(period.count()));
  }
  bool is_fed() { return service_manager.wait_for_more(fed, 3); }
  bool tells(const std::string& status) { return service_manager.wait_for("STATUS=" + status); }

  test::regulating_node node;
  test::notify_socket service_manager{node.root().file("notify")};
};

TEST_F(watchdog_test, is_fed_in_every_wait_and_told_of_each) {
  watch(2s);
  node.start_daemon({"--product", "orvalite"});
  EXPECT_TRUE(service_manager.wait_for("READY=1"));
  EXPECT_TRUE(tells("Waiting for the key store"));
  EXPECT_TRUE(is_fed());
  node.start_store();
  EXPECT_TRUE(tells("Building the node. Failed to read system nexels, retrying."));
  EXPECT_TRUE(is_fed());
  node.start_devices("orvalite");
  EXPECT_TRUE(tells("Waiting for the configuration"));
  EXPECT_TRUE(is_fed());
  ASSERT_EQ(node.write("debug/loglevel", "\"verbose\""), "{}");
  node.release();
  EXPECT_TRUE(tells("Regulating"));
  EXPECT_TRUE(is_fed());

  node.plant().set_device("voa_sfp", "hung");
  EXPECT_TRUE(tells("Not fully operational, line error, rx ok, tx ok"));
  EXPECT_TRUE(is_fed());
  node.plant().set_device("voa_sfp", "ok");

  // The longest sleep, 5 s, is longer than the period.
  ASSERT_EQ(node.write("config/automationMode", "\"bright\""), "{}");
  ASSERT_TRUE(node.wait_for_more(bright)) << node.daemon().last_lines();
  const auto before = service_manager.count(fed);
  ASSERT_TRUE(node.wait_for_more(bright));
  EXPECT_GE(service_manager.count(fed), before + 3);
  EXPECT_TRUE(tells("Not regulating because of the automation mode"));

  EXPECT_EQ(test::fault_of_end(node.daemon()), "");
  EXPECT_TRUE(service_manager.wait_for("STOPPING=1"));
  EXPECT_EQ(service_manager.count(trigger), 0u);
  EXPECT_EQ(service_manager.count("READY=1"), 1u);
}

TEST_F(watchdog_test, asks_for_a_restart_when_the_manager_thread_has_ended) {
  watch(60s);
  node.start_surroundings();
  auto settings = node.daemon_settings();
  settings.environment.erase("REDIS_CONF_HASH_TAG");
  settings.unset.emplace_back("REDIS_CONF_HASH_TAG");
  {
    test::process crippled(settings);
    ASSERT_TRUE(service_manager.wait_for(trigger)) << crippled.last_lines();
    EXPECT_TRUE(tells("Nothing is regulated: undefined: REDIS_CONF_HASH_TAG"));
    EXPECT_TRUE(crippled.wait_for(
        "The manager thread has ended, asking the service manager for a restart: undefined: "));
    EXPECT_TRUE(service_manager.wait_for("READY=1"));
    EXPECT_TRUE(node.serves());
    // What the service manager does next.
    crippled.signal(SIGABRT);
    EXPECT_EQ(crippled.wait_for_exit(), 128 + SIGABRT);
  }
  const auto all = service_manager.messages();
  EXPECT_EQ(std::count(std::find(all.begin(), all.end(), trigger), all.end(), fed), 0);
  node.start_and_await();
  EXPECT_TRUE(tells("Waiting for the configuration"));
}

}  // namespace
