// The tables of the LED manager against a panel that fails, and what it logs.
#include <gtest/gtest.h>

#include "products/selka/leds.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using bench_t = test::led_bench<products::selka::leds>;

void light(bench_t& bench) {
  bench.leds->set_line_rx_los(false);
  bench.leds->set_line_tx_enabled(true);
  for (const auto& [key, port] : {std::pair{19210000u, 2u}, std::pair{19220000u, 4u}}) {
    bench.leds->add_rx_channel(key);
    bench.leds->update_rx_port(key, port);
    bench.leds->update_rx_loss_of_signal(key, false);
  }
}

void fail_on(bench_t& bench, const std::string& name) {
  bench.panel->before_access = [name](const std::string& access) {
    if (access == name) throw nx_client_exception{-110, "no answer", access};
  };
}

TEST(led_writes, a_failed_entry_stays_marked_and_the_others_are_written) {
  for (const auto& [failing, missing, record] :
       {std::tuple{"line rx", "line", "Failed to set Line led: no answer"},
        std::tuple{"xc 1 tx", "xc 1", "Failed to set XC led: no answer"},
        std::tuple{"client 1 rx", "client 1", "Failed to set AWG led: no answer"}}) {
    const test::log_capture log;
    bench_t bench;
    light(bench);
    fail_on(bench, failing);
    bench.leds->run_pass();
    EXPECT_TRUE(log.contains(record)) << failing;
    EXPECT_EQ(bench.panel->green().find(failing), std::string::npos);

    bench.panel->writes.clear();
    bench.panel->before_access = [](const std::string&) {};
    bench.leds->run_pass();
    ASSERT_FALSE(bench.panel->writes.empty()) << failing << " is not tried again";
    for (const auto& write : bench.panel->writes) {
      EXPECT_EQ(write.find(missing), 0u) << write << " was written twice";
    }
    EXPECT_EQ(bench.panel->green(), "client 1 rx, line rx, line tx, xc 1 rx");
  }
}

TEST(led_writes, go_line_first_then_cross_connects_then_clients_rx_before_tx) {
  bench_t bench;
  light(bench);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->writes,
            (std::vector<std::string>{"line rx green", "line tx green", "xc 1 rx green",
                                      "xc 1 tx off", "client 1 rx green", "client 1 tx off"}));
  bench.panel->writes.clear();
  bench.leds->update_leds(true);
  EXPECT_EQ(bench.panel->writes.size(), 2u * (1 + 3 + 40)) << "forced: every LED";
  bench.panel->writes.clear();
  bench.leds->update_leds(false);
  EXPECT_TRUE(bench.panel->writes.empty()) << "no flag may be left";
}

TEST(led_reads, take_over_what_the_panel_shows) {
  bench_t bench;
  bench.panel->colours = {{"line rx", "green"},
                          {"line tx", "green"},
                          {"client 1 rx", "green"},
                          {"xc 1 rx", "green"},
                          {"client 40 tx", "green"}};
  light(bench);
  bench.leds->read_led_statuses();
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->writes,
            (std::vector<std::string>{"client 40 rx off", "client 40 tx off"}));
}

TEST(led_reports, of_a_channel_that_nobody_added_are_logged_and_add_nothing) {
  bench_t bench;
  const test::log_capture log;
  bench.leds->update_rx_port(5, 1);
  bench.leds->update_tx_port(6, 1);
  bench.leds->update_rx_loss_of_signal(7, false);
  bench.leds->update_tx_loss_of_signal(8, false);
  for (const auto* text :
       {"Failed to update rx port for channel 5", "Failed to update tx port for channel 6",
        "Failed to update rx loss of signal for channel 7",
        "Failed to update tx loss of signal for channel 8"}) {
    EXPECT_TRUE(log.contains(text)) << text;
  }
  bench.leds->set_line_rx_los(false);
  bench.leds->set_line_tx_enabled(true);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "line rx, line tx")
      << "an entry without state would hold this back";
}

}  // namespace
