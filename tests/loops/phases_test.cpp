// The timing of readings: a channel that is lit, jumps or gets another target at every phase of the
// monitor's pass relative to the cycle and the switch's settling reaches its target without
// overshooting.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>

#include "platform/wire/json_conversion.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

constexpr auto phase_step = 100ms;

struct timing {
  const char* product;
  double pass_s;
  double settling_s;
};

constexpr timing timings[] = {
    {"orvalite", 1.0, 0.2}, {"orvalite", 1.0, 0.45},  {"orvalite", 0.5, 0.45},
    {"orvalite", 0.6, 0.7}, {"orvakinet", 1.0, 0.45}, {"selkaplus", 1.0, 0.45},
};

class phases : public testing::TestWithParam<timing> {
 protected:
  void start(int phase) {
    auto topology = test::dark_topology(GetParam().product);
    auto& settings = topology.nodes[0];
    settings.booster_monitor.period_s = GetParam().pass_s;
    settings.add_switch.settling_s = GetParam().settling_s;
    settings.laser_ramp_s = phase % 2 == 1 ? 2.0 : 0.0;
    node_.reset();  // only one at a time can use the daemon's clock
    node_ = std::make_unique<plant_node>(topology);
    node_->clock().sleep(phase * phase_step / 2);
    node_->start();
    node_->add_channels();
    node_->run_for(20s);
  }

  /// The effect of `cause` after `phase`: at most three steps, and no overshoot by more than half a
  /// dB. `side`: 1 if the channel comes from below.
  void expect_straight_way(unsigned channel, double side, int phase,
                           const std::function<void()>& cause, const char* what) {
    const channel_watch watch(*node_);
    node_->clock().at(node_->now() + phase * phase_step, cause);
    double beyond_db = 0.0;
    for (const auto begin = node_->now(); node_->now() - begin < 20s;) {
      node_->cycle();
      beyond_db = std::max(beyond_db, side * error(channel));
    }
    SCOPED_TRACE(fmt::format("{} at phase {}", what, phase));
    EXPECT_LE(beyond_db, 0.5);
    EXPECT_LE(watch.steps(channel), 3u);
    EXPECT_LT(std::fabs(error(channel)), 0.6);
  }

  double error(unsigned channel) {
    return node_->true_error(channel) -
           node_->number(fmt::format("data/client/{}/rx/wantedPowerOffset", id(channel)));
  }

  /// The wanted power is absolute; the target moves by its offset.
  void lower_target(unsigned channel) {
    const auto path = fmt::format("config/client/{}/rx/wantedPowerOffset", id(channel));
    node_->write(path, fmt::format("{:.2f}", node_->number(path) - 3.0));
  }

  /// As paths name the channel: a model may number its channels by their place in the plan.
  unsigned id(unsigned channel) {
    const auto& all = node_->channels();
    const auto place = std::find(all.begin(), all.end(), channel) - all.begin();
    const auto index = nx::parse_json(node_->text("data/channel/index"));
    return index[static_cast<rapidjson::SizeType>(place)].GetUint();
  }

  std::unique_ptr<plant_node> node_;
};

TEST_P(phases, of_readings_carry_no_channel_beyond_its_target) {
  for (int phase = 0; phase < 10; ++phase) {
    start(phase);
    const auto lit = node_->channels()[10];
    const auto changed = node_->channels()[20];
    expect_straight_way(
        lit, 1, phase, [&] { node_->plant().fill_band(0); }, "relight");
    expect_straight_way(
        changed, -1, phase, [&] { node_->disturb(changed, 3.0); }, "3 dB up");
    expect_straight_way(
        changed, 1, phase, [&] { node_->disturb(changed, -3.0); }, "3 dB down");
    expect_straight_way(
        changed, -1, phase, [&] { lower_target(changed); }, "lower target");
  }
}

INSTANTIATE_TEST_SUITE_P(timings, phases, testing::ValuesIn(timings), [](const auto& of) {
  return fmt::format("{}_{}_ms_{}_ms", of.param.product, std::lround(of.param.pass_s * 1000),
                     std::lround(of.param.settling_s * 1000));
});

}  // namespace
