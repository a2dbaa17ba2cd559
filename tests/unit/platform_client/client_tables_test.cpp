// What a client keeps of its connection, calls and subscriptions: when each is due. Times by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "journal.h"
#include "platform/nexel_client/call_table.h"
#include "platform/nexel_client/reconnect_pace.h"
#include "platform/nexel_client/subscription_table.h"

namespace client_test {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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

TEST(call_table, gives_up_each_call_at_its_own_deadline) {
  const nx::call_table::time_point begin{};
  const journal ignored;
  nx::call_table calls;
  for (const auto after : {2s, 3s})
    calls.add(std::make_shared<noting_read>("a", ignored), begin + after);
  EXPECT_EQ(calls.next_deadline(), begin + 2s);
  EXPECT_THAT(calls.take_expired(begin + 1999ms), IsEmpty());
  EXPECT_THAT(calls.take_expired(begin + 2s), SizeIs(1));
  EXPECT_EQ(calls.next_deadline(), begin + 3s);
}

struct confirmed_subscriber : noting_subscriber {
  using noting_subscriber::noting_subscriber;
  void subscription_confirmed() override { ++confirmed; }
  int confirmed = 0;
};

TEST(subscription_table, asks_for_a_path_when_it_is_due_and_forgets_what_nobody_wants) {
  const nx::subscription_table::time_point now{};
  const journal ignored;
  nx::subscription_table table;
  auto first = std::make_shared<confirmed_subscriber>("a", ignored);
  table.add(first);
  EXPECT_THAT(table.take_due(now), ElementsAre("a"));
  EXPECT_THAT(table.take_due(now), IsEmpty()) << "asked";
  table.refused("a", {-2, "none", "a"}, now + 1s);
  EXPECT_THAT(table.take_due(now + 999ms), IsEmpty());
  auto second = std::make_shared<confirmed_subscriber>("a", ignored);
  table.add(second);
  EXPECT_THAT(table.take_due(now), ElementsAre("a")) << "a newcomer does not wait";
  table.add(second);
  table.confirmed("a");
  EXPECT_EQ(first->confirmed, 0) << "that was the answer of before";
  table.take_due(now);
  table.confirmed("a");
  EXPECT_EQ(first->confirmed, 1);
  table.lost(-107, "gone");
  first.reset();
  second.reset();
  EXPECT_THAT(table.take_abandoned(), IsEmpty()) << "the next connection knows nothing of it";
  EXPECT_TRUE(table.empty());
}

}  // namespace client_test
