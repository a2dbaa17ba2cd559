// The guards on a channel's steps, as rows of what a cycle sees: when the next step may be taken.
#include "base/guards/channel_step.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace std::chrono_literals;
using guards::channel_view;
using guards::wait_for;

constexpr guards::time_point start{1h};

guards::time_point at(double seconds) {
  return start + std::chrono::duration_cast<std::chrono::nanoseconds>(
                     std::chrono::duration<double>(seconds));
}

channel_view view(double now, float attenuation, double attenuation_at, float power,
                  double power_at) {
  return {.now = at(now),
          .attenuation = attenuation,
          .attenuation_at = at(attenuation_at),
          .power = power,
          .power_at = at(power_at),
          .saturated_at = {}};
}

/// A step from 15 to 10 dB at second 0, answering a reading of -20 dBm.
class step_of_five_db : public testing::Test {
 protected:
  step_of_five_db() { step.made(15.0f, 10.0f, view(0, 15.0f, -9, -20.0f, -1)); }

  wait_for after(const channel_view& seen) {
    step.look(seen);
    return step.waits_for(seen);
  }

  guards::last_step step;
};

TEST_F(step_of_five_db, wants_a_reading_from_after_the_switch_has_moved) {
  EXPECT_EQ(after(view(0.5, 15.0f, -9, -17.5f, 0.3)), wait_for::switch_to_move)
      << "a pass while the switch moves is no evidence";
  EXPECT_EQ(after(view(1.0, 10.0f, 0.6, -17.5f, 0.6)), wait_for::new_reading);
  EXPECT_EQ(after(view(1.5, 10.0f, 0.6, -15.1f, 1.3)), wait_for::none);
}

TEST_F(step_of_five_db, does_not_take_noise_on_the_old_light_for_its_effect) {
  EXPECT_EQ(after(view(1.5, 10.0f, 0.6, -19.95f, 1.3)), wait_for::effect);
  EXPECT_EQ(after(view(29.0, 10.0f, 0.6, -20.04f, 28.3)), wait_for::effect);
  EXPECT_EQ(after(view(31.0, 10.0f, 0.6, -20.04f, 30.3)), wait_for::none) << "not for ever";
}

TEST_F(step_of_five_db, is_settled_once_its_effect_was_seen) {
  EXPECT_EQ(after(view(1.5, 10.0f, 0.6, -15.1f, 1.3)), wait_for::none);
  EXPECT_EQ(after(view(9.5, 10.0f, 0.6, -19.9f, 9.3)), wait_for::none) << "the client fell by 5 dB";
  step.made(10.0f, 10.2f, view(9.5, 10.0f, 0.6, -19.9f, 9.3));
  EXPECT_EQ(after(view(14.5, 10.0f, 0.6, -19.9f, 14.3)), wait_for::none)
      << "after one that moved the next has no more patience than the first";
}

TEST_F(step_of_five_db, is_not_missed_where_saturation_hides_it) {
  auto hidden = view(1.5, 10.0f, 0.6, -19.95f, 1.3);
  hidden.saturated_at = at(0.5);
  EXPECT_EQ(after(hidden), wait_for::none);
}

TEST_F(step_of_five_db, is_judged_anew_when_it_was_lost) {
  const auto lost = view(5.0, 15.0f, -9, -20.02f, 4.3);
  EXPECT_EQ(after(view(4.9, 15.0f, -9, -20.0f, 4.3)), wait_for::switch_to_move);
  EXPECT_EQ(after(lost), wait_for::none);
  EXPECT_TRUE(step.has_expired(lost));
  EXPECT_EQ(step.standing_attenuation(lost), 15.0f) << "neither read-back nor light have moved";
  EXPECT_FALSE(step.is_futile(lost, 10.0f));

  step.made(15.0f, 10.0f, lost);
  EXPECT_EQ(after(view(14.0, 15.0f, -9, -20.0f, 13.3)), wait_for::switch_to_move)
      << "the next try has twice the patience";
  EXPECT_EQ(after(view(15.0, 15.0f, -9, -20.0f, 13.3)), wait_for::none);
  step.made(15.0f, 12.0f, view(15.0, 15.0f, -9, -20.0f, 13.3));
  EXPECT_EQ(after(view(20.0, 15.0f, -9, -20.0f, 19.3)), wait_for::none) << "to another target";
}

TEST_F(step_of_five_db, stands_at_its_target_when_the_light_followed_and_the_read_back_did_not) {
  const auto followed = view(5.0, 15.0f, -9, -15.1f, 4.3);
  EXPECT_EQ(after(followed), wait_for::none);
  EXPECT_EQ(step.standing_attenuation(followed), 10.0f);
  const auto disturbed = view(9.0, 15.0f, -9, -12.1f, 8.3);
  EXPECT_EQ(after(disturbed), wait_for::none);
  EXPECT_EQ(step.standing_attenuation(disturbed), 10.0f) << "what it was told is what it stands at";
  step.made(10.0f, 9.7f, disturbed);
  EXPECT_EQ(step.standing_attenuation(disturbed), 10.0f);
}

TEST_F(step_of_five_db, takes_a_read_back_that_rests_elsewhere_for_the_switch_s_answer) {
  EXPECT_EQ(after(view(0.5, 11.0f, 0.4, -16.0f, 0.3)), wait_for::switch_to_move);
  EXPECT_EQ(after(view(1.0, 11.0f, 0.4, -16.1f, 0.9)), wait_for::switch_to_move);
  EXPECT_EQ(after(view(1.5, 11.0f, 0.4, -16.1f, 0.9)), wait_for::none);
}

