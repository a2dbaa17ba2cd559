// The selka models' handling of the line on the plant: the preamp's gain follows the span, and the
// operator's single target output power moves the line attenuator once.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

#include "base/manager/automation.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

/// A node with its band, facing a node of its kind.
class selka_line : public testing::Test {
 protected:
  void SetUp() override {
    node_.face_itself();
    node_.start();
    node_.add_channels();
    node_.run_for(60s);
    ASSERT_TRUE(node_.all_on_target());
  }

  double preamp_gain() { return node_.plant().amplifier_gain_db(0, sim::direction::tx); }
  unsigned preamp_writes() { return node_.plant().amplifier_writes(0, sim::direction::tx); }
  void set_mode(const char* mode) {
    node_.write("config/automationMode", fmt::format("\"{}\"", mode));
  }
  void give_span_loss(double loss_db) {
    node_.write("config/netconf/spanlossReceive", fmt::format("{}", loss_db));
    node_.run_for(5s);
  }

  static sim::topology topology() {
    auto what = sim::default_topology("selkamin");
    what.nodes.front().osc.sensitivity_dbm = -38.0;  // for a span of more than 28 dB
    return what;
  }

  plant_node node_{topology()};
};

TEST_F(selka_line, preamp_gain_follows_the_measured_span_or_the_parameter) {
  auto& plant = node_.plant();
  plant.set_span_offset(1, 2.0);
  node_.run_for(10s);
  const double before = preamp_gain();
  plant.set_span_offset(1, 5.0);
  node_.run_for(10s);
  EXPECT_NEAR(preamp_gain() - before, 3.0, 0.25);
  plant.set_span_offset(1, 15.0);
  node_.run_for(10s);
  EXPECT_NEAR(preamp_gain(), 26.0, 0.05) << "its highest";

  set_mode("managedNetconf");
  give_span_loss(20.0);
  EXPECT_NEAR(preamp_gain(), 20.0 + 1.0 - 2 * 0.8, 0.05) << "attenuator and way in, made up for";
  const auto writes = preamp_writes();
  plant.set_span_offset(1, 4.0);
  node_.run_for(30s);
  EXPECT_EQ(preamp_writes(), writes) << "the measured span does not count here";
  give_span_loss(20.05);
  EXPECT_EQ(preamp_writes(), writes) << "nor does a tenth of a dB";
  give_span_loss(1.0);
  EXPECT_NEAR(preamp_gain(), 15.0, 0.05) << "its lowest";

  set_mode("managedCLI");
  node_.run_for(10s);
  EXPECT_NEAR(preamp_gain() - before, 2.0, 0.25);
  const auto rest = preamp_writes();
  node_.run_for(2min);
  // The taps' noise now and then carries the measured loss out of a dead band of 0.1 dB.
  EXPECT_LE(preamp_writes(), rest + 20);
  EXPECT_NEAR(preamp_gain() - before, 2.0, 0.25);
}

TEST_F(selka_line, target_output_power_moves_the_attenuator_once_and_rests) {
  auto& plant = node_.plant();
  const auto voa_writes = plant.voa_writes(0);
  const auto one = node_.channels()[7];
  const auto power_of = [&](unsigned channel) {
    return plant.channel_power_dbm(0, sim::measuring_point::line_output, channel);
  };
  node_.write("config/client/rx/targetOutputPower", "-3");
  EXPECT_EQ(plant.voa_writes(0), voa_writes + 1);
  EXPECT_FLOAT_EQ(node_.number(fmt::format("data/client/{}/rx/targetOutputPower", one)), -3.0f);
  node_.run_for(2min);
  // 0.3 dB is the margin that stays for what the far end's filter takes.
  double sum = 0.0;
  for (const auto channel : node_.channels()) {
    sum += power_of(channel);
    const auto shown = node_.number(fmt::format("data/client/{}/rx/lineTxPower", channel));
    EXPECT_NEAR(shown, power_of(channel), 0.7) << channel;
  }
  EXPECT_NEAR(sum / static_cast<double>(node_.channels().size()), -3.0 + 0.3, 0.5);

  node_.write("config/client/rx/targetOutputPower", "-3.1");
  node_.run("command/channel/remove", fmt::format(R"({{"center":{},"direction":"both"}})", one));
  node_.add_channel(one);
  EXPECT_FLOAT_EQ(node_.number(fmt::format("data/client/{}/rx/targetOutputPower", one)), -3.1f)
      << "a channel that comes later is told";
  node_.run_for(2min);
  EXPECT_EQ(plant.voa_writes(0), voa_writes + 1) << "rests";
  node_.write("config/client/rx/targetOutputPower", "20");
  node_.run_for(5s);
  EXPECT_NEAR(plant.voa_attenuation_db(0), 0.0, 0.05) << "its lowest";
}

}  // namespace
