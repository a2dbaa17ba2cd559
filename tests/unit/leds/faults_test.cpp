// The effect of a panel that is away, slow or has one broken LED on the loops' reports, the other
// LEDs and the log.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "base/guards/panel.h"
#include "base/insight/event_log.h"
#include "platform/wire/nx_error.h"
#include "products/orva/leds.h"
#include "products/selka/leds.h"
#include "tests/support/failure.h"
#include "tests/support/gate.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using namespace std::chrono_literals;
using test::texts;
using orva_bench = test::led_bench<products::orva::orvalite::leds>;
using selka_bench = test::led_bench<products::selka::leds>;

[[noreturn]] void be_away(const std::string& access) {
  throw nx_client_exception{-107, "Not connected: panel", access};
}

TEST(hung_panel, holds_up_no_report) {
  orva_bench bench;
  test::gate panel;
  bench.add_rx(19140000, 1);
  bench.panel->before_access = [&](const std::string&) { panel.pass(); };
  std::jthread led_thread([&] {
    bench.leds->run_pass();
    bench.panel->before_access = [](const std::string&) {};
    bench.leds->run_pass();
  });
  panel.wait_for_arrivals(1);
  // Each of these would wait for ever if a lock were held across the call.
  bench.set_line(true, true);
  bench.leds->update_rx_loss_of_signal(19140000, true);
  bench.leds->add_tx_channel(19155000);
  bench.leds->remove_tx_channel(19155000);
  panel.open();
  led_thread.join();
  EXPECT_EQ(bench.panel->green(), "line rx, line tx") << "what was reported meanwhile is shown";
}

TEST(panel_message, takes_all_leds_at_once) {
  selka_bench bench;
  bench.set_line(true, true);
  for (unsigned led = 0; led < 40; ++led)
    bench.add_rx(19210000 + 10000 * led, 2);
  bench.leds->read_led_statuses();
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->writes.size(), 2u * 41);
  EXPECT_EQ(bench.panel->exchanges, 2u) << "one to read the panel, one to write it";
}

TEST(panel_message, becomes_shorter_for_a_panel_that_cannot_answer_it_in_time) {
  selka_bench bench;
  // Answers the first 9 of a message before the time-out.
  unsigned answered = 0;
  unsigned message = 0;
  bench.panel->before_access = [&](const std::string& access) {
    if (std::exchange(message, bench.panel->exchanges) != bench.panel->exchanges) answered = 0;
    if (++answered > 9) throw nx_client_exception{-110, "No answer within 2 s: panel", access};
  };
  const auto can_read = [&] {
    return test::failure_of([&] { bench.leds->read_led_statuses(); }).empty();
  };
  unsigned attempts = 1;
  while (!can_read() && attempts < 20)
    ++attempts;
  EXPECT_LE(attempts, 5u) << "88 LEDs, 44, 22, 11, 5";
  bench.panel->before_access = be_away;
  EXPECT_FALSE(can_read());
}

TEST(broken_led, leaves_the_others_shown) {
  const test::log_capture log;
  selka_bench bench;
  bench.panel->colours["client 40 tx"] = "green";
  bench.panel->before_access = [](const std::string& access) {
    if (access == "line rx") throw nx_error(-22, "Failed to set line rx led");
    if (access == "client 1 rx") throw nx_client_exception{-5, "Refused by the device", access};
  };
  bench.set_line(true, true);
  bench.add_rx(19210000, 2);
  bench.add_rx(19220000, 2);
  bench.leds->read_led_statuses();
  for (int pass = 0; pass < 10; ++pass) {
    // The thread begins anew after a refusal, once all others have had their colours.
    EXPECT_THROW(bench.leds->run_pass(), nx_error);
    EXPECT_EQ(bench.panel->green(), "client 2 rx, line tx");
  }
  EXPECT_EQ(log.count("Failed to set AWG led: Refused by the device"), 1);
  EXPECT_EQ(log.count("Updating AWG1 RX"), 1) << "told once while it is tried in vain";
  bench.panel->before_access = [](const std::string&) {};
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "client 1 rx, client 2 rx, line rx, line tx");
}

class on_clock : public testing::Test, protected test::on_hand_clock {
 protected:
  ~on_clock() override { helpers::guard_register::instance().reset(); }
};

using unknown_channel = on_clock;

