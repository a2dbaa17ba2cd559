#include "helpers/redis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "platform/kvs_client/kvs_client.h"
#include "tests/support/environment.h"
#include "tests/support/failure.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_store.h"
#include "tests/support/private_redis.h"
#include "tests/support/temp_folder.h"

namespace {

using test::failure_of;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* reconnecting = "Redis client not connected, reconnecting.";
constexpr const char* lost =
    "kvs_client_exception, function bool redis::_check_connection(bool), line ";

constexpr const char* not_connected = "! -5 Redis not connected.";

struct redis_test : testing::Test {
  test::memory_store memory;
  redis& store = redis::instance();
};

TEST_F(redis_test, usable_only_with_status_ok_and_mounts) {
  const std::tuple<std::string, std::string, bool> table[] = {{"ok", "/mnt/qz", true},
                                                              {"ok", "", false},
                                                              {"", "/mnt/qz", false},
                                                              {"ok ", "/mnt/qz", false}};
  for (const auto& [status, mounts, usable] : table) {
    memory.set_status(status);
    memory.set_mounts(mounts);
    const test::log_capture log;
    EXPECT_EQ(store.is_connected(), usable) << status << "," << mounts;
    EXPECT_EQ(failure_of([&] { store.set("{conf}:key", std::string("value")); }),
              usable ? "" : not_connected);
    EXPECT_THAT(log.texts(), ElementsAre()) << "a store that answers is no reason to reconnect";
  }
}

TEST_F(redis_test, reconnects_once_and_recovers) {
  {
    const test::log_capture log;
    kvs_memory::set_available(false);
    EXPECT_EQ(failure_of([&] { store.get("{conf}:key"); }), not_connected);
    EXPECT_THAT(log.texts(), ElementsAre(StartsWith(lost), reconnecting, StartsWith(lost)));
  }
  kvs_memory::set_available(true);
  store.set("{conf}:key", 0.25f);
  EXPECT_EQ(store.get("{conf}:key"), "0.25");
}

TEST_F(redis_test, on_a_server_reads_and_writes_behind_its_tests) {
  const test::temp_folder folder;
  test::private_redis server(folder.path());
  const test::environment_variable url{"KVS_URL", server.url()};
  std::signal(SIGPIPE, SIG_IGN);
  server.start();
  store.reset_for_test();
  EXPECT_EQ(failure_of([&] { store.set("{conf}:key", std::string("v")); }), not_connected);
  EXPECT_EQ(server.get("{conf}:key"), "") << "nothing is written to a store that is not usable";
  server.command({"SET", store.get_hash_tags().second + ":qz:status", "ok"});
  server.command({"SET", store.get_hash_tags().first + ":qz:mounts", "/mnt/qz"});
  store.set("{conf}:key", std::string("value"));
  EXPECT_EQ(store.get("{conf}:key"), "value");
  server.command({"RPUSH", "{conf}:list", "a"});
  const test::log_capture log;
  EXPECT_THROW(store.get("{conf}:list"), kvs_client_exception);
  EXPECT_THAT(log.texts(), ElementsAre()) << "an answer is no reason to reconnect";
  store.reset_for_test();
}

TEST_F(redis_test, remembers_the_version_once_it_was_read) {
  kvs_memory::set_available(false);
  EXPECT_EQ(failure_of([&] { store.get_release_version(); }), not_connected);
  kvs_memory::set_available(true);
  EXPECT_EQ(store.get_release_version(), "R7");
  kvs_memory::set_available(false);
  EXPECT_EQ(store.get_release_version(), "R7");
}

}  // namespace
