// The states of the fibre: one cycle in each, and a coldstart, a cut and a mended fibre from
// beginning to end.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/board_spec/board_spec_lib.h"
#include "tests/support/log_capture.h"
#include "tests/unit/line/line_bench.h"

namespace {

using namespace std::chrono_literals;
using test::journal;

class fibre : public testing::Test, protected test::line_bench {
 protected:
  fibre() {
    board_spec_lib::instance().load("");
    start();
  }
  /// Of an orva peer that is far away enough to open at 4 dB.
  void set_opening_of_4_db() {
    peer.set("data/preamp/plim", 21.0f);
    peer.set("data/preamp/gain", 27.0f);
    peer.set("interface/line/1/data/osc/rx/power", -23.0f);
  }

  float peer_power = 8.0f;
};

TEST_F(fibre, nothing_happens_while_the_voa_is_not_up) {
  voa->operational = false;
  set_cut(true);
  cycle(true, true);
  EXPECT_EQ(done(), journal{});
  EXPECT_EQ(clock->elapsed(), 500ms) << "no coldstart pause";
  EXPECT_EQ(own.find("alarms/line/1/rx/lossOfSignal/severity"), nullptr);
  EXPECT_TRUE(line->is_operational());
}

TEST_F(fibre, a_coldstart_opens_once_and_leaves_the_amplifiers_to_the_next_cycle) {
  preamp->enabled = booster->enabled = false;
  osc->operational = false;
  cycle(true, true);
  EXPECT_EQ(done(), journal{"voa 5.00"}) << "the preset of the board: there is no link";
  EXPECT_EQ(clock->elapsed(), 5500ms);
  osc->operational = true;
  cycle(true, true);
  EXPECT_EQ(done(), (journal{"preamp on", "booster on", "led tx on"}));
  cycle(true, true);
  EXPECT_EQ(done(), journal{});
}

TEST_F(fibre, a_cut_leaves_an_attenuator_that_stands_at_its_preset_within_a_fifth_of_a_db) {
  for (const auto& [stands_at, written] :
       {std::pair{5.19f, false}, {4.81f, false}, {5.21f, true}}) {
    set_cut(true);
    voa->attenuation = stands_at;
    cycle(true);
    EXPECT_EQ(std::ranges::count(done(), "voa 5.00"), written ? 1 : 0) << stands_at;
    set_cut(false);
    cycles(3, true);
    done();
  }
}

TEST_F(fibre, a_coldstart_is_done_when_the_voa_shows_its_setting) {
  preamp->enabled = booster->enabled = false;
  voa->takes_writes = false;
  cycles(12, true, true);
  EXPECT_EQ(done(), (journal{"voa 5.00", "voa 5.00"})) << "again after three seconds";
  EXPECT_EQ(shown("alarms/line/1/rx/lossOfSignal/severity"), "0") << "alarms do not wait for it";
  voa->takes_writes = true;
  cycles(16, true, true);
  EXPECT_EQ(done(), (journal{"voa 5.00", "preamp on", "booster on", "led tx on"}));
  EXPECT_LE(clock->elapsed(), 20s) << "the pause comes once";
}

TEST_F(fibre, a_coldstart_does_not_wait_for_ever) {
  preamp->enabled = booster->enabled = false;
  voa->takes_writes = false;
  cycles(100, true, true);
  EXPECT_TRUE(preamp->enabled);
  done();
  voa->takes_writes = true;
  cycles(130, true, true);
  EXPECT_EQ(voa->attenuation, 5.0f) << "made up for";
}

TEST_F(fibre, cut_and_mended) {
  peer.fill("ORVA-LITE");
  set_opening_of_4_db();
  meet_peer();
  cycle();
  EXPECT_EQ(done(), journal{"led tx on"}) << "the light was on before the daemon was";
  set_cut(true);
  cycle();
  EXPECT_EQ(done(), (journal{"preamp off", "voa 5.00", "booster off", "led tx off"}));
  cycle();
  cycle();
  EXPECT_EQ(done(), journal{}) << "once a loss";

  set_cut(false);
  cycle();
  EXPECT_EQ(done(), (journal{"preamp on", "booster on", "led tx on"}));
  cycle();
  EXPECT_EQ(done(), journal{"led tx on"}) << "the preset stands: the peer told all that before";
  cycle();
  EXPECT_EQ(done(), journal{});
  peer.set("interface/line/1/data/osc/rx/power", -23.01f);
  cycle();
  EXPECT_EQ(done(), journal{"voa 3.99"}) << "once it has been read";
  peer.set("interface/line/1/data/osc/rx/power", -20.0f);
  cycle();
  EXPECT_EQ(done(), journal{}) << "and only once";
}

// A loss that has not changed is not told again. What else the peer tells does for it, but not
// before its slowest value, of every five seconds, has had its turn.
TEST_F(fibre, opens_by_a_constant_loss_once_the_peer_has_told_of_five_seconds_later) {
  peer.fill("ORVA-LITE");
  set_opening_of_4_db();
  meet_peer();
  set_cut(true);
  cycle();
  set_cut(false);
  const auto lost = clock->elapsed() - 500ms;
  while (clock->elapsed() < lost + 30s && voa->attenuation != 4.0f) {
    peer.set("data/line/1/tx/power", peer_power += 0.01f);
    cycle();
  }
  EXPECT_EQ(clock->elapsed() - lost, 6s)
      << "the cycle that follows the five seconds, and its pause";
}

TEST_F(fibre, is_lost_only_when_light_and_link_are_gone) {
  const std::tuple<bool, bool, bool, journal> table[] = {
      {true, true, true, {"led tx on"}},
      {true, true, false, {"preamp on", "booster on", "led tx on"}},
      {false, false, true, {"led tx on"}},
      {false, false, false, {"preamp on", "booster on", "led tx on"}},
      {true, false, true, {"preamp off", "voa 5.00", "booster off", "led tx off"}},
      {true, false, false, {"preamp off", "voa 5.00", "booster off", "led tx off"}},
  };
  for (const auto& [los, link, amplifiers, expected] : table) {
    test::line_bench bench;
    bench.start();
    bench.preamp->los = los;
    bench.osc->operational = link;
    bench.booster->enabled = amplifiers;
    bench.cycle();
    EXPECT_EQ(bench.done(), expected)
        << "los " << los << " link " << link << " amplifiers " << amplifiers;
  }
}

TEST_F(fibre, alarms_are_right_from_their_first_cycle_on) {
  sfp->operational = false;
  osc->loss_of_link = true;
  cycle();
  EXPECT_EQ(shown("alarms/line/1/rx/lossOfSignal/severity"), "0");
  EXPECT_EQ(shown("alarms/line/1/rx/osc/lossOfSignal/severity"), "1") << "absent counts as dark";
  EXPECT_EQ(shown("alarms/line/1/rx/osc/lossOfLink/severity"), "1");
  EXPECT_FALSE(leds->rx_los);
  preamp->los = true;
  osc->loss_of_link = false;
  cycle();
  EXPECT_EQ(shown("alarms/line/1/rx/lossOfSignal/severity"), "1");
  EXPECT_EQ(shown("alarms/line/1/rx/osc/lossOfLink/severity"), "0");
  EXPECT_TRUE(leds->rx_los);
}

TEST_F(fibre, each_alarm_has_its_cycle_whatever_fails) {
  cycle();
  voa->failing = true;
  osc->loss_of_link = true;
  cycle();
  EXPECT_EQ(shown("alarms/line/1/rx/osc/lossOfLink/severity"), "1") << "without a VOA";
  EXPECT_FALSE(line->is_operational());
  voa->failing = false;
  preamp->failing = true;
  sfp->los = true;
  cycle();
  EXPECT_EQ(shown("alarms/line/1/rx/osc/lossOfSignal/severity"), "1") << "without a preamp";
  EXPECT_FALSE(line->is_operational());
}

TEST_F(fibre, shows_no_span_loss_of_what_was_not_measured) {
  peer.fill("ORVA-LITE");
  peer.set("data/line/1/tx/power", 8.0f);
  peer.set("data/line/1/rx/power", -12.0f);
  meet_peer();
  cycles(60);
  ASSERT_EQ(shown("data/spanloss/oms/rx"), "17.5");
  const auto sent = shown("data/spanloss/ots/tx");
  preamp->failing = true;
  sfp->failing = true;
  peer.set("data/line/1/rx/power", -95.99f);
  poller->advance(2s);
  cycles(60);
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "17.5") << "own preamp away";
  EXPECT_EQ(shown("data/spanloss/ots/tx"), sent) << "own optics away";
  EXPECT_NE(shown("data/spanloss/oms/tx"), "100") << "the peer could not read its own";
  preamp->failing = sfp->failing = false;
  for (const char* path : {"tx/power", "rx/power", "tx/totalPower", "rx/totalPower"})
    peer.set(std::string("data/line/1/") + path, -95.99f);
  cycles(60);
  peer.set("data/line/1/tx/power", 9.0f);
  cycle();
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "18.5") << "was due all the time";
}

