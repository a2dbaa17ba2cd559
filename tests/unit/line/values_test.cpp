// The line's values as clients see them.
#include <gtest/gtest.h>
#include "tests/unit/line/line_bench.h"

namespace {

using namespace std::chrono_literals;

class line_values : public testing::Test, protected test::line_bench {
 protected:
  line_values() {
    start();
    peer.fill("ORVA-LITE");
  }
  void poll() { poller->advance(15s); }
  void expect_shown(const std::map<std::string, std::string>& values) {
    poll();
    for (const auto& [path, value] : values)
      EXPECT_EQ(shown(path), value) << path;
  }
};

TEST_F(line_values, name_both_ends_of_the_fibre_crossed) {
  peer.set("interface/line/1/data/osc/tx/interfaceName", "peer-tx");
  peer.set("interface/line/1/data/osc/rx/interfaceName", "peer-rx");
  peer.set("data/line/1/rx/totalPower", 30.0f);
  meet_peer();
  expect_shown({
      {"interface/line/1/data/osc/rx/interfaceName", "\"if-1/line-rx\""},
      {"interface/line/1/data/osc/rx/remoteInterfaceName", "\"peer-tx\""},
      {"interface/line/1/data/osc/tx/remoteInterfaceName", "\"peer-rx\""},
      {"data/line/1/tx/loss", "0"},  // more than was sent cannot have arrived
      {"data/line/1/attenuation", "0"},
      {"data/line/1/tx/status", "\"up\""},
      {"config/line/1/tx/voaPresetSettings", "\"{\\\"mode\\\":\\\"auto\\\"}\""},
      {"data/line/lmsError", "! -61 Value has not been set"},
      {"interface/line/1/remote/spanloss/section", "\"na\""},
  });
  EXPECT_EQ(own.find("interface/line/1/data/osc/loss")->poll_interval, 1u);
}

TEST_F(line_values, without_a_peer_or_an_sfp_stay_defined) {
  sfp->operational = false;
  expect_shown({
      {"data/line/1/rx/osc/power", "-99"},
      {"data/line/1/rx/totalPower", "-9.5"},
      {"data/line/1/remoteHostname", "\"n/a\""},
      {"data/line/1/rx/remoteTxPower", "0"},
      {"data/line/1/rx/loss", "9.5"},
  });
}

TEST_F(line_values, of_a_total_power_that_cannot_be_read_are_darkness_not_an_error) {
  preamp->failing = true;
  poll();
  EXPECT_EQ(shown("data/line/1/rx/power"), "! -1 Unknown error!");
  EXPECT_NEAR(line->get_line_rx_total_power(), -95.99f, 0.01f);
}

}  // namespace
