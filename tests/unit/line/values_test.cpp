// The line's values as clients see them.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"
#include "tests/unit/line/line_bench.h"

namespace test {

std::string line_bench::shown(const std::string& path) const {
  const auto node = own.find(path);
  if (!node) return "no such path";
  rapidjson::Document result(rapidjson::kObjectType);
  try {
    node->get(path, result.GetAllocator(), result);
  } catch (const nx_error& error) {
    return error.message;
  }
  return nx::json_text(result[path.c_str()]);
}

}  // namespace test

namespace {

using namespace std::chrono_literals;

class line_values : public testing::Test, protected test::line_bench {
 protected:
  line_values() {
    start();
    peer.fill_terminal("ORVA-LITE");
  }
  void poll() { poller->advance(15s); }
  void expect_shown(const std::map<std::string, std::string>& values) {
    poll();
    for (const auto& [path, value] : values)
      EXPECT_EQ(shown(path), value) << path;
  }
};

TEST_F(line_values, translate_device_readings_to_the_line_connector) {
  meet_peer();
  expect_shown({
      {"data/line/1/rx/power", "-9.5"},
      {"data/line/1/tx/power", "6.75"},  // 18 - 0.25 - 10 - 1
      {"data/line/1/rx/osc/power", "-18.5"},
      {"interface/line/1/data/osc/rx/power", "-18.5"},
      {"interface/line/1/data/osc/tx/power", "-0.75"},
      {"data/line/1/rx/length", "80"},
      {"interface/line/1/data/length", "80"},
      {"interface/line/1/data/dispersion", "1336"},
      {"data/preamp/gainDefault", "15"},
      {"data/line/1/tx/status", "\"up\""},
      {"data/line/1/rx/targetPower", "5"},
      {"config/line/1/tx/voaPresetSettings", "\"{\\\"mode\\\":\\\"auto\\\"}\""},
      {"data/line/lmsError", "Value has not been set"},
      {"interface/line/1/remote/spanloss/section", "\"na\""},
  });
  EXPECT_NEAR(line->get_line_rx_total_power(), -8.986f, 0.001f);
  EXPECT_EQ(own.find("interface/line/1/data/osc/loss")->poll_interval, 1u);
}

TEST_F(line_values, show_both_ends_of_the_fibre_crossed) {
  peer.set("interface/line/1/data/osc/tx/interfaceName", "peer-tx");
  peer.set("interface/line/1/data/osc/rx/interfaceName", "peer-rx");
  peer.set("interface/line/1/data/osc/tx/power", 1.5f);
  peer.set("interface/line/1/data/osc/rx/power", -19.75f);
  peer.set("interface/line/1/data/length", 40.0f);
  peer.set("data/line/1/rx/totalPower", 100.0f);
  meet_peer();
  expect_shown({
      {"interface/line/1/data/osc/rx/interfaceName", "\"if-1/line-rx\""},
      {"interface/line/1/data/osc/rx/remoteInterfaceName", "\"peer-tx\""},
      {"interface/line/1/data/osc/tx/remoteInterfaceName", "\"peer-rx\""},
      {"data/line/1/rx/osc/loss", "20"},
      {"data/line/1/tx/osc/loss", "19"},
      {"interface/line/1/data/osc/loss", "19"},
      {"interface/line/1/data/osc/attenuation", "0.2375"},
      {"data/line/1/tx/length", "40"},
      {"data/line/1/tx/loss", "0"},
      {"data/line/1/attenuation", "0"},
  });
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
  EXPECT_EQ(shown("data/line/1/rx/power"), "Unknown error!");
  EXPECT_NEAR(line->get_line_rx_total_power(), -95.99f, 0.01f);
}

}  // namespace
