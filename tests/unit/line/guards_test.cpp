// The rules that guard the line's writes, as tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "base/guards/line_attenuator.h"
#include "base/guards/line_opening.h"
#include "base/guards/line_saturation.h"
#include "base/guards/line_span.h"
#include "base/manager/loops/line_arithmetic.h"

namespace {

using namespace std::chrono_literals;
using guards::attenuator_watch;
using guards::saturation_verdict;
using guards::steady_point;

constexpr steady_point start{1h};

TEST(line_saturation, takes_a_step_on_news_of_after_the_last_one) {
  struct row {
    std::optional<std::chrono::milliseconds> write, saturation, channels;  // before now
    saturation_verdict expected;
    const char* why;
  };
  const row table[] = {
      {{}, {}, {}, saturation_verdict::stale, "first values of a connection are of any age"},
      {{}, 100ms, {}, saturation_verdict::step, "it has changed"},
      {{}, {}, 100ms, saturation_verdict::step, "the peer's loop runs"},
      {500ms, 450ms, 100ms, saturation_verdict::settling, "the light was on its way"},
      {500ms, 100ms, 100ms, saturation_verdict::step, "the step has shown"},
      {1000ms, 950ms, {}, saturation_verdict::step, "and nothing newer has come"},
      {1000ms, 1000ms, {}, saturation_verdict::stale, "told before the step"},
      {1000ms, {}, 100ms, saturation_verdict::stale, "its loop may have read before the step"},
      {5000ms, 6000ms, 1000ms, saturation_verdict::step, "its loop has run since"},
      {10min, 11min, 11min, saturation_verdict::stale, "nothing has been told for minutes"},
  };
  const auto at = [](const auto& ago) { return ago ? std::optional(start - *ago) : std::nullopt; };
  for (const auto& [write, saturation, channels, expected, why] : table) {
    EXPECT_EQ(guards::saturation_steps().judge({.saturation = 2.8f,
                                                .saturation_changed = at(saturation),
                                                .channels_changed = at(channels),
                                                .last_write = at(write),
                                                .now = start}),
              expected)
        << why;
  }
}

TEST(line_saturation, that_answers_no_step_is_not_followed_for_long) {
  guards::saturation_steps steps;
  unsigned taken = 0;
  const auto try_step = [&](float saturation) {
    const auto verdict = steps.judge({.saturation = saturation,
                                      .saturation_changed = start,
                                      .channels_changed = start,
                                      .last_write = {},
                                      .now = start});
    if (verdict != saturation_verdict::step) return;
    ++taken;
    steps.stepped(saturation);
  };
  for (int i = 0; i < 20; ++i)
    try_step(2.8f + 0.01f * static_cast<float>(i % 2));
  EXPECT_EQ(taken, 3u) << "noise is no answer";
  try_step(2.6f);
  EXPECT_EQ(taken, 4u) << "it moves after all";
  for (const float each : {2.4f, 1.4f, 0.7f, 0.4f, 0.2f, 0.2f, 0.2f, 0.2f})
    try_step(each);
  EXPECT_EQ(taken, 11u) << "where it stands still again, it has as many tries as before";
}

class attenuator : public testing::Test {
 protected:
  /// Steps by `change` whenever the rule lets it, twice a second; the device shows what it does.
  template <class Device>
  void run(std::chrono::seconds duration, float change, Device&& device) {
    for (const auto end = now_ + duration; now_ < end; now_ += 500ms) {
      shown_ = device(asked_);
      watch_.look(shown_);
      const auto decision = watch_.decide_step(shown_, change, 0.0f, 25.0f, now_);
      if (decision.what != attenuator_watch::verdict::write) continue;
      asked_ = decision.attenuation;
      written_.push_back(asked_);
      watch_.wrote(shown_, asked_, now_);
    }
  }

