#include "helpers/waiting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using helpers::waiting;

struct waiting_test : testing::Test {
  waiting_test() { clock.set_source(nullptr); }
  ~waiting_test() override { clock.set_source(nullptr); }
  waiting& clock = waiting::instance();
};

TEST_F(waiting_test, stop_ends_every_sleep_now_and_later) {
  std::vector<std::thread> sleepers;
  std::atomic<int> ended_early{0};
  for (int i = 0; i < 3; ++i) {
    sleepers.emplace_back([&] { ended_early += clock.sleep(1h) ? 0 : 1; });
  }
  // The retry loops of the device accesses: a million sleeps of a microsecond.
  sleepers.emplace_back([&] {
    while (clock.sleep(1us)) {
    }
    ++ended_early;
  });
  clock.stop();
  for (auto& sleeper : sleepers)
    sleeper.join();
  EXPECT_EQ(ended_early, 4);
  EXPECT_FALSE(clock.sleep(1h));
  EXPECT_TRUE(clock.stopping());
}

TEST_F(waiting_test, a_sleep_lasts_its_time_on_both_paths) {
  for (const std::chrono::nanoseconds length : {50'000ns, 300'000ns}) {
    const auto steady_begin = clock.steady_now();
    const auto system_begin = clock.system_now();
    EXPECT_TRUE(clock.sleep(length));
    EXPECT_GE(clock.steady_now() - steady_begin, length);
    EXPECT_GE(clock.system_now() - system_begin, length);
  }
  EXPECT_TRUE(clock.sleep(-1s));
}

TEST_F(waiting_test, a_wait_ends_with_what_it_waits_for) {
  EXPECT_TRUE(clock.wait([] { return true; }, 0s)) << "asked before the time is looked at";
  EXPECT_FALSE(clock.wait([] { return false; }, 1ms));

  // The waiter looks and goes to sleep while the other one acts and wakes: none may be missed.
  std::atomic<int> turn{0};
  constexpr int turns = 2000;
  const auto take_turns = [&](int mine) {
    for (int i = mine; i < turns; i += 2) {
      ASSERT_TRUE(clock.wait([&] { return turn == i; }, 1h));
      ++turn;
      clock.wake();
    }
  };
  std::thread other([&] { take_turns(1); });
  take_turns(0);
  other.join();
  EXPECT_EQ(turn, turns);
}

TEST_F(waiting_test, stop_ends_every_wait) {
  std::thread waiter([&] { EXPECT_FALSE(clock.wait([] { return false; }, 1h)); });
  clock.stop();
  waiter.join();
  EXPECT_FALSE(clock.wait([] { return true; }, 1h)) << "nobody acts by it any more";
}

}  // namespace
