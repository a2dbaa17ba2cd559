// The regulator for a peer with channels, cycle by cycle.
#include <gtest/gtest.h>

#include "tests/support/log_capture.h"
#include "tests/unit/line/line_bench.h"

namespace {

using test::journal;
constexpr unsigned first = 19600000;
constexpr unsigned second = 19610000;

class regulated_line : public test::line_with_channels {
 protected:
  regulated_line() { logger::instance().level = 0; }
  ~regulated_line() override { logger::instance().level = 2; }

  /// The line has so many cycles while the peer is away.
  void reconnect(int cycles_without) {
    network.detach(test::peer_tree::address);
    network.deliver();
    for (int i = 0; i < cycles_without; ++i) {
      remote->run(own, osc, plan);
      cycle();
    }
    network.attach(test::peer_tree::address, peer.db);
    for (int i = 0; i < 4; ++i) {
      remote->run(own, osc, plan);
      network.deliver();
    }
    done();
  }
};

TEST_F(regulated_line, steps_after_five_agreeing_errors_and_waits_for_five_more) {
  meet("ORVA-LITE", {first});
  peer.set("data/client/tx/edfaCalibration", 20.0f);
  // 20 - 17 is 2 dB too weak; the first cycle only takes the channel up.
  cycles_with(5, first, -17);
  EXPECT_EQ(done(), journal{});
  cycle_with(first, -17);
  EXPECT_EQ(done(), journal{"voa 9.60"});
  cycles_with(4, first, -16.6f);
  EXPECT_EQ(done(), journal{});
  cycle_with(first, -16.6f);
  EXPECT_EQ(done(), journal{"voa 9.28"}) << "a fifth of the error that is left";
  cycles_with(20, first, -15.2f);
  EXPECT_EQ(done(), journal{}) << "a step of 0.04 dB is not worth it";
}

TEST_F(regulated_line, stands_still_while_the_peer_shows_nothing_new) {
  meet("ORVA-LITE", {first});
  cycles_with(5, first, 3);
  const test::log_capture log;
  cycles(50);
  EXPECT_EQ(done(), journal{});
  EXPECT_TRUE(log.contains("Remote power values unchanged, skipping regulation"));
  EXPECT_TRUE(log.contains("lms optimization unavailable"));
  cycle_with(first, 3);
  EXPECT_EQ(done(), journal{"voa 9.60"}) << "the errors from before the pause still count";
}

TEST_F(regulated_line, leaves_out_channels_that_are_off_target_or_have_just_changed) {
  meet("ORVA-LITE", {first, second});
  (*plan->get_channels())[second]->set_on_target(false);
  read_at_peer(second, -30);
  cycles_with(6, first, 3);
  EXPECT_EQ(done(), journal{"voa 9.60"}) << "the error of the first channel alone";

  const test::log_capture log;
  cycles_with(3, first, 3);
  peer.set("data/client/19600000/tx/peak", false);
  cycles_with(2, first, 3.4f);
  EXPECT_EQ(done(), journal{}) << "an error of 0 stands among the last five";
  EXPECT_TRUE(log.contains("Channel 19600000 peak state changed to false, clearing power history"));
  cycles_with(4, first, 3.4f);
  EXPECT_EQ(done(), journal{"voa 9.28"}) << "the readings of before count no more";
}

TEST_F(regulated_line, backs_out_of_saturation_without_touching_the_errors) {
  meet("ORVA-LITE", {first});
  cycles_with(5, first, 3);
  for (const auto& [saturation, action] :
       {std::pair{0.2f, "voa 10.20"}, {1.0f, "voa 10.70"}, {3.0f, "voa 11.70"}}) {
    peer.set("data/client/tx/edfaSaturation", saturation);
    cycle_with(first, 3, false);
    EXPECT_EQ(done(), journal{});
    cycle();
    EXPECT_EQ(done(), journal{action}) << saturation;
  }
  peer.set("data/client/tx/edfaSaturation", 0.19f);
  cycle_with(first, 3);
  EXPECT_EQ(done(), journal{}) << "each step has cleared the errors";
}

TEST_F(regulated_line, ends_at_the_limits_of_the_voa) {
  const test::log_capture log;
  meet("ORVA-LITE", {first});
  peer.set("data/client/tx/edfaSaturation", 3.0f);
  voa->attenuation = 24.9f;
  cycle();
  cycle();
  EXPECT_EQ(done(), journal{"voa 25.00"});
  EXPECT_TRUE(log.contains("VOA is exhausted, not much to do"));

  peer.set("data/client/tx/edfaSaturation", 0.0f);
  voa->attenuation = 0.2f;
  cycles_with(20, first, 0);
  EXPECT_EQ(done(), journal{"voa 0.00"});
}

TEST_F(regulated_line, goes_by_the_channels_that_the_peer_knows) {
  meet("ORVA-LITE", {first});
  plan->add_channel(second, 5000, 1, "1");
  cycles_with(6, first, 3);
  EXPECT_EQ(done(), journal{"voa 9.60"}) << "the peer has no second channel";
}

TEST_F(regulated_line, steps_by_the_channels_that_still_move_at_the_peer) {
  meet("ORVA-LITE", {first, second});
  read_at_peer(second, -5);
  cycles_with(6, first, 3);
  EXPECT_EQ(done(), journal{"voa 8.80"}) << "by 2 and 10 dB";
  read_at_peer(second, -5);
  cycles_with(5, first, 3.4f);
  EXPECT_EQ(done(), journal{"voa 8.48"}) << "the second has not been told since it has settled";
}

TEST_F(regulated_line, counts_no_error_of_before_a_cut) {
  meet("ORVA-LITE", {first});
  voa->attenuation = 5.0f;  // where a cut leaves it
  cycles_with(5, first, 3);
  for (const bool is_cut : {true, false}) {
    set_cut(is_cut);
    cycles_with(2, first, 3);
  }
  done();
  cycles_with(4, first, 3);
  EXPECT_EQ(done(), journal{});
  cycle_with(first, 3);
  EXPECT_EQ(done(), journal{"voa 4.60"});
}

TEST_F(regulated_line, does_not_mix_readings_of_two_connections) {
  meet("ORVA-LITE", {first});
  cycle_with(first, 3);
  for (const auto& [cycles_without, action] : {std::pair{3, "voa 9.60"}, {0, "voa 9.20"}}) {
    cycles_with(4, first, 3);
    reconnect(cycles_without);
    cycles_with(4, first, 3);
    EXPECT_EQ(done(), journal{});
    cycle_with(first, 3);
    EXPECT_EQ(done(), journal{action});
  }
}

TEST_F(regulated_line, tries_anew_with_a_new_peer_what_has_not_moved_the_former) {
  meet("ORVA-LITE", {first});
  const auto stay_saturated = [this] {
    for (int i = 0; i < 40; ++i) {
      peer.set("data/client/tx/edfaSaturation", 3.0f + 0.01f * static_cast<float>(i % 2));
      cycle_with(first, 3);
    }
    return done().size();
  };
  EXPECT_EQ(stay_saturated(), 3u);
  EXPECT_EQ(stay_saturated(), 0u);
  reconnect(0);
  EXPECT_EQ(stay_saturated(), 3u);
}

TEST_F(regulated_line, takes_no_step_on_a_reading_from_before_the_link_was_back) {
  meet("ORVA-LITE", {first});
  cycles_with(10, first, 3);
  EXPECT_EQ(done(), journal{"voa 9.60"});
  osc->operational = false;
  cycle_with(first, 3);
  osc->operational = true;
  cycle();
  EXPECT_EQ(done(), journal{});
}

TEST_F(regulated_line, gives_the_far_preamp_no_more_light_while_its_saturation_is_not_known) {
  meet("ORVA-LITE", {first});
  peer.set("data/client/tx/edfaSaturation", 3.0f);
  cycle();
  EXPECT_EQ(done(), journal{"voa 11.00"});
  peer.set("data/client/tx/edfaSaturation", 500.0f);
  cycles_with(20, first, 3);
  EXPECT_EQ(done(), journal{}) << "it was saturated when last heard of";
  peer.set("data/client/tx/edfaSaturation", 0.0f);
  cycle();
  peer.set("data/client/tx/edfaSaturation", -999.0f);
  cycles_with(20, first, 3);
  EXPECT_EQ(done(), journal{});
  cycles_with(12, first, 20);
  EXPECT_EQ(done().size(), 1u) << "less light harms nobody";
  peer.set("data/client/tx/edfaSaturation", 0.0f);
  cycles_with(12, first, 3);
  EXPECT_EQ(done().size(), 1u);
}

}  // namespace
