// What nodes show of span losses and signal-to-noise ratio, compared with the plant's truth.
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

figures span_loss(const std::string& model, std::uint64_t seed) {
  auto lit = test::known_pair(model);
  lit.seed = seed;
  for (auto& node : lit.nodes)
    node.lit.reset();
  std::vector<double> errors;
  for (const double span_db : {12.0, 17.0, 22.0, 28.0}) {
    const auto some = test::span_loss_errors(lit, span_db);
    errors.insert(errors.end(), some.begin(), some.end());
  }
  return of_errors(errors);
}

figures signal_to_noise(const std::string& model, std::uint64_t seed) {
  auto what = lit_topology(model, seed);
  // So that the level of detection stands between a dark channel's noise and a channel with 10 dB
  // of signal to noise.
  what.nodes.front().preamp_monitor.tap_loss_db = model == "orvalite" ? 11.3 : 9.7;
  std::vector<double> errors;
  for (const auto& one : test::osnr_errors(what))
    errors.push_back(one.error_db);
  return of_errors(errors);
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
