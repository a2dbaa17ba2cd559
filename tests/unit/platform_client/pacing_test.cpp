// When a connection is tried again, and which calls go out to a nexel that is silent.
#include <gtest/gtest.h>

#include "platform/nexel_client/answer_watch.h"
#include "platform/nexel_client/reconnect_pace.h"

namespace client_test {

using namespace std::chrono_literals;
using time_point = std::chrono::steady_clock::time_point;

TEST(reconnect_pace, pauses_double_to_the_longest_with_jitter_below) {
  nx::reconnect_pace pace(7), twin(7);
  for (const auto longest : {100ms, 200ms, 400ms, 800ms, 1600ms, 3200ms, 5000ms, 5000ms}) {
    const auto pause = pace.next_pause();
    EXPECT_LE(pause, longest);
    EXPECT_GE(pause, longest * 8 / 10);
    EXPECT_EQ(pause, twin.next_pause()) << "the same seed gives the same pauses";
  }
  pace.reset();
  EXPECT_LE(pace.next_pause(), 100ms);
}

TEST(reconnect_pace, calls_start_attempts_a_tenth_of_a_second_apart) {
  nx::reconnect_pace pace(7);
  const time_point start{100s};
  pace.attempt_started(start);
  EXPECT_EQ(pace.on_demand(start + 30ms), start + 100ms);
  EXPECT_EQ(pace.on_demand(start + 100ms), start + 100ms);
  EXPECT_EQ(pace.on_demand(start + 250ms), start + 250ms);
}

TEST(answer_watch, lets_one_probe_a_second_through) {
  nx::answer_watch watch;
  time_point now{100s};
  EXPECT_TRUE(watch.admits(now));
  EXPECT_TRUE(watch.admits(now)) << "while nothing has failed all go out";
  watch.timed_out(now);
  EXPECT_FALSE(watch.admits(now));
  EXPECT_FALSE(watch.admits(now + 999ms));
  EXPECT_TRUE(watch.admits(now + 1s));
  EXPECT_FALSE(watch.admits(now + 2500ms)) << "none beside the probe";
  now += 3s;
  watch.timed_out(now);
  EXPECT_FALSE(watch.admits(now + 999ms));
  EXPECT_TRUE(watch.admits(now + 1s));
  watch.answered();
  EXPECT_TRUE(watch.admits(now));
}

}  // namespace client_test
