#include "helpers/redis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <optional>

#include "platform/kvs_client/kvs_client.h"
#include "platform/wire/nx_error.h"
#include "tests/support/environment.h"
#include "tests/support/log_capture.h"
#include "tests/support/private_redis.h"
#include "tests/support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* reconnecting = "Redis client not connected, reconnecting.";
constexpr const char* lost =
    "kvs_client_exception, function bool redis::_check_connection(bool), line ";

template <class Action>
nx_error error_of(Action action) {
  try {
    action();
  } catch (const nx_error& error) {
    return error;
  }
  return {0, "none"};
}

struct redis_memory_test : testing::Test {
  redis_memory_test() {
    kvs_memory::clear();
    kvs_memory::set("{d}:qz:status", "ok");
    kvs_memory::set("{c}:qz:mounts", "/mnt/qz");
    kvs_memory::set("{d}:nx/system/info:data/swVersion", "R7");
    store.reset_for_test();
  }
  ~redis_memory_test() override { store.reset_for_test(); }

  const test::environment_variable url{"KVS_URL", "memory:"};
  const test::environment_variable configuration_tag{"REDIS_CONF_HASH_TAG", "{c}"};
  const test::environment_variable data_tag{"REDIS_DATA_HASH_TAG", "{d}"};
  redis& store = redis::instance();
};

TEST_F(redis_memory_test, usable_only_with_status_ok_and_mounts) {
  struct {
    std::string status, mounts;
    bool usable;
  } const table[] = {{"ok", "/mnt/qz", true},
                     {"ok", "", false},
                     {"", "/mnt/qz", false},
                     {"ok ", "/mnt/qz", false}};
  for (const auto& row : table) {
    kvs_memory::set("{d}:qz:status", row.status);
    kvs_memory::set("{c}:qz:mounts", row.mounts);
    const test::log_capture log;
    EXPECT_EQ(store.is_connected(), row.usable) << row.status << "," << row.mounts;
    const auto error = error_of([&] { store.set("{c}:key", std::string("value")); });
    EXPECT_EQ(error, row.usable ? nx_error(0, "none") : nx_error(-5, "Redis not connected."));
    EXPECT_THAT(log.texts(), ElementsAre()) << "a store that answers is no reason to reconnect";
  }
}

TEST_F(redis_memory_test, reconnects_once_and_recovers) {
  {
    const test::log_capture log;
    kvs_memory::set_available(false);
    EXPECT_EQ(error_of([&] { store.get("{c}:key"); }), nx_error(-5, "Redis not connected."));
    EXPECT_THAT(log.texts(), ElementsAre(StartsWith(lost), reconnecting, StartsWith(lost)));
  }
  kvs_memory::set_available(true);
  store.set("{c}:key", 0.25f);
  EXPECT_EQ(store.get("{c}:key"), "0.25");
}

TEST_F(redis_memory_test, names_the_missing_tag_and_reads_them_once) {
  for (const auto& [data, configuration, missing] :
       {std::tuple<std::optional<std::string>, std::optional<std::string>, std::string>{
            {}, {}, "REDIS_DATA_HASH_TAG"},
        {"{d}", {}, "REDIS_CONF_HASH_TAG"}}) {
    const test::environment_variable no_data("REDIS_DATA_HASH_TAG", data);
    const test::environment_variable no_configuration("REDIS_CONF_HASH_TAG", configuration);
    EXPECT_EQ(error_of([&] { store.is_connected(); }), nx_error(-22, "undefined: " + missing));
  }
  EXPECT_EQ(store.get_hash_tags(), std::make_pair(std::string("{c}"), std::string("{d}")));
  const test::environment_variable empty("REDIS_DATA_HASH_TAG", "");
  EXPECT_EQ(store.get_hash_tags().second, "{d}");
  store.reset_for_test();
  EXPECT_EQ(store.get_hash_tags().second, "") << "an empty tag is a tag";
}

TEST_F(redis_memory_test, remembers_the_version_once_it_was_read) {
  kvs_memory::set_available(false);
  EXPECT_EQ(error_of([&] { store.get_release_version(); }).code, -5);
  kvs_memory::set_available(true);
  EXPECT_EQ(store.get_release_version(), "R7");
  kvs_memory::set_available(false);
  EXPECT_EQ(store.get_release_version(), "R7");
}

TEST(redis_server_test, a_store_that_is_back_is_used_in_the_same_call) {
  std::signal(SIGPIPE, SIG_IGN);
  const test::temp_folder folder;
  test::private_redis server(folder.path());
  const test::environment_variable url("KVS_URL", server.url());
  const test::environment_variable configuration_tag("REDIS_CONF_HASH_TAG", "{c}");
  const test::environment_variable data_tag("REDIS_DATA_HASH_TAG", "{d}");
  redis& store = redis::instance();
  store.reset_for_test();
  EXPECT_FALSE(store.is_connected());
  for (int life = 0; life < 2; ++life) {
    server.start();
    server.set("{d}:qz:status", "ok");
    server.set("{c}:qz:mounts", "yes");
    EXPECT_TRUE(store.is_connected());
    store.set("{c}:qz/lumora:channel/plan/rx", std::string("[]"));
    EXPECT_EQ(server.get("{c}:qz/lumora:channel/plan/rx"), "[]");
    server.stop();
    const test::log_capture log;
    EXPECT_FALSE(store.is_connected());
    EXPECT_THAT(log.texts(), ElementsAre(StartsWith(lost), reconnecting, StartsWith(lost)));
  }
  store.reset_for_test();
}

}  // namespace
