// Things missing when the daemon starts, or hung when it is to end.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;

// One time-out of a device call, however many are pending or follow, and what a healthy node may
// take.
constexpr auto stop_limit_with_hung_device = 3s;

TEST(late_start, waits_for_what_is_away_and_ends_in_that_wait_too) {
  const std::tuple<const char*, const char*, const char*, std::chrono::seconds> rows[] = {
      {"system_info", "killed", "Failed to read system nexels, retrying.", 2s},
      {"system_start", "hung", "Failed to read system nexels, retrying.",
       stop_limit_with_hung_device},
      {"booster", "killed", "Failed to read booster, retrying.", 2s},
      {"preamp", "hung", "Failed to read preamp, retrying.", stop_limit_with_hung_device},
      {"voa_sfp", "killed", "Failed to initialize line, retrying.", 2s},
  };
  for (const auto& [device, state, told, limit] : rows) {
    SCOPED_TRACE(fmt::format("{} {}", device, state));
    test::regulating_node node;
    node.start_surroundings();
    node.plant().set_device(device, state);
    node.start_daemon();
    ASSERT_TRUE(node.wait_for_more(told)) << node.daemon().last_lines();
    EXPECT_TRUE(node.serves());
    EXPECT_EQ(test::fault_of_end(node.daemon(), limit), "");

    node.start_daemon();
    ASSERT_TRUE(node.wait_for_more(told)) << node.daemon().last_lines();
    node.plant().set_device(device, "ok");
    EXPECT_TRUE(node.await_configuration()) << node.daemon().last_lines();
  }
}

TEST(late_start, ends_in_time_with_a_hung_device) {
  test::regulating_node node;
  node.start_surroundings();
  for (const char* device : {"wss_edge", "preamp", "led_selka", "osc1", "voa_sfp"}) {
    SCOPED_TRACE(device);
    node.start_and_await();
    node.release();
    node.plant().set_device(device, "hung");
    ASSERT_TRUE(node.daemon().wait_for("No answer within 2 s")) << node.daemon().last_lines();
    EXPECT_EQ(test::fault_of_end(node.daemon(), stop_limit_with_hung_device), "");
    node.plant().set_device(device, "ok");
  }
}

}  // namespace
