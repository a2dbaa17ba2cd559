#include "tests/loops/bars/pair_case.h"

#include <cmath>

namespace bars {

void voa_watch::look() {
  const double step = attenuation() - last_;
  last_ += step;
  if (std::fabs(step) > 0.05) {
    if (step * last_step_ < 0.0) ++changes_;
    last_step_ = step;
  }
  if (const auto writes = pair_.plant().voa_writes(node_); writes != writes_) {
    writes_ = writes;
    last_write_s_ = seconds(pair_.now() - begin_);
  }
}

sim::topology pair_of(const std::string& model, std::uint64_t seed) {
  auto what = test::dark_topology(model, 2);
  what.seed = seed;
  for (auto& node : what.nodes) {
    if (model == "orvamax") node.part_number = "ORVA-LITE";
  }
  return what;
}

void bring_to_rest(plant_pair& pair, nanoseconds time) {
  pair.start();
  pair.run_for(20s);
  for (unsigned node : {0u, 1u})
    pair.plant().fill_band(node);
  pair.run_for(time);
  require(pair.all_on_target(0) && pair.all_on_target(1), "the bands do not come to rest");
}

double line_error(plant_pair& pair, unsigned node) {
  double sum = 0.0;
  for (const auto channel : pair.channels())
    sum += pair.plant().channel_power_dbm(1 - node, sim::measuring_point::preamp_output, channel);
  return sum / static_cast<double>(pair.channels().size()) - 5.0;
}

}  // namespace bars