  attenuator_watch watch_;
  steady_point now_ = start;
  float asked_ = 10.0f;
  float shown_ = 10.0f;
  std::vector<float> written_;
};

TEST_F(attenuator, that_answers_is_stepped_from_what_it_shows) {
  run(3s, -0.4f, [](float asked) { return asked + 0.02f; });
  ASSERT_EQ(written_.size(), 6u);
  EXPECT_NEAR(written_[0], 9.62f, 1e-4);
  EXPECT_NEAR(written_[1], written_[0] + 0.02f - 0.4f, 1e-4);
}

TEST_F(attenuator, that_loses_writes_is_asked_again_at_growing_pauses) {
  run(100s, -2.0f, [](float) { return 10.0f; });
  EXPECT_LE(written_.size(), 6u);
  EXPECT_GE(written_.size(), 4u);
  for (const float each : written_)
    EXPECT_EQ(each, 8.0f) << "from where it stands";
  written_.clear();
  run(11min, -2.0f, [](float asked) { return asked; });
  EXPECT_FALSE(written_.empty()) << "it has come back";
  written_.clear();
  run(10s, 2.0f, [at = shown_](float) { return at; });
  EXPECT_EQ(written_.size(), 3u) << "the pauses are short again";
}

TEST_F(attenuator, at_its_end_is_asked_for_the_end_once) {
  bool high = false;
  asked_ = 24.98f;
  run(1h, 0.5f, [&](float asked) {
    high = !high;
    return std::min(asked, 25.0f) + (high ? 0.02f : -0.02f);
  });
  EXPECT_EQ(written_, std::vector<float>{25.0f});
  written_.clear();
  run(2s, -0.5f, [](float asked) { return asked; });
  EXPECT_FALSE(written_.empty()) << "the way back is open";
}

TEST_F(attenuator, with_a_shorter_range_than_told_is_asked_for_the_end_a_few_times_an_hour) {
  run(1h, 1.5f, [](float asked) { return std::min(asked, 24.0f); });
  const auto at_end = std::count(written_.begin(), written_.end(), 25.0f);
  EXPECT_LE(at_end, 15);
  EXPECT_GE(at_end, 5) << "it may have been lost on its way";
}

TEST(line_opening, takes_no_loss_of_dark_ends_and_no_attenuation_that_cannot_be) {
  EXPECT_TRUE(guards::is_opening_loss(0.0f, 17.0f));
  EXPECT_TRUE(guards::is_opening_loss(0.0f, 38.0f));
  EXPECT_TRUE(guards::is_opening_loss(0.0f, -1.0f)) << "two nodes on one desk, and their taps";
  EXPECT_FALSE(guards::is_opening_loss(0.0f, -1.1f));
  EXPECT_FALSE(guards::is_opening_loss(-99.0f, -80.0f));
  EXPECT_FALSE(guards::is_opening_loss(-40.0f, 0.0f)) << "optics out of service";
  EXPECT_FALSE(guards::is_opening_loss(0.0f, 94.0f)) << "the far end is in the dark";
  EXPECT_FALSE(guards::is_opening_loss(0.0f, std::numeric_limits<float>::quiet_NaN()));

  EXPECT_TRUE(guards::is_within(0.0f, 0.0f, 25.0f));
  EXPECT_TRUE(guards::is_within(25.0f, 0.0f, 25.0f));
  for (const float no : {-0.1f, 25.1f, std::numeric_limits<float>::quiet_NaN(),
                         std::numeric_limits<float>::infinity()})
    EXPECT_FALSE(guards::is_within(no, 0.0f, 25.0f)) << no;
}

TEST(line_span, is_known_by_two_powers_of_light) {
  EXPECT_EQ(guards::span_between(4.0f, -13.0f), 17.0f);
  EXPECT_EQ(guards::span_between(4.0f, 4.5f), 0.0f) << "the taps are off against each other";
  EXPECT_EQ(guards::span_between(4.0f, 8.0f), std::nullopt) << "they do not belong together";
  EXPECT_EQ(guards::span_between(4.0f, std::nullopt), std::nullopt);
  EXPECT_EQ(guards::span_between(std::nullopt, -13.0f), std::nullopt);
  for (const float no : {-99.0f, -95.99f, -999.0f, 60.0f, 1e30f})
    EXPECT_EQ(guards::lit_power(no), std::nullopt) << no;
  EXPECT_EQ(guards::lit_power(-40.0f), -40.0f);
}

TEST(line_news, are_powers_that_differ_and_channels_that_come_or_go) {
  using manager::loops::take_news;
  using powers = std::vector<std::optional<float>>;
  powers last;
  EXPECT_FALSE(take_news({}, last)) << "no channel";
  EXPECT_TRUE(take_news({1.0f, 2.0f}, last));
  EXPECT_FALSE(take_news({1.0f, 2.0f}, last));
  EXPECT_FALSE(take_news({1.0f, std::nullopt}, last)) << "to know less is nothing new";
  EXPECT_FALSE(take_news({1.0f, 2.0f}, last)) << "and it was not forgotten";
  EXPECT_TRUE(take_news({1.0f, 2.5f}, last));
  EXPECT_TRUE(take_news({1.0f}, last));
}

}  // namespace
