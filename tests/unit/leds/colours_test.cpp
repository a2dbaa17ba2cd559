// Which LED shows which channel, and when a colour goes to the panel.
#include <gtest/gtest.h>

#include "products/orva/orvakin/orvakinet/leds.h"
#include "products/orva/orvalite/leds.h"
#include "products/orva/orvamax/leds.h"
#include "products/orva/orvapro/leds.h"
#include "products/selka/leds.h"
#include "products/selka/selkaplus/leds.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using test::led_bench;

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
    bench.leds->add_rx_channel(one.key);
    bench.leds->update_rx_port(one.key, one.port);
    bench.leds->update_rx_loss_of_signal(one.key, false);
    bench.leds->run_pass();
    EXPECT_EQ(bench.panel->green(), one.green) << "channel " << one.key << " port " << one.port;
  }
}

TEST(led_places, of_orva_follow_the_frequency) {
  using namespace products::orva;
  expect_lit<orvalite::leds>({{19140000, 1, "client 1 rx"},
                              {19605000, 1, "client 32 rx"},
                              {19620000, 1, ""},
                              {19145000, 1, ""}});
  expect_lit<orvamax::leds>({{19210000, 1, "client 1 rx"}, {19600000, 9, "client 40 rx"}});
  expect_lit<orvapro::leds>({{19210000, 1, "client 1 rx"}, {19610000, 1, ""}});
  expect_lit<orvakin::orvakinet::leds>({{19160000, 1, "client 1 rx"},
                                        {19230000, 1, "client 8 rx"},
                                        {19240000, 1, ""},
                                        {19250000, 1, "client 9 rx"},
                                        {19590000, 1, "client 40 rx"}});
}

TEST(led_places, of_selka_follow_the_port) {
  expect_lit<products::selka::leds>({{19210000, 2, "client 1 rx"},
                                     {19600000, 2, "client 40 rx"},
                                     {19610000, 2, ""},  // a key behind the last LED
                                     {19680000, 2, ""},
                                     {19700000, 2, ""},  // the client port, but no key of it
                                     {19210000, 4, "xc 1 rx"},
                                     {19700000, 6, "xc 2 rx"},
                                     {19700000, 8, "xc 3 rx"},
                                     {19210000, 5, ""}});
  expect_lit<products::selka::selkaplus::leds>(
      {{19210000, 0, ""}, {19210000, 1, "xc 1 rx"}, {1, 34, "xc 34 rx"}, {1, 35, ""}});
}

TEST(led_colours, follow_a_port_whose_channels_come_and_go) {
  led_bench<products::selka::selkaplus::leds> bench;
  for (const unsigned key : {1u, 2u}) {
    bench.leds->add_rx_channel(key);
    bench.leds->update_rx_port(key, 7);
    bench.leds->update_rx_loss_of_signal(key, false);
  }
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
  orva.leds->add_rx_channel(19140000);
  orva.leds->update_rx_loss_of_signal(19140000, false);
  orva.leds->add_tx_channel(19155000);
  orva.leds->run_pass();
  EXPECT_TRUE(orva.panel->writes.empty());
  orva.leds->update_tx_loss_of_signal(19155000, true);
  orva.leds->run_pass();
  EXPECT_EQ(orva.panel->green(), "client 1 rx")
      << "the change must survive the passes without write";

  led_bench<products::selka::leds> selka;
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
  bench.leds->set_line_tx_enabled(true);
  bench.leds->set_line_rx_los(true);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "line tx");
  bench.leds->set_line_rx_los(false);
  bench.leds->set_line_tx_enabled(false);
  bench.leds->run_pass();
  EXPECT_EQ(bench.panel->green(), "line rx");
}

}  // namespace
