// What nodes show of span losses and signal-to-noise ratio, compared with the plant's truth.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/bars/pair_case.h"

namespace bars {

namespace {

/// Mean and worst.
figures of_errors(const std::vector<double>& errors) {
  require(!errors.empty(), "nothing to compare");
  double sum = 0.0;
  double worst = 0.0;
  for (const double error : errors) {
    sum += std::fabs(error);
    worst = std::max(worst, std::fabs(error));
  }
  return {sum / static_cast<double>(errors.size()), worst};
}

/// The span losses published by lit nodes over a span of this loss, less the plant's truth.
std::vector<double> span_loss_errors(sim::topology lit_pair, double span_db) {
  const double extra = span_db - lit_pair.fibres[0].span_loss_db();
  for (auto& fibre : lit_pair.fibres)
    fibre.loss_offset_db += extra;
  // The supervisory channel bridges a long span with a stronger transmitter. A loss is measured by
  // two taps, whose errors add up in one direction and cancel in the other.
  for (auto& node : lit_pair.nodes) {
    node.osc.tx_power_dbm = 3.0;
    for (auto& tap : node.taps)
      tap.offset_db = -0.1;
  }
  lit_pair.nodes[0].taps[static_cast<std::size_t>(sim::tap::booster_output)].offset_db = 0.1;
  plant_pair pair(lit_pair);
  pair.start();
  pair.run_for(3min);
  std::vector<double> errors;
  for (unsigned node : {0u, 1u}) {
    for (const char* path : {"data/spanloss/oms/tx", "data/spanloss/oms/rx", "data/spanloss/ots/tx",
                             "data/spanloss/ots/rx"}) {
      const bool is_tx = std::string(path).ends_with("tx");
      if (!pair.tree(node).find(path)) continue;
      errors.push_back(pair.number(node, path) -
                       pair.plant().span_loss_db(is_tx ? node : 1 - node));
    }
  }
  return errors;
}

/// What a lit node shows as signal to noise, less the truth, of 10 to 30 dB: every third channel is
/// dark, so that each has a dark neighbour.
std::vector<double> osnr_errors(const sim::topology& lit) {
  plant_node node(lit);
  const auto channels = node.channels();
  const auto is_dark = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (is_dark(i)) node.plant().switch_laser(1, channels[i], false);
  }
  node.start();
  std::vector<double> errors;
  for (double extra_db = 0.0; extra_db <= 22.0; extra_db += 2.0) {
    node.plant().set_span_offset(1, extra_db);
    node.run_for(20s);
    for (std::size_t i = 0; i < channels.size(); ++i) {
      const double truth = node.plant().channel_osnr_db(0, channels[i]);
      if (is_dark(i) || truth < 10.0 || truth > 30.0) continue;
      const auto shown = node.number(fmt::format("data/client/{}/tx/osnr", channels[i]));
      errors.push_back(double{shown} - truth);
    }
  }
  return errors;
}

figures span_loss(const std::string& model, std::uint64_t seed) {
  auto lit = known_pair(model);
  lit.seed = seed;
  for (auto& node : lit.nodes)
    node.lit.reset();
  std::vector<double> errors;
  for (const double span_db : {12.0, 17.0, 22.0, 28.0}) {
    const auto some = span_loss_errors(lit, span_db);
    errors.insert(errors.end(), some.begin(), some.end());
  }
  return of_errors(errors);
}

figures signal_to_noise(const std::string& model, std::uint64_t seed) {
  auto what = lit_topology(model, seed);
  // So that the level of detection stands between a dark channel's noise and a channel with 10 dB
  // of signal to noise.
  what.nodes.front().preamp_monitor.tap_loss_db = model == "orvalite" ? 11.3 : 9.7;
  return of_errors(osnr_errors(what));
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