TEST(small_step, that_a_coarse_switch_does_not_resolve_is_not_written_for_ever) {
  guards::last_step step;
  step.made(8.5f, 8.3f, view(0, 8.5f, -9, -15.0f, -1));
  EXPECT_FALSE(step.is_futile(view(5, 8.5f, -9, -15.0f, 4), 8.28f)) << "it may have been lost";
  step.made(8.5f, 8.28f, view(5, 8.5f, -9, -15.0f, 4));
  EXPECT_TRUE(step.is_futile(view(15, 8.5f, -9, -15.0f, 14), 8.3f));
  EXPECT_FALSE(step.is_futile(view(15, 8.5f, -9, -15.0f, 14), 7.9f)) << "another one is tried";
}

TEST(step_to_the_end, is_not_repeated_for_a_read_back_that_trembles) {
  guards::last_step step;
  step.made(2.0f, 0.0f, view(0, 2.0f, -9, -18.0f, -1));
  const auto trembling = view(3, 0.02f, 2.5, -16.0f, 2.8);
  step.look(trembling);
  EXPECT_TRUE(step.is_futile(trembling, 0.0f));
  EXPECT_FALSE(step.is_futile(view(3, 1.0f, 2.5, -16.0f, 2.8), 0.0f)) << "it is not there yet";
}

TEST(live_reading, has_changed_since_its_subscription_or_stood_for_half_a_minute) {
  guards::live_reading reading;
  reading.look(0, 0, start);
  EXPECT_FALSE(reading.is_live(at(60))) << "of an earlier subscription";
  reading.look(1, 0, at(60));
  EXPECT_FALSE(reading.is_live(at(81)));
  EXPECT_TRUE(reading.is_live(at(82)));
  reading.look(2, 1, at(91));
  EXPECT_TRUE(reading.is_live(at(91)));
  reading.look(1, 0, at(100));
  EXPECT_FALSE(reading.is_live(at(100))) << "subscribed anew";
}

TEST(blind_monitor, is_one_that_tells_of_no_light_that_the_amplifier_sees) {
  guards::blind_monitor monitor;
  monitor.look(false, false, false, at(0));
  EXPECT_FALSE(monitor.may_be_blind(at(0))) << "a dark band";
  monitor.look(false, false, true, at(1));
  EXPECT_TRUE(monitor.may_be_blind(at(4.5))) << "its first pass may be to come";
  EXPECT_FALSE(monitor.may_be_blind(at(5)));
  monitor.look(true, false, true, at(7));
  EXPECT_FALSE(monitor.may_be_blind(at(7))) << "it has measured some light";
  monitor.look(false, false, true, at(8));
  EXPECT_TRUE(monitor.may_be_blind(at(9)));
  monitor.look(false, true, true, at(10));
  EXPECT_FALSE(monitor.may_be_blind(at(10)));
}

TEST(rising_light, holds_a_step_that_leaves_less_than_the_last_pass_rose) {
  struct row {
    double second;
    float power;
    float left_over;
    bool held;
  };
  guards::rising_light light;
  light.look(false, view(0, 15, 0, -45.0f, 0));
  for (const auto& each : std::vector<row>{{1, -10.0f, 3.0f, true},    // the first reading
                                           {2, -3.0f, 2.5f, true},     // 7 dB up
                                           {3, -1.2f, 2.0f, false},    // 1.8 dB up
                                           {4, -0.2f, 0.1f, true},     // 1 dB up
                                           {5, -0.15f, 0.1f, false},   // steady
                                           {6, 2.0f, 0.1f, false}}) {  // a jump, not the ramp
    const auto seen = view(each.second + 0.2, 15, 0, each.power, each.second);
    light.look(true, seen);
    EXPECT_EQ(light.may_overtake(seen, each.left_over), each.held) << each.second;
  }
}

TEST(rising_light, of_a_monitor_without_noise_or_one_that_flickers_waits_not_for_ever) {
  guards::rising_light light;
  light.look(false, view(0, 15, 0, -45.0f, 0));
  light.look(true, view(1.2, 15, 0, -3.0f, 1));
  EXPECT_TRUE(light.may_overtake(view(3.1, 15, 0, -3.0f, 1), 0.5f));
  EXPECT_FALSE(light.may_overtake(view(3.3, 15, 0, -3.0f, 1), 0.5f));
  float power = -3.0f;
  for (int second = 4; second < 31; ++second) {
    power += 1.0f;
    light.look(true, view(second + 0.2, 15, 0, power, second));
    EXPECT_TRUE(light.may_overtake(view(second + 0.2, 15, 0, power, second), 0.5f)) << second;
  }
  EXPECT_FALSE(light.may_overtake(view(31.3, 15, 0, power, 31), 0.5f));
}

TEST(amplifier_saturation, forbids_opening_until_the_monitor_has_seen_its_end) {
  guards::amplifier_saturation amplifier;
  amplifier.look(0.9f, start);
  EXPECT_FALSE(amplifier.forbids_opening(at(0)));
  EXPECT_EQ(amplifier.last_seen(), start) << "it may hide a step all the same";
  amplifier.look(2.8f, at(1));
  EXPECT_TRUE(amplifier.forbids_opening(at(1)));
  amplifier.look(3.1f, at(50));
  EXPECT_EQ(amplifier.lasting(at(61)), 60s);
  amplifier.look(0.0f, at(61));
  EXPECT_TRUE(amplifier.forbids_opening(at(61.9))) << "told now, measured in saturated light";
  EXPECT_FALSE(amplifier.forbids_opening(at(62.1)));
}

}  // namespace
