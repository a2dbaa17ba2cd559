// What may happen around a regulating daemon: to its store, its devices and its log. One table; in
// each row the light stays, and a channel that needs it is corrected.
#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "tests/support/process_figures.h"
#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;

using test::sanitized;

struct fault {
  const char* name;
  std::function<void()> begin;
  std::function<void()> end;
  const char* cycle = test::operational_line;  ///< what a cycle tells meanwhile
  bool writes = true;                          ///< the switch takes what it is given
};

class faults : public testing::Test {
 protected:
  void store_command(const std::vector<std::string>& words) { node_.store().command(words); }

  void set_state(const std::string& device, const std::string& state) {
    node_.plant().set("config/node/0/nexel/" + device + "/state", '"' + state + '"');
  }

  std::vector<fault> table() {
    const auto status = std::string(test::daemon_node::data_tag) + ":qz:status";
    auto& store = node_.store();
    return {
        {"store killed", [&] { store.stop(); }, [&] { node_.start_store(); }},
        {"store hung", [&] { store.hang(); }, [&] { store.go_on(); }},
        {"store read only",
         [&] {
           store_command({"REPLICAOF", "127.0.0.1", "1"});
         },
         [&] {
           store_command({"REPLICAOF", "NO", "ONE"});
         }},
        {"store full",
         [&] {
           store_command({"CONFIG", "SET", "maxmemory", "1"});
         },
         [&] {
           store_command({"CONFIG", "SET", "maxmemory", "0"});
         }},
        {"store restarted empty",
         [&] {
           store.stop();
           store.start();
         },
         [&] { node_.seed_store(); }},
        {"store not ok", [&, status] { store.set(status, "starting"); },
         [&, status] { store.set(status, "ok"); }},
        {"LEDs and supervisory channel refuse",
         [&] {
           set_state("led_selka", "refusing");
           set_state("osc1", "refusing");
         },
         [&] {
           set_state("led_selka", "ok");
           set_state("osc1", "ok");
         }},
        {"switch refuses", [&] { set_state("wss_edge", "refusing"); },
         [&] { set_state("wss_edge", "ok"); }, test::operational_line, false},
        {"switch dead and store hung",
         [&] {
           node_.plant().set_device("wss_edge", "killed");
           store.hang();
         },
         [&] {
           store.go_on();
           node_.plant().set_device("wss_edge", "ok");
         },
         "Not connected: ", false},
    };
  }

  test::process::settings logging_to(const std::string& file) {
    auto settings = node_.daemon_settings();
    std::string line = "exec";
    for (const auto& word : settings.command)
      line += " '" + word + '\'';
    settings.command = {"sh", "-c", line + " 2>" + file};
    return settings;
  }

  test::regulating_node node_;
};

TEST_F(faults, around_a_regulating_daemon_leave_the_light_alone) {
  node_.bring_up();
  const auto& plant = node_.plant();
  const auto channels = plant.channels();
  std::size_t next = 0;
  for (const auto& row : table()) {
    SCOPED_TRACE(row.name);
    const auto at_rest = plant.attenuations();
    row.begin();
    ASSERT_TRUE(test::eventually([&] { return node_.serves(); }));
    ASSERT_TRUE(node_.wait_for_more(row.cycle, 2)) << node_.daemon().last_lines();
    EXPECT_LT(test::largest_change(at_rest, plant.attenuations()), test::one_step_db);
    if (row.writes) {
      EXPECT_EQ(node_.correct_a_disturbance(channels[next++ % channels.size()]), "");
    }
    row.end();
    EXPECT_EQ(node_.correct_a_disturbance(channels[next++ % channels.size()]), "");
    EXPECT_TRUE(node_.await_rest()) << plant.off_target(test::rest_db);
  }
}

// A full disk, and a pipe whose reader stands still: at the level that logs most.
TEST_F(faults, of_the_log_and_another_state_of_all_devices_are_survived) {
  node_.start_surroundings();
  const auto standing_still = node_.root().file("log");
  ASSERT_EQ(::mkfifo(standing_still.c_str(), 0600), 0);
  const int reader = ::open(standing_still.c_str(), O_RDWR | O_CLOEXEC);
  for (const auto& log : {std::string("/dev/full"), standing_still}) {
    SCOPED_TRACE(log);
    test::process daemon(logging_to(log));
    ASSERT_TRUE(node_.await_configuration());
    ASSERT_EQ(node_.write("debug/loglevel", "\"debug\""), "{}");
    ASSERT_EQ(node_.write("config/redisConfigStatus", "true"), "{}");
    EXPECT_TRUE(node_.await_on_target()) << node_.plant().off_target(test::rest_db);
    // The devices come back as they were at their first start: parked and away from every target.
    node_.stop_devices();
    node_.start_devices("orvalite");
    EXPECT_TRUE(node_.await_on_target()) << node_.plant().off_target(test::rest_db);
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait_for_exit().value_or(-1), 0);
  }
  ::close(reader);
}

/// The daemon's wall clock, by itself: no test sets a machine's.
class wall_clock {
 public:
  wall_clock(test::daemon_node& node) : file_(node.root().file("clock")) {
    step(0h);
    node.give_daemon("TEST_WALL_CLOCK", file_);
    node.give_daemon("LD_PRELOAD", WALL_CLOCK);
  }

  void step(std::chrono::hours shift) {
    shift_ = shift;
    const std::int64_t seconds = std::chrono::seconds(shift).count();
    std::fstream file(file_, std::ios::in | std::ios::out | std::ios::binary);
    if (!file) file.open(file_, std::ios::out | std::ios::binary);
    file.write(reinterpret_cast<const char*>(&seconds), sizeof(seconds));
  }

  /// The beginning of a log line of now: to the hour.
  std::string hour() const {
    const auto now = std::chrono::system_clock::now() + shift_;
    return fmt::format("{:%Y-%m-%dT%H:}", fmt::gmtime(std::chrono::system_clock::to_time_t(now)));
  }

 private:
  std::string file_;
  std::chrono::hours shift_{};
};

TEST_F(faults, of_the_wall_clock_move_no_timer) {
  if (sanitized) GTEST_SKIP() << "a sanitizer wants to be loaded first";
  wall_clock clock(node_);
  node_.bring_up();
  const auto channels = node_.plant().channels();
  std::size_t next = 0;
  for (const auto shift : {1h, -1h}) {
    SCOPED_TRACE(shift.count());
    const auto at_rest = node_.plant().attenuations();
    const auto begin = std::chrono::steady_clock::now();
    const auto cycles = node_.daemon().count(test::operational_line);
    clock.step(shift);
    const auto seen = node_.daemon().output().size();
    ASSERT_TRUE(test::eventually([&] {
      return node_.daemon().output().find(clock.hour(), seen) != std::string::npos;
    })) << node_.daemon().last_lines();
    ASSERT_TRUE(node_.wait_for_more(test::operational_line, 4)) << node_.daemon().last_lines();
    EXPECT_LT(test::largest_change(at_rest, node_.plant().attenuations()), test::one_step_db);
    EXPECT_EQ(node_.correct_a_disturbance(channels[next++]), "");
    EXPECT_TRUE(node_.await_rest()) << node_.plant().off_target(test::rest_db);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(node_.daemon().count(test::operational_line), cycles + 2.0 * passed.count() + 2.0);
    EXPECT_TRUE(node_.serves());
  }
}

}  // namespace
