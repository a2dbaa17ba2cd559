// The LED thread through its states, and its end.
#include <gtest/gtest.h>

#include <future>
#include <map>

#include "helpers/waiting.h"
#include "products/orva/orvamax/leds.h"
#include "tests/support/log_capture.h"
#include "tests/unit/leds/fake_panel.h"

namespace {

using namespace std::chrono_literals;

/// Every sleep moves time at once, on the thread that sleeps, and runs what is due on it: the LED
/// thread drives itself through the story.
class self_moving_clock : public helpers::time_source {
 public:
  std::chrono::steady_clock::time_point steady_now() override {
    return std::chrono::steady_clock::time_point(elapsed_.load());
  }
  std::chrono::system_clock::time_point system_now() override {
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(elapsed_.load()));
  }
  void sleep(std::chrono::nanoseconds duration) override {
    elapsed_ = elapsed_.load() + duration;
    while (!actions_.empty() && actions_.begin()->first <= elapsed_.load()) {
      const auto action = actions_.begin()->second;
      actions_.erase(actions_.begin());
      action();
    }
  }
  void interrupt() override {}

  /// Before the thread starts.
  void at(std::chrono::nanoseconds when, std::function<void()> action) {
    actions_.emplace(when, std::move(action));
  }

 private:
  std::atomic<std::chrono::nanoseconds> elapsed_{0ns};
  std::multimap<std::chrono::nanoseconds, std::function<void()>> actions_;
};

class counting_leds : public products::orva::orvamax::leds {
 public:
  void boot_thread_function() override {
    ++tests;
    products::orva::orvamax::leds::boot_thread_function();
  }
  unsigned tests = 0;
};

class led_thread : public testing::Test {
 protected:
  led_thread() {
    helpers::waiting::instance().set_source(clock);
    leds->set_led(panel);
  }
  ~led_thread() override { helpers::waiting::instance().set_source(nullptr); }

  void at(std::chrono::nanoseconds when, std::function<void()> action) {
    clock->at(when, std::move(action));
  }

  /// Runs the thread until `end` on the clock.
  void run(bool coldstart, std::chrono::nanoseconds end) {
    std::promise<void> ended;
    clock->at(end, [&ended] {
      helpers::waiting::instance().stop();
      ended.set_value();
    });
    leds->start(coldstart);
    ended.get_future().wait();
    leds->stop();
  }

  std::shared_ptr<self_moving_clock> clock = std::make_shared<self_moving_clock>();
  std::shared_ptr<test::fake_panel> panel = std::make_shared<test::fake_panel>();
  std::shared_ptr<counting_leds> leds = std::make_shared<counting_leds>();
};

TEST_F(led_thread, without_a_coldstart_takes_over_the_panel_and_follows_the_reports) {
  panel->colours["line tx"] = "green";
  panel->ready = false;
  at(2500ms, [this] { panel->ready = true; });
  at(10s, [this] {
    EXPECT_TRUE(panel->writes.empty());
    leds->set_line_rx_los(false);
    leds->set_line_tx_enabled(true);
  });
  run(false, 12s);
  EXPECT_EQ(panel->writes, (std::vector<std::string>{"line rx green", "line tx green"}));
  EXPECT_EQ(leds->tests, 0u);
}

TEST_F(led_thread, tests_the_panel_once_also_when_it_fails_later) {
  const test::log_capture log;
  bool failing = false;
  panel->before_access = [&](const std::string& access) {
    if (failing) throw nx_client_exception{-107, "Not connected: panel", access};
  };
  at(100s, [&] {
    failing = true;
    leds->set_line_rx_los(false);
    leds->set_line_tx_enabled(true);
  });
  at(120s, [&] { failing = false; });
  run(true, 150s);
  EXPECT_EQ(leds->tests, 1u);
  EXPECT_EQ(panel->green(), "line rx, line tx");
  EXPECT_TRUE(log.contains("Failed to set Line led: Not connected: panel"));
}

TEST_F(led_thread, a_panel_that_refuses_is_tested_anew_and_then_left_in_peace) {
  bool refusing = false;
  std::size_t writes_at_rest = 0;
  panel->client_count = 8;
  panel->before_access = [&](const std::string& access) {
    if (refusing && access == "client 4 tx") throw nx_error(-22, "Failed to set awg tx led");
  };
  leds->add_rx_channel(19220000);
  leds->update_rx_loss_of_signal(19220000, false);
  leds->set_line_rx_los(false);
  leds->set_line_tx_enabled(true);
  at(20s, [&] { refusing = true; });
  at(30s, [&] { refusing = false; });
  at(150s, [&] { writes_at_rest = panel->writes.size(); });
  run(true, 300s);
  EXPECT_GE(leds->tests, 2u);
  EXPECT_EQ(panel->green(), "client 2 rx, line rx, line tx");
  EXPECT_EQ(panel->writes.size(), writes_at_rest) << "a steady panel gets no writes";
}

TEST_F(led_thread, does_not_spin_on_a_panel_that_fails_at_once) {
  unsigned accesses = 0;
  panel->before_access = [&](const std::string& access) {
    ++accesses;
    throw nx_client_exception{-107, "Not connected: panel", access};
  };
  run(false, 60s);
  EXPECT_LE(accesses, 601u);
  EXPECT_GE(accesses, 60u);
}

TEST(led_thread_end, stop_ends_it_and_nothing_keeps_the_object) {
  std::weak_ptr<counting_leds> watched;
  {
    auto leds = std::make_shared<counting_leds>();
    leds->set_led(std::make_shared<test::fake_panel>());
    leds->start(true);
    for (unsigned key = 0; key < 100; ++key) {
      leds->add_rx_channel(key);
      leds->update_rx_loss_of_signal(key, key % 2 == 0);
    }
    leds->stop();
    leds->stop();
    watched = leds;
  }
  EXPECT_TRUE(watched.expired());
}

}  // namespace
