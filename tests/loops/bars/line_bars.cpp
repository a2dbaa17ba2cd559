// The line: a longer span, two lines that are off, a cut that is mended.
#include <algorithm>
#include <cmath>

#include "tests/loops/bars/pair_case.h"

namespace bars {

namespace {

/// How far a line may rest from its aim.
constexpr double resting_db = 0.85;

/// The step history of one line attenuator, by looking at the truth every tenth of a second.
class voa_watch {
 public:
  voa_watch(plant_pair& pair, unsigned node)
      : pair_(pair),
        node_(node),
        begin_(pair.now()),
        last_write_(begin_),
        last_(attenuation()),
        writes_(pair.plant().voa_writes(node)) {}

  void look() {
    const double step = attenuation() - last_;
    last_ += step;
    if (std::fabs(step) > 0.05) steps_.push_back(step);
    if (const auto writes = pair_.plant().voa_writes(node_); writes != writes_) {
      writes_ = writes;
      last_write_ = pair_.now();
    }
  }
  unsigned changes_of_sign() const {
    unsigned changes = 0;
    for (std::size_t i = 1; i < steps_.size(); ++i)
      changes += steps_[i] * steps_[i - 1] < 0.0 ? 1 : 0;
    return changes;
  }
  /// Since the beginning; 0 without one.
  std::chrono::nanoseconds last_write() const { return last_write_ - begin_; }

 private:
  double attenuation() const { return pair_.plant().voa_attenuation_db(node_); }

  plant_pair& pair_;
  unsigned node_;
  std::chrono::nanoseconds begin_;
  std::chrono::nanoseconds last_write_;
  double last_;
  unsigned writes_;
  std::vector<double> steps_;
};

figures a_longer_span(const std::string& model, std::uint64_t seed) {
  plant_pair pair(pair_of(model, seed));
  bring_to_rest(pair, 10min);
  voa_watch watch(pair, 0);
  pair.plant().set_span_offset(0, 3.0);
  for (const auto begin = pair.now(); pair.now() - begin < 150s;) {
    pair.run_for(100ms);
    watch.look();
  }
  require(pair.all_on_target(0), "the channels do not rest");
  return {seconds(watch.last_write()), 1.0 * watch.changes_of_sign(),
          std::fabs(line_error(pair, 0))};
}

/// Shorter spans, so that the lines arrive 5 dB too high and "beyond" is below.
figures both_lines_off(const std::string& model, std::uint64_t seed) {
  plant_pair pair(pair_of(model, seed));
  bring_to_rest(pair, 10min);
  voa_watch near(pair, 0);
  voa_watch far(pair, 1);
  for (unsigned fibre : {0u, 1u})
    pair.plant().set_span_offset(fibre, -5.0);
  double lowest = 0.0;
  for (const auto begin = pair.now(); pair.now() - begin < 240s;) {
    pair.run_for(100ms);
    near.look();
    far.look();
    lowest = std::min({lowest, line_error(pair, 0), line_error(pair, 1)});
  }
  for (unsigned node : {0u, 1u})
    require(line_error(pair, node) < resting_db, "a line stays too high");
  return {seconds(std::max(near.last_write(), far.last_write())), -lowest};
}

/// Least attenuation of what parks in the dark, less its parking attenuation.
double least_above_default_db(plant_pair& pair, const std::string& model) {
  constexpr double voa_preset_db = 5.0;
  constexpr double drop_default_db = 5.0;
  double least = never;
  for (unsigned node : {0u, 1u}) {
    if (has_voa(model))
      least = std::min(least, pair.plant().voa_attenuation_db(node) - voa_preset_db);
    if (model != "orvakinet") continue;
    for (const auto channel : pair.channels()) {
      least =
          std::min(least, pair.plant().switch_attenuation_db(node, sim::direction::tx, channel) -
                              drop_default_db);
    }
  }
  return least;
}

bool has_line_los(plant_pair& pair) {
  return pair.number(0, "alarms/line/1/rx/lossOfSignal/severity") != 0;
}

figures a_cut_that_is_mended(const std::string& model, std::uint64_t seed) {
  plant_pair pair(pair_of(model, seed));
  auto& plant = pair.plant();
  // A longer span, so that what has to close for the dark is below its default.
  for (unsigned fibre : {0u, 1u})
    plant.set_span_offset(fibre, 3.0);
  bring_to_rest(pair, 5min);
  require(least_above_default_db(pair, model) < -0.5, "nothing has to close for the dark");
  plant.cut_line();
  pair.run_for(5s);
  double opened_db = 0.0;
  for (const auto begin = pair.now(); pair.now() - begin < 295s;) {
    pair.run_for(100ms);
    opened_db = std::max(opened_db, -least_above_default_db(pair, model));
  }
  require(has_line_los(pair), "no loss of signal is raised");
  plant.mend_line();
  const auto light = pair.now();
  const auto linked = [&] { return plant.osc_ready(0) && plant.osc_ready(1); };
  require(pair.run_until(linked, 20s), "the supervisory link does not come back");
  // Through the dark the add side stands on target; it must be so for all of the time after.
  const auto since = pair.now();
  double time = 0.0;
  for (; pair.now() - since < 2min; pair.run_for(100ms)) {
    if (!pair.all_on_target(0) || !pair.all_on_target(1)) time = seconds(pair.now() - light);
  }
  require(!has_line_los(pair), "the loss of signal stays");
  return {opened_db, time};
}

std::vector<std::string> with_orvakinet() {
  auto models = line_models;
  models.push_back("orvakinet");
  return models;
}

}  // namespace

std::vector<bar> line_bars() {
  return {
      {"longer-span",
       "the span 3 dB longer",
       {{"s to rest", 90}, {"changes of sign", 0}, {"dB left", resting_db}},
       line_models,
       a_longer_span},
      {"both-lines",
       "two daemons, both lines 5 dB off",
       {{"s to rest", 180}, {"dB beyond", 0.2}},
       line_models,
       both_lines_off},
      {"cut",
       "a cut, mended after 5 min",
       {{"dB opened in the dark", 0.1}, {"s to target after light", 15}},
       with_orvakinet(),
       a_cut_that_is_mended},
  };
}

}  // namespace bars
