// What nodes show of spans and of signal to noise, against what is true of the plant.
#include <fmt/format.h>

#include <cmath>

#include "tests/loops/bars/pair_case.h"

namespace bars {

namespace {

/// Mean and worst of errors.
class error_sum {
 public:
  void add(double error) {
    sum_ += std::fabs(error);
    worst_ = std::max(worst_, std::fabs(error));
    ++count_;
  }
  figures result() const {
    require(count_ > 0, "nothing to compare");
    return {sum_ / count_, worst_};
  }

 private:
  double sum_ = 0.0;
  double worst_ = 0.0;
  unsigned count_ = 0;
};

void add_span_errors(const std::string& model, std::uint64_t seed, double span_db, error_sum& sum) {
  auto what = sim::default_topology(model, 2);
  what.seed = seed;
  const double extra = span_db - what.fibres[0].span_loss_db();
  for (auto& fibre : what.fibres)
    fibre.loss_offset_db += extra;
  // The supervisory channel bridges a long span with a stronger transmitter. A loss is told by two
  // taps, whose errors add up in the one direction and cancel in the other.
  for (auto& node : what.nodes) {
    if (model == "orvamax") node.part_number = "ORVA-LITE";
    node.osc.tx_power_dbm = 3.0;
    for (auto& tap : node.taps)
      tap.offset_db = -0.1;
  }
  what.nodes[0].taps[static_cast<std::size_t>(sim::tap::booster_output)].offset_db = 0.1;
  plant_pair pair(what);
  pair.start();
  pair.run_for(3min);
  for (unsigned node : {0u, 1u}) {
    for (const char* path : {"data/spanloss/oms/tx", "data/spanloss/oms/rx", "data/spanloss/ots/tx",
                             "data/spanloss/ots/rx"}) {
      const bool is_tx = std::string(path).ends_with("tx");
      if (!pair.tree(node).find(path)) continue;
      sum.add(pair.number(node, path) - pair.plant().span_loss_db(is_tx ? node : 1 - node));
    }
  }
}

figures span_loss(const std::string& model, std::uint64_t seed) {
  error_sum sum;
  for (const double span_db : {12.0, 17.0, 22.0, 28.0})
    add_span_errors(model, seed, span_db, sum);
  return sum.result();
}

figures signal_to_noise(const std::string& model, std::uint64_t seed) {
  auto what = lit_topology(model, seed);
  // So that the level of detection stands between a dark channel's noise and a channel with 10 dB
  // of signal to noise.
  what.nodes.front().preamp_monitor.tap_loss_db = model == "orvalite" ? 11.3 : 9.7;
  plant_node node(what);
  const auto& channels = node.channels();
  // Every third channel dark, so that each has a dark neighbour.
  const auto is_dark = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (is_dark(i)) node.plant().switch_laser(1, channels[i], false);
  }
  node.start();
  error_sum sum;
  for (double extra_db = 0.0; extra_db <= 22.0; extra_db += 2.0) {
    node.plant().set_span_offset(1, extra_db);
    node.run_for(20s);
    for (std::size_t i = 0; i < channels.size(); ++i) {
      const double truth = node.plant().channel_osnr_db(0, channels[i]);
      if (is_dark(i) || truth < 10.0 || truth > 30.0) continue;
      sum.add(double{node.number(fmt::format("data/client/{}/tx/osnr", channels[i]))} - truth);
    }
  }
  return sum.result();
}

}  // namespace

std::vector<bar> truth_bars() {
  return {
      {"span-loss",
       "the span's loss as shown, up to 28 dB",
       {{"dB mean", 0.2}, {"dB worst", 0.5}},
       line_models,
       span_loss},
      {"osnr",
       "signal to noise as shown, 10 to 30 dB",
       {{"dB mean", 0.5}, {"dB worst", 1.0}},
       line_models,
       signal_to_noise},
  };
}

}  // namespace bars
