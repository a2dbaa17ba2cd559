// Light that appears, jumps or gets another target at every phase of the monitor's pass relative to
// the cycle and the switch's settling.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>

#include "platform/wire/json_conversion.h"
#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

constexpr auto phase_step = 50ms;
constexpr int phases = 20;

struct timing {
  double pass_s;
  double settling_s;
};

/// One of them for each seed.
constexpr timing timings[] = {{1.0, 0.45}, {0.6, 0.7}, {1.0, 0.2}};

/// As paths name the channel: a model may number its channels by their place in the plan.
unsigned id_of(plant_node& node, unsigned channel) {
  const auto& all = node.channels();
  const auto place = std::find(all.begin(), all.end(), channel) - all.begin();
  const auto index = nx::parse_json(node.text("data/channel/index"));
  return index[static_cast<rapidjson::SizeType>(place)].GetUint();
}

/// A channel whose target can be moved.
class aimed_channel {
 public:
  aimed_channel(plant_node& node, std::size_t place)
      : node_(node), key(node.channels()[place]), id_(id_of(node, key)) {}

  double error() {
    return node_.true_error(key) -
           double{node_.number(fmt::format("data/client/{}/rx/wantedPowerOffset", id_))};
  }
  void lower_target() {
    const auto path = fmt::format("config/client/{}/rx/wantedPowerOffset", id_);
    node_.write(path, fmt::format("{:.2f}", node_.number(path) - 3.0));
  }

 private:
  plant_node& node_;

 public:
  const unsigned key;

 private:
  unsigned id_;
};

struct way {
  double beyond_db = 0.0;
  double steps = 0.0;
  double left_db = 0.0;
};

/// `side`: 1 where the channel comes from below.
void go(plant_node& node, aimed_channel& channel, double side, int phase,
        const std::function<void()>& cause, way& worst) {
  const channel_watch watch(node);
  node.clock().at(node.now() + phase * phase_step, cause);
  for (const auto begin = node.now(); node.now() - begin < 20s;) {
    node.cycle();
    worst.beyond_db = std::max(worst.beyond_db, side * channel.error());
  }
  worst.steps = std::max<double>(worst.steps, watch.steps(channel.key));
  worst.left_db = std::max(worst.left_db, std::fabs(channel.error()));
}

void go_all_ways(const sim::topology& what, int phase, way& worst) {
  plant_node node(what);
  node.clock().sleep(phase * phase_step);
  node.start();
  node.add_channels();
  node.run_for(20s);
  aimed_channel lit(node, 10);
  aimed_channel changed(node, 20);
  go(
      node, lit, 1, phase, [&] { node.plant().fill_band(0); }, worst);
  go(
      node, changed, -1, phase, [&] { node.disturb(changed.key, 3.0); }, worst);
  go(
      node, changed, 1, phase, [&] { node.disturb(changed.key, -3.0); }, worst);
  go(
      node, changed, -1, phase, [&] { changed.lower_target(); }, worst);
}

figures every_phase(const std::string& model, std::uint64_t seed) {
  way worst;
  const auto& [pass_s, settling_s] = timings[(seed - 1) % std::size(timings)];
  for (int phase = 0; phase < phases; ++phase) {
    auto what = dark_topology(model, seed);
    what.nodes[0].booster_monitor.period_s = pass_s;
    what.nodes[0].add_switch.settling_s = settling_s;
    what.nodes[0].laser_ramp_s = phase % 2 == 1 ? 2.0 : 0.0;
    go_all_ways(what, phase, worst);
  }
  return {worst.beyond_db, worst.steps, worst.left_db};
}

}  // namespace

std::vector<bar> phase_bars() {
  return {{"phases",
           "light, jumps and a target's change at each phase of the monitor's pass",
           {{"dB beyond the target", 0.5}, {"steps", 3}, {"dB left", 0.6}},
           all_models,
           every_phase}};
}

}  // namespace bars