TEST_F(fibre, span_losses_are_taken_every_25_seconds) {
  peer.fill("ORVA-LITE");
  peer.set("data/line/1/tx/power", 8.0f);
  peer.set("data/line/1/rx/power", 30.0f);
  peer.set("data/line/1/tx/totalPower", 9.0f);
  peer.set("data/line/1/rx/totalPower", -14.0f);
  meet_peer();
  const auto start = clock->elapsed();
  while (clock->elapsed() < start + 25s)
    cycle();
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "! -61 Value has not been set");
  cycle();
  // 8 less what arrives: -10 at the preamp and 0.5 on the way from the connector to it.
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "17.5");
  EXPECT_EQ(shown("data/spanloss/oms/tx"), "0") << "more than was sent cannot have arrived";
  // The total counts the supervisory light: of -18.5 dBm beside -9.5, and of -0.75 beside 6.75.
  EXPECT_NEAR(std::stof(shown("data/spanloss/ots/rx")), 9.0f + 8.99f, 0.01f);
  EXPECT_NEAR(std::stof(shown("data/spanloss/ots/tx")), 7.46f + 14.0f, 0.01f);
  peer.set("data/line/1/tx/power", 9.0f);
  cycles(49);
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "17.5");
  cycle();
  EXPECT_EQ(shown("data/spanloss/oms/rx"), "18.5");
}

}  // namespace
