// The LED test at a coldstart, on a clock that its own sleeps move.
#include <gtest/gtest.h>

#include "base/manager/led_test.h"
#include "helpers/waiting.h"
#include "products/orva/orvakin/orvakinet/leds.h"
#include "products/orva/orvalite/leds.h"
#include "products/selka/leds.h"
#include "products/selka/selkaplus/leds.h"
#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using namespace std::chrono_literals;

class coldstart : public testing::Test {
 protected:
  coldstart() { helpers::waiting::instance().set_source(clock); }
  ~coldstart() override { helpers::waiting::instance().set_source(nullptr); }

  template <class Model>
  std::vector<std::string> first_sweep(unsigned panel_size) {
    test::led_bench<Model> bench;
    bench.panel->client_count = panel_size;
    bench.leds->boot_thread_function();
    return numbers_until(bench.panel->writes, "yellow");
  }

  /// "client 3 tx green" as "3", "line tx green" as "line"; each pair must be tx before rx.
  static std::vector<std::string> numbers_until(const std::vector<std::string>& writes,
                                                const std::string& colour) {
    std::vector<std::string> order;
    for (std::size_t i = 0; i + 1 < writes.size(); i += 2) {
      if (writes[i].ends_with(colour)) break;
      const auto pair = writes[i].substr(0, writes[i].find(" tx"));
      EXPECT_EQ(writes[i], pair + " tx green");
      EXPECT_EQ(writes[i + 1], pair + " rx green");
      order.push_back(pair.starts_with("client ") ? pair.substr(7) : pair);
    }
    return order;
  }

  std::shared_ptr<test::hand_clock> clock =
      std::make_shared<test::hand_clock>([](std::chrono::nanoseconds) {});
};

using order = std::vector<std::string>;

TEST_F(coldstart, sweeps_walk_up_one_row_of_clients_and_back_the_other) {
  using orva = products::orva::orvalite::leds;
  const std::map<unsigned, order> walks{
      {0, {"line"}},
      {1, {"line", "1"}},
      {2, {"line", "1", "2"}},
      {3, {"line", "1", "2"}},  // the walk back starts from a number that this panel lacks
      {4, {"line", "1", "2", "4", "3"}},
      {8, {"line", "1", "2", "5", "6", "8", "7", "4", "3"}},
  };
  for (const auto& [size, walk] : walks)
    EXPECT_EQ(first_sweep<orva>(size), walk) << size;
  auto all = first_sweep<orva>(40);
  EXPECT_EQ(all.size(), 41u);
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::unique(all.begin(), all.end()), all.end()) << "each pair once";
}

TEST_F(coldstart, sweeps_of_selka_take_the_cross_connects_in_their_own_order) {
  EXPECT_EQ(first_sweep<products::selka::leds>(4),
            (order{"xc 1", "xc 2", "line", "1", "2", "4", "3", "xc 3"}));
  const auto plus = first_sweep<products::selka::selkaplus::leds>(0);
  ASSERT_EQ(plus.size(), 35u);
  EXPECT_EQ(plus[0], "line");
  EXPECT_EQ(plus[1], "xc 1");
  EXPECT_EQ(plus[17], "xc 17");
  EXPECT_EQ(plus[18], "xc 34");
  EXPECT_EQ(plus[34], "xc 18");
}

TEST_F(coldstart, the_test_ends_before_a_green_sweep_after_a_minute_with_true_colours) {
  test::led_bench<products::orva::orvakin::orvakinet::leds> bench;
  bench.leds->add_rx_channel(19160000);
  bench.leds->update_rx_loss_of_signal(19160000, false);
  bench.leds->boot_thread_function();
  EXPECT_GE(clock->elapsed(), 60s);
  EXPECT_LT(clock->elapsed(), 60s + 3 * 1800ms);
  EXPECT_EQ(bench.panel->green(), "client 1 rx");
  // 41 pairs: whole rounds of three colours, and one forced write of all.
  const std::size_t sweep = 2 * 41;
  EXPECT_EQ((bench.panel->writes.size() - sweep) % (3 * sweep), 0u);
}

TEST_F(coldstart, waits_for_the_panel_and_goes_on_with_the_same_colour) {
  const test::log_capture log;
  test::led_bench<products::selka::leds> bench;
  bench.panel->ready = false;
  clock->at(3s, [&] { bench.panel->ready = true; });
  clock->at(10s, [&] { bench.panel->ready = false; });
  std::size_t written = 0;
  clock->at(20s, [&] {
    bench.panel->ready = true;
    written = bench.panel->writes.size();
  });
  bench.leds->boot_thread_function();
  const auto colour = [](const std::string& write) { return write.substr(write.rfind(' ')); };
  ASSERT_LT(written, bench.panel->writes.size());
  const auto former = colour(bench.panel->writes[written - 1]);
  EXPECT_EQ(colour(bench.panel->writes[written]), former == " green"    ? " yellow"
                                                  : former == " yellow" ? " off"
                                                                        : " green");
  EXPECT_TRUE(log.contains("Led test ended"));
}

TEST_F(coldstart, failures_skip_their_pair_only) {
  test::led_bench<products::selka::leds> bench;
  bench.panel->client_count = 4;
  bench.panel->before_access = [](const std::string& access) {
    if (access == "client 2 tx") throw nx_client_exception{-110, "no answer", access};
    if (access == "xc 2 tx" || access == "line tx") throw nx_error(-22, "missing");
  };
  clock->at(59s, [&] { bench.panel->before_access = [](const std::string&) {}; });
  bench.leds->boot_thread_function();
  EXPECT_EQ(numbers_until(bench.panel->writes, "yellow"), (order{"xc 1", "1", "4", "3", "xc 3"}));
}

TEST_F(coldstart, a_panel_that_fails_at_once_does_not_hold_time_still) {
  test::led_bench<products::selka::selkaplus::leds> bench;
  unsigned accesses = 0;
  bench.panel->before_access = [&](const std::string& access) {
    ++accesses;
    if (access != "ready") throw nx_client_exception{-107, "Not connected", access};
  };
  bench.leds->boot_thread_function();
  EXPECT_GE(clock->elapsed(), 60s);
  EXPECT_LT(accesses, 200'000u);
}

}  // namespace
