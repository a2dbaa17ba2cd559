#include "main/lumora_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "helpers/waiting.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/nx_error.h"
#include "tests/support/environment.h"
#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_store.h"
#include "tests/support/notify_socket.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tree_values.h"

namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* config_path = "config/redisConfigStatus";

class product final : public manager::interface {
 public:
  void start(nx_db&) override { on_start(); }
  void run(nx_db&, bool*) override { on_run(); }

  std::function<void()> on_start = [] {};
  std::function<void()> on_run = [] {};
};

/// The daemon's core on a tree, with the store inside the process and a clock that moves when the
/// core sleeps: `clock->at` sets what happens in the node meanwhile.
struct lumora_manager_test : testing::Test, test::on_hand_clock {
  void start_core() {
    std::shared_ptr<manager::interface> as_interface = model;
    core->start(as_interface, &running);
  }

  void write_config_status(bool value) {
    test::write_to(db, config_path, value ? "true" : "false");
  }
  bool config_status() { return test::flag_of(db, "data/configStatus"); }

  test::memory_store store;
  nx_db db;
  const std::shared_ptr<lumora_manager> core = std::make_shared<lumora_manager>(db);
  const std::shared_ptr<product> model = std::make_shared<product>();
  bool running = true;
};

TEST_F(lumora_manager_test, waits_for_the_store_then_for_the_configuration) {
  const test::log_capture log;
  EXPECT_FALSE(config_status());
  store.set_mounts("");
  clock->at(1500ms, [&] {
    EXPECT_TRUE(config_status());
    EXPECT_FALSE(db.find(config_path));
    store.set_mounts("/mnt/store");
  });
  std::vector<std::chrono::nanoseconds> calls;
  model->on_start = [&] {
    EXPECT_FALSE(db.find(config_path)) << "nothing to write before the manager is built";
    calls.push_back(clock->elapsed());
  };
  clock->at(3500ms, [&] { write_config_status(false); });
  clock->at(4500ms, [&] { write_config_status(true); });
  model->on_run = [&] { calls.push_back(clock->elapsed()); };
  start_core();
  EXPECT_THAT(calls, ElementsAre(2s, 6s)) << "a second passes between configuration and run";
  EXPECT_THAT(log.texts(),
              ElementsAre("Manager thread started, awaiting redis configuration.",
                          "Waiting for redis connection.", "Waiting for redis connection.",
                          "Redis configuration received, proceeding."));
}

TEST_F(lumora_manager_test, takes_no_configuration_for_a_manager_whose_start_was_stopped) {
  model->on_start = [&] { running = false; };
  model->on_run = [] { FAIL() << "nothing is built"; };
  start_core();
  EXPECT_FALSE(db.find(config_path));
}

TEST_F(lumora_manager_test, a_failure_of_the_manager_is_logged_and_ends_the_thread) {
  const std::string signature =
      "function void lumora_manager::start(std::shared_ptr<manager::interface>&, bool*), line ";
  {
    const test::log_capture log;
    model->on_start = [] { throw nx_error(-5, "No system nexel."); };
    start_core();
    EXPECT_THAT(log.texts(), Contains(testing::AllOf(StartsWith("nx_error, " + signature),
                                                     HasSubstr(": No system nexel. "))));
    EXPECT_FALSE(db.find(config_path));
  }
  const test::log_capture log;
  model->on_start = [&] { clock->at(clock->elapsed() + 1s, [&] { write_config_status(true); }); };
  model->on_run = [] { throw std::runtime_error("lost"); };
  start_core();
  EXPECT_THAT(log.texts(),
              Contains(testing::AllOf(StartsWith("general exception: "), HasSubstr("lost"))));
  EXPECT_TRUE(running);
}

TEST_F(lumora_manager_test, a_thread_that_ends_unasked_gives_up_its_watchdog) {
  const test::temp_folder folder;
  test::notify_socket service_manager(folder.file("notify"));
  const test::environment_variable address("NOTIFY_SOCKET", folder.file("notify"));
  const test::environment_variable period("WATCHDOG_USEC", "60000000");
  model->on_start = [&] { running = false; };
  start_core();
  EXPECT_TRUE(service_manager.wait_for("WATCHDOG=1"));
  running = true;
  model->on_start = [&] { clock->at(clock->elapsed() + 1s, [&] { write_config_status(true); }); };
  model->on_run = [] { throw std::runtime_error("lost\nand gone"); };
  start_core();
  EXPECT_TRUE(service_manager.wait_for("WATCHDOG=trigger"));
  const auto all = service_manager.messages();
  EXPECT_THAT(all, Contains("STATUS=Nothing is regulated: lost and gone"));
  EXPECT_EQ(all.back(), "WATCHDOG=trigger");
  EXPECT_EQ(std::count(all.begin(), all.end(), "WATCHDOG=trigger"), 1) << "not for a stop";
}

}  // namespace
