// Which LED shows which channel, when a colour goes to the panel, and what a panel that fails does
// to that.
#include <gtest/gtest.h>

#include "products/orva/leds.h"
#include "products/selka/leds.h"
#include "products/selka/selkaplus/leds.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using test::led_bench;
using test::texts;
using selka_bench = led_bench<products::selka::leds>;

/// A lit channel of this key and port, alone on the panel, and what then is green.
struct lit_channel {
  unsigned key;
  unsigned port;
  std::string green;
};

template <class Model>
void expect_lit(const std::vector<lit_channel>& cases) {
  for (const auto& one : cases) {
    led_bench<Model> bench;
    bench.add_rx(one.key, one.port);
    bench.leds->run_pass();
    EXPECT_EQ(bench.panel->green(), one.green) << "channel " << one.key << " port " << one.port;
  }
}

TEST(led_places, follow_the_frequency_on_orva_and_the_port_on_selka) {
  using namespace products;
  expect_lit<orva::orvalite::leds>({{19140000, 1, "client 1 rx"},
                                    {19605000, 1, "client 32 rx"},
                                    {19620000, 1, ""},
                                    {19145000, 1, ""}});
  expect_lit<orva::orvamax::leds>({{19210000, 1, "client 1 rx"}, {19600000, 9, "client 40 rx"}});
  expect_lit<orva::orvapro::leds>({{19210000, 1, "client 1 rx"}, {19610000, 1, ""}});
  expect_lit<orva::orvakin::orvakinet::leds>({{19160000, 1, "client 1 rx"},
                                              {19230000, 1, "client 8 rx"},
                                              {19240000, 1, ""},
                                              {19250000, 1, "client 9 rx"},
                                              {19590000, 1, "client 40 rx"}});
  expect_lit<selka::leds>({{19210000, 2, "client 1 rx"},
                           {19600000, 2, "client 40 rx"},
                           {19610000, 2, ""},  // a key behind the last LED
                           {19700000, 2, ""},  // the client port, but no key of it
                           {19210000, 4, "xc 1 rx"},
                           {19700000, 6, "xc 2 rx"},
                           {19700000, 8, "xc 3 rx"},
                           {19210000, 5, ""}});
  expect_lit<selka::selkaplus::leds>(
      {{19210000, 0, ""}, {19210000, 1, "xc 1 rx"}, {1, 34, "xc 34 rx"}, {1, 35, ""}});
}

TEST(led_colours, follow_a_port_whose_channels_come_and_go) {
  led_bench<products::selka::selkaplus::leds> bench;
  bench.add_rx(1, 7);
  bench.add_rx(2, 7);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "xc 7 rx");
  bench.leds->update_rx_loss_of_signal(1, true);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "xc 7 rx") << "the other channel of the port still has light";
  bench.leds->remove_rx_channel(2);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "");
  EXPECT_EQ(bench.panel->writes.size(), 4u) << "a steady panel costs no writes";
}

TEST(led_colours, one_unknown_channel_holds_back_every_write) {
  led_bench<products::orva::orvalite::leds> orva;
  orva.add_rx(19140000, 1);
  orva.leds->add_tx_channel(19155000);
  orva.leds->run_pass();
  EXPECT_TRUE(orva.panel->writes.empty());
  orva.leds->update_tx_loss_of_signal(19155000, true);
  orva.leds->run_pass();
  EXPECT_EQ(orva.panel->green(), "client 1 rx")
      << "the change must survive the passes without write";

  selka_bench selka;
  selka.leds->add_rx_channel(19210000);
  selka.leds->update_rx_loss_of_signal(19210000, false);
  selka.leds->run_pass();
  EXPECT_TRUE(selka.panel->writes.empty()) << "selka needs the port too";
  selka.leds->add_rx_channel(19210000);  // known already: keeps its state
  selka.leds->update_rx_port(19210000, 2);
  selka.leds->run_pass();
  EXPECT_EQ(selka.panel->green(), "client 1 rx");
}

TEST(led_colours, the_line_shows_once_both_its_sides_are_known) {
  led_bench<products::orva::orvapro::leds> bench;
  bench.leds->set_line_rx_los(false);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "");
  for (const bool rx : {false, true}) {
    bench.set_line(rx, !rx);
    bench.leds->run_pass();
    EXPECT_EQ(bench.panel->green(), rx ? "line rx" : "line tx");
  }
}

void light(selka_bench& bench) {
  bench.set_line(true, true);
  bench.add_rx(19210000, 2);
  bench.add_rx(19220000, 4);
}

TEST(led_writes, a_failed_entry_stays_marked_and_the_others_are_written) {
  for (const auto& [failing, missing, record] :
       {std::tuple{"line rx", "line", "Failed to set Line led: no answer"},
        std::tuple{"xc 1 tx", "xc 1", "Failed to set XC led: no answer"},
        std::tuple{"client 1 rx", "client 1", "Failed to set AWG led: no answer"}}) {
    const test::log_capture log;
    selka_bench bench;
    light(bench);
    bench.panel->before_access = [name = failing](const std::string& access) {
      if (access == name) throw nx_client_exception{-110, "no answer", access};
    };
    bench.leds->run_pass();
    EXPECT_TRUE(log.contains(record)) << failing;
    EXPECT_EQ(bench.panel->green().find(failing), std::string::npos);

    bench.take_writes();
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
  selka_bench bench;
  light(bench);
  bench.leds->run_pass();
  EXPECT_EQ(bench.take_writes(), (texts{"line rx green", "line tx green", "xc 1 rx green",
                                        "xc 1 tx off", "client 1 rx green", "client 1 tx off"}));
  bench.leds->update_leds(true);
  EXPECT_EQ(bench.take_writes().size(), 2u * (1 + 3 + 40)) << "forced: every LED";
  bench.leds->update_leds(false);
  EXPECT_EQ(bench.take_writes(), texts{}) << "no flag may be left";
}

TEST(led_reads, take_over_what_the_panel_shows) {
  selka_bench bench;
  for (const char* lit : {"line rx", "line tx", "client 1 rx", "xc 1 rx", "client 40 tx"})
    bench.panel->colours[lit] = "green";
  light(bench);
  bench.leds->read_led_statuses();
  bench.leds->run_pass();
  EXPECT_EQ(bench.take_writes(), (texts{"client 40 rx off", "client 40 tx off"}));
}

TEST(led_reports, of_a_channel_that_nobody_added_are_logged_and_add_nothing) {
  selka_bench bench;
  const test::log_capture log;
  bench.leds->update_rx_port(5, 1);
  bench.leds->update_tx_port(6, 1);
  bench.leds->update_rx_loss_of_signal(7, false);
  bench.leds->update_tx_loss_of_signal(8, false);
  for (const auto* text : {"rx port for channel 5", "tx port for channel 6",
                           "rx loss of signal for channel 7", "tx loss of signal for channel 8"}) {
    EXPECT_TRUE(log.contains(std::string("Failed to update ") + text)) << text;
  }
  bench.set_line(true, true);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "line rx, line tx")
      << "an entry without state would hold this back";
}

}  // namespace