TEST_F(unknown_channel, keeps_its_own_led_and_after_a_while_no_other) {
  const auto& guards = helpers::guard_register::instance();
  orva_bench bench;
  bench.panel->colours["client 2 rx"] = "green";
  bench.panel->colours["client 2 tx"] = "green";
  bench.leds->read_led_statuses();
  bench.add_rx(19140000, 1);
  bench.leds->add_rx_channel(19155000);  // its loop is down
  const auto pass_for = [&](std::chrono::seconds duration) {
    for (auto s = 0s; s < duration; s += 1s) {
      bench.leds->run_pass();
      clock->sleep(1s);
    }
  };
  pass_for(10s);
  EXPECT_TRUE(bench.panel->writes.empty()) << "the panel waits for a loop that is starting";
  EXPECT_FALSE(guards.is_active(guards::panel_unknown_channel, "panel"));
  pass_for(2s);
  EXPECT_EQ(bench.panel->green(), "client 1 rx, client 2 rx")
      << "the side of the unknown channel stays, the other follows the state";
  EXPECT_TRUE(guards.is_active(guards::panel_unknown_channel, "panel"));
  bench.leds->update_rx_loss_of_signal(19155000, true);
  pass_for(1s);
  EXPECT_EQ(bench.panel->green(), "client 1 rx");
  EXPECT_FALSE(guards.is_active(guards::panel_unknown_channel, "panel"));
}

TEST_F(unknown_channel, without_a_port_may_be_any_led_of_its_side) {
  selka_bench bench;
  bench.panel->colours["xc 1 rx"] = "green";
  bench.panel->colours["client 3 tx"] = "green";
  bench.leds->read_led_statuses();
  bench.leds->add_rx_channel(19700000);
  bench.leds->update_rx_loss_of_signal(19700000, false);
  for (int second = 0; second <= 10; ++second) {
    bench.leds->run_pass();
    clock->sleep(1s);
  }
  EXPECT_EQ(bench.panel->green(), "xc 1 rx");
}

using absent_panel = on_clock;

/// "loopDown", "loopUp": what the node's events say about the panel.
std::vector<std::string> events_of_panel() {
  std::vector<std::string> told;
  for (const auto& event : insight::event_log::instance().events())
    if (event.on == "panel") told.emplace_back(name_of(event.kind));
  return told;
}

TEST_F(absent_panel, is_waited_for_with_one_line_when_it_goes_and_one_when_it_is_back) {
  const test::log_capture log;
  insight::event_log::instance().reset();
  orva_bench bench;
  unsigned accesses = 0;
  bool away = false;
  bench.panel->before_access = [&](const std::string& access) {
    accesses += away;
    if (away) be_away(access);
  };
  clock->at(5s, [&] {
    away = true;
    for (unsigned led = 0; led < 32; ++led)
      bench.add_rx(19140000 + 15000 * led, 1);
    bench.set_line(true, true);
  });
  clock->at(10min, [&] { away = false; });
  bench.run(*clock, 11min);
  EXPECT_LE(accesses, 2u * 33 + 600u) << "one message in vain, then a look each second";
  EXPECT_EQ(log.count("Not connected: panel"), 1);
  EXPECT_EQ(log.count("Led device is ready again."), 1);
  EXPECT_EQ(events_of_panel(), (std::vector<std::string>{"loopDown", "loopUp"}));
  EXPECT_EQ(log.count("Updating "), 2 * 33);
  EXPECT_EQ(bench.panel->colours.size(), 2u * 33);
  EXPECT_TRUE(bench.panel->colours["client 32 rx"] == "green");
}

using led_test = on_clock;

TEST_F(led_test, ends_on_a_panel_whose_every_answer_is_an_error) {
  orva_bench bench;
  bench.panel->before_access = [](const std::string& access) {
    if (access.starts_with("client")) throw nx_client_exception{-5, "Refused", access};
  };
  bench.leds->boot_thread_function();
  EXPECT_LT(clock->elapsed(), 70s);
}

TEST_F(led_test, begins_anew_once_for_a_led_that_is_refused_and_passes_over_it_then) {
  const test::log_capture log;
  orva_bench bench(true);
  bench.panel->before_access = [](const std::string& access) {
    if (access == "client 4 tx") throw nx_error(-22, "Failed to set awg tx led");
  };
  bench.add_rx(19155000, 1);
  bench.set_line(true, true);
  bench.run(*clock, 10min);
  EXPECT_EQ(log.count("Led test started"), 2);
  EXPECT_EQ(bench.panel->green(), "client 2 rx, line rx, line tx");
}

}  // namespace
