// The line's report on itself while things happen to it: the state, and the figures in the
// sentence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/insight/event_log.h"
#include "helpers/guard_register.h"
#include "tests/unit/line/line_bench.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned channel = 19600000;

class explained_line : public test::line_with_channels {
 protected:
  ~explained_line() override {
    helpers::guard_register::instance().reset();
    insight::event_log::instance().reset();
  }

  std::string state() { return shown("insight/line/state"); }
  std::string why() { return shown("insight/line/why"); }
  std::string told() { return state() + " " + why(); }
};

TEST_F(explained_line, by_the_phases_of_its_regulator) {
  meet("ORVA-LITE", {channel});
  cycle_with(channel, 3);
  EXPECT_THAT(told(),
              AllOf(StartsWith("\"waiting for readings\""), HasSubstr("no channel counts")));
  cycles_with(3, channel, 3);
  EXPECT_THAT(told(), AllOf(StartsWith("\"waiting for readings\""), HasSubstr("4 of 5 new")));
  cycle_with(channel, 3);
  EXPECT_THAT(state(), "\"not steady\"") << "the first look counted no channel";
  cycle_with(channel, 3, false);
  EXPECT_THAT(told(), AllOf(StartsWith("\"client rx has the turn\""), HasSubstr("by -0.40 dB")));
  cycle_with(channel, 3);
  EXPECT_THAT(told(), AllOf(StartsWith("\"stepping\""), HasSubstr("from 10.0 to 9.6 dB")));
  cycle_with(channel, 3);
  EXPECT_EQ(shown("insight/line/headroomUp"), "9.6");
  EXPECT_EQ(shown("insight/line/headroomDown"), "15.4");
  EXPECT_EQ(shown("insight/line/steps"), "1");
  EXPECT_EQ(shown("insight/line/stepsLastHour"), "1");
  for (int i = 0; i < 6; ++i)
    cycle_with(channel, i % 2 == 0 ? 3 : 4);
  EXPECT_THAT(told(), StartsWith("\"not steady\""));
  cycles_with(12, channel, 5.2f);
  EXPECT_THAT(told(),
              AllOf(StartsWith("\"at rest\""), HasSubstr("+0.20 dB from their target of 5.0")));
  cycle();
  EXPECT_THAT(state(), "\"at rest\"") << "nothing new is no other state for a while";
  voa->attenuation = 0;
  cycles_with(12, channel, 0);
  EXPECT_THAT(told(), AllOf(StartsWith("\"exhausted\""), HasSubstr("fully open at 0.0 dB"),
                            HasSubstr("needs -1.00 dB")));
}

TEST_F(explained_line, by_what_the_far_end_tells_or_does_not) {
  meet("ORVA-LITE", {channel});
  cycles_with(5, channel, 5);
  peer.set("data/client/tx/edfaSaturation", 1.0f);
  cycle_with(channel, 5);
  EXPECT_THAT(told(), AllOf(StartsWith("\"far preamp saturated\""), HasSubstr("lacks 1.0 dB"),
                            HasSubstr("from 10.0 to 10.5")));
  cycle();
  EXPECT_THAT(told(),
              AllOf(StartsWith("\"far preamp saturated\""), HasSubstr("waiting for the effect")));
  cycles(10);
  EXPECT_THAT(told(), AllOf(StartsWith("\"peer's readings stand still\""),
                            HasSubstr("(guard line-fresh)")));
  peer.set("data/client/tx/edfaSaturation", 0.0f);
  cycle();
  helpers::waiting::instance().sleep(std::chrono::milliseconds(14500));
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"peer's readings stand still\""), HasSubstr("for 15 s")));
  network.detach(test::peer_tree::address);
  network.deliver();
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"no peer\""), HasSubstr("(ORVA-LITE) is lost")));
}

TEST_F(explained_line, by_a_peer_of_a_family_that_does_not_tell_its_calibration) {
  meet("SELKA-PLUS", {channel});
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"not regulated on this model\""), HasSubstr("SELKA-PLUS"),
                            HasSubstr("the VOA stays at")));
}

TEST_F(explained_line, by_what_has_become_of_the_fibre) {
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"no peer\""), HasSubstr("nobody answers")));
  set_cut(true);
  cycle();
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"no fibre\""), HasSubstr("Mend the fibre")));
  preamp->los = false;
  cycle();
  EXPECT_THAT(told(), HasSubstr("have just been switched on"));
  cycle();
  EXPECT_THAT(state(), "\"no supervisory link\"");
  osc->operational = true;
  cycles(3);
  EXPECT_THAT(told(),
              AllOf(StartsWith("\"no peer\""), HasSubstr("opened at the board's preset of")));
  meet("LAMP", {channel});
  cycle();
  EXPECT_THAT(told(), AllOf(StartsWith("\"peer not known\""), HasSubstr("calls itself LAMP")));
  helpers::waiting::instance().sleep(std::chrono::seconds(15));
  cycle();
  EXPECT_THAT(state(), "\"peer's readings stand still\"") << "it no longer answers";
  preamp->failing = true;
  cycle();
  EXPECT_THAT(state(), "\"device failed\"");
}

}  // namespace
