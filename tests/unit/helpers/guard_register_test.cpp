#include "helpers/guard_register.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"

namespace {

using testing::HasSubstr;

constexpr helpers::guard_kind freshness{"freshness"};

class guard_register_test : public testing::Test, protected test::on_hand_clock {
 protected:
  guard_register_test() { guards.reset(); }
  ~guard_register_test() override { guards.reset(); }

  helpers::guard_register& guards = helpers::guard_register::instance();
};

TEST_F(guard_register_test, tells_begin_and_end_once_and_counts_what_was_withheld) {
  const test::log_capture log;
  guards.end(freshness, "line");  // was never on it
  for (int i = 0; i < 3; ++i)
    guards.withhold(freshness, "line", "the peer's saturation is old");
  guards.begin(freshness, "client rx 19230000", "no reading yet");
  clock->sleep(std::chrono::seconds(4));
  guards.end(freshness, "line");

  const auto texts = log.texts();
  ASSERT_EQ(texts.size(), 3U);
  EXPECT_THAT(texts[0], HasSubstr("Guard freshness begins on line: the peer's saturation is old"));
  EXPECT_THAT(texts[2], HasSubstr("Guard freshness ends on line after 4.0 s, writes withheld: 3"));

  const auto states = guards.states();
  ASSERT_EQ(states.size(), 1U);
  EXPECT_EQ(states[0].withheld, 3U);
  ASSERT_EQ(states[0].active.size(), 1U);
  EXPECT_EQ(states[0].active.begin()->first, "client rx 19230000");
}

}  // namespace
