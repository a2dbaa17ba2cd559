// The LED thread through its states and to its end, and the LED test at a coldstart, on a
// hand-driven clock.
#include <gtest/gtest.h>

#include "platform/wire/nx_error.h"
#include "products/orva/leds.h"
#include "products/selka/leds.h"
#include "products/selka/selkaplus/leds.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using namespace std::chrono_literals;
using test::texts;

class coldstart : public testing::Test, protected test::on_hand_clock {
 protected:
  template <class Model>
  texts first_sweep(unsigned panel_size) {
    test::led_bench<Model> bench;
    bench.panel->client_count = panel_size;
    bench.leds->boot_thread_function();
    return first_sweep_of(bench.panel->writes);
  }

  /// "client 3 tx green" as "3", "line tx green" as "line"; each pair must be tx before rx.
  static texts first_sweep_of(const texts& writes) {
    texts order;
    for (std::size_t i = 0; i + 1 < writes.size() && !writes[i].ends_with("yellow"); i += 2) {
      const auto pair = writes[i].substr(0, writes[i].find(" tx"));
      EXPECT_EQ(writes[i], pair + " tx green");
      EXPECT_EQ(writes[i + 1], pair + " rx green");
      order.push_back(pair.starts_with("client ") ? pair.substr(7) : pair);
    }
    return order;
  }
};

TEST_F(coldstart, sweeps_walk_up_one_row_of_clients_and_back_the_other) {
  using orva = products::orva::orvalite::leds;
  const std::map<unsigned, texts> walks{
      {0, {"line"}},
      {2, {"line", "1", "2"}},
      {3, {"line", "1", "2"}},  // the walk back starts from a number that this panel lacks
      {4, {"line", "1", "2", "4", "3"}},
      {8, {"line", "1", "2", "5", "6", "8", "7", "4", "3"}},
  };
  for (const auto& [size, walk] : walks)
    EXPECT_EQ(first_sweep<orva>(size), walk) << size;
  auto all = first_sweep<orva>(40);
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::unique(all.begin(), all.end()) - all.begin(), 41) << "each pair once";

  EXPECT_EQ(first_sweep<products::selka::leds>(4),
            (texts{"xc 1", "xc 2", "line", "1", "2", "4", "3", "xc 3"}));
  const auto plus = first_sweep<products::selka::selkaplus::leds>(0);
  ASSERT_EQ(plus.size(), 35u);
  EXPECT_EQ((texts{plus[0], plus[1], plus[17], plus[18], plus[34]}),
            (texts{"line", "xc 1", "xc 17", "xc 34", "xc 18"}));
}

TEST_F(coldstart, the_test_ends_before_a_green_sweep_after_a_minute_with_true_colours) {
  test::led_bench<products::orva::orvakin::orvakinet::leds> bench;
  bench.add_rx(19160000, 1);
  bench.leds->boot_thread_function();
  EXPECT_GE(clock->elapsed(), 60s);
  EXPECT_LT(clock->elapsed(), 60s + 3 * 1800ms);
  EXPECT_EQ(bench.panel->green(), "client 1 rx");
  // 41 pairs: whole rounds of three colours, and one forced write of all.
  const std::size_t sweep = 2 * 41;
  EXPECT_EQ((bench.panel->writes.size() - sweep) % (3 * sweep), 0u);
}

TEST_F(coldstart, failures_skip_their_pair_only) {
  test::led_bench<products::selka::leds> bench;
  bench.panel->client_count = 4;
  bench.panel->before_access = [](const std::string& access) {
    if (access == "client 2 tx") throw nx_client_exception{-110, "no answer", access};
    if (access == "client 3 tx") throw nx_client_exception{-5, "Refused", access};
    if (access == "xc 2 tx" || access == "line tx") throw nx_error(-22, "missing");
  };
  clock->at(59s, [&] { bench.panel->before_access = [](const std::string&) {}; });
  bench.leds->boot_thread_function();
  EXPECT_EQ(first_sweep_of(bench.panel->writes), (texts{"xc 1", "1", "4", "xc 3"}));
}

TEST_F(coldstart, a_panel_that_goes_away_meanwhile_does_not_begin_it_anew) {
  const test::log_capture log;
  test::led_bench<products::orva::orvalite::leds> bench;
  bool away = true;
  bench.panel->before_access = [&](const std::string& access) {
    if (away) throw nx_client_exception{-107, "Not connected", access};
  };
  clock->at(5s, [&] { away = false; });
  clock->at(25s, [&] { away = true; });
  clock->at(35s, [&] { away = false; });
  bench.leds->boot_thread_function();
  EXPECT_EQ(log.count("Led test started"), 1);
  EXPECT_GE(clock->elapsed(), 65s);
  EXPECT_LT(clock->elapsed(), 75s);
}

using bench_t = test::led_bench<products::orva::orvalite::leds>;
class led_thread : public testing::Test, protected test::on_hand_clock {};

TEST_F(led_thread, without_a_coldstart_takes_over_the_panel_and_follows_the_reports) {
  bench_t bench;
  bench.panel->colours["line tx"] = "green";
  bench.panel->operational = false;
  clock->at(2500ms, [&] { bench.panel->operational = true; });
  clock->at(10s, [&] {
    EXPECT_EQ(bench.take_writes(), texts{});
    bench.set_line(true, true);
  });
  bench.run(*clock, 12s);
  EXPECT_EQ(bench.take_writes(), (texts{"line rx green", "line tx green"}));
}

TEST_F(led_thread, tests_the_panel_once_also_when_it_fails_later) {
  const test::log_capture log;
  bench_t bench(true);
  bool failing = false;
  bench.panel->before_access = [&](const std::string& access) {
    if (failing) throw nx_client_exception{-107, "Not connected: panel", access};
  };
  clock->at(100s, [&] {
    failing = true;
    bench.set_line(true, true);
  });
  clock->at(120s, [&] { failing = false; });
  bench.run(*clock, 150s);
  const auto all = log.texts();
  EXPECT_EQ(std::count(all.begin(), all.end(), "Led test ended"), 1);
  EXPECT_EQ(bench.panel->green(), "line rx, line tx");
  EXPECT_TRUE(log.contains("Failed to set Line led: Not connected: panel"));
}

TEST(led_thread_end, stop_ends_it_and_nothing_keeps_the_object) {
  const auto panel = std::make_shared<test::fake_panel>();
  auto leds = std::make_shared<products::orva::orvalite::leds>();
  leds->set_led(panel);
  leds->start(true);
  for (unsigned key = 0; key < 100; ++key) {
    leds->add_rx_channel(key);
    leds->update_rx_loss_of_signal(key, key % 2 == 0);
  }
  leds->stop();
  leds->stop();
  const std::weak_ptr watched = std::exchange(leds, nullptr);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
