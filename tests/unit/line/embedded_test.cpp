// The regulator for an in-line amplifier: collecting, first setting, watching.
#include <gtest/gtest.h>

#include "tests/support/log_capture.h"
#include "tests/unit/line/line_bench.h"

namespace {

using namespace std::chrono_literals;
using test::journal;

class embedded_line : public testing::Test, protected test::line_bench {
 protected:
  embedded_line() {
    peer.fill("TARN-ONE");
    peer.set("data/spanloss/section", "na");
    set_spans(16, 17);
    peer.set("data/neighbour/edfa/minGain", 25.0f);
  }

  /// As the peer names them: its tx arrives here.
  void set_spans(float tx, float rx) {
    peer.set("data/spanloss/ots/tx", tx);
    peer.set("data/spanloss/ots/rx", rx);
    peer.set("data/spanloss/oms/tx", tx + 1);
    peer.set("data/spanloss/oms/rx", rx + 1);
  }
  void begin() {
    start_on_open_fibre();
    meet_peer();
    cycles(11);
  }
};

// Span 17: target 17 + 5 - 25, VOA 20 - 15.05 + 3 - 1 - 0.25 - 0.3; gain 2 * -0.5 + 16 + 1.
const journal first_setting{"voa 6.40", "preamp gain 16.00"};

TEST_F(embedded_line, sets_both_sides_from_the_fifth_of_consecutive_samples) {
  const test::log_capture log;
  begin();
  cycles(3);
  EXPECT_EQ(done(), journal{});
  cycle();
  EXPECT_EQ(done(), first_setting);
  EXPECT_TRUE(
      log.contains("Have set preamp gain: 16, calibration: -0.5, voa_il: 1, "
                   "used_span_loss: 16"));
  EXPECT_TRUE(log.contains("Current spanloss RX: not set"))
      << "the VOA comes first, when the other span is not used yet";
  cycles(200);
  EXPECT_EQ(done(), journal{});
  EXPECT_EQ(shown("interface/line/1/remote/spanloss/ots/rx"), "17");
}

TEST_F(embedded_line, tells_a_peer_that_no_longer_answers) {
  begin();
  cycles(30);
  EXPECT_EQ(shown("insight/line/state"), "\"peer's readings stand still\"");
  peer.set("data/line/1/tx/power", 3.21f);
  cycles(11);
  EXPECT_EQ(shown("insight/line/state"), "\"at rest\"");
}

TEST_F(embedded_line, follows_a_span_that_has_moved_and_is_steady) {
  begin();
  cycles(4);
  done();
  set_spans(16, 17.5f);
  cycles(100);
  EXPECT_EQ(done(), journal{}) << "0.5 dB is not above the limit";
  set_spans(16, 18);
  cycles(4 * 11);
  EXPECT_EQ(done(), journal{}) << "four samples of five";
  cycles(11);
  EXPECT_EQ(done(), journal{"voa 5.40"});
  set_spans(18, 18);
  cycles(6 * 11);
  EXPECT_EQ(done(), journal{"preamp gain 18.00"});
}

TEST_F(embedded_line, collects_anew_after_readings_that_cannot_be) {
  const test::log_capture log;
  begin();
  cycles(4);
  done();
  set_spans(16, -1.01f);
  peer.set("data/spanloss/oms/rx", 18.0f);
  cycles(20);
  EXPECT_TRUE(log.contains("Failed to read spanloss values, skipping regulation"));
  set_spans(-1.0f, 17);
  peer.set("data/spanloss/oms/tx", 17.0f);
  cycles(4);
  EXPECT_EQ(done(), journal{});
  cycle();
  EXPECT_EQ(done(), (journal{"voa 6.40", "preamp gain 15.00"})) << "not below the default gain";
}

TEST_F(embedded_line, takes_five_samples_at_once_of_a_fibre_that_was_mended) {
  begin();
  cycles(4);
  for (const bool is_cut : {true, false}) {
    set_cut(is_cut);
    cycles(3);
  }
  done();
  set_spans(20, 21);
  cycles(10);
  EXPECT_EQ(done(), (journal{"voa 2.40", "preamp gain 20.00"}));
}

TEST_F(embedded_line, takes_the_section_that_the_peer_measures_and_keeps_it) {
  peer.set("data/spanloss/section", "oms");
  begin();
  peer.set("data/spanloss/section", "na");
  cycles(4);
  EXPECT_EQ(done(), (journal{"voa 5.40", "preamp gain 17.00"}));
  peer.set("data/spanloss/section", "ots");
  cycles(6 * 11);
  EXPECT_EQ(done(), first_setting);
}

TEST_F(embedded_line, without_a_voa_sets_the_preamp_alone) {
  class without_voa : public test::orva_line {
   public:
    using test::orva_line::orva_line;
    bool is_voa_ready() override { return true; }
    void set_voa_default_attenuation() override {}
  };
  line = std::make_shared<without_voa>(plan, remote);
  line->set_osc(osc);
  line->set_sfp(sfp);
  line->set_preamp(preamp);
  line->set_booster(booster);
  line->set_leds(leds);
  begin();
  cycles(100);
  EXPECT_EQ(done(), journal{"preamp gain 15.00"});
  EXPECT_TRUE(line->is_operational());
  EXPECT_EQ(line->get_line_tx_signal_power(), 17.75f) << "nothing lost in a VOA";
}

}  // namespace
