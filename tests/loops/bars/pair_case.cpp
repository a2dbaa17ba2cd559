#include "tests/loops/bars/pair_case.h"

#include <cmath>

namespace bars {

sim::topology pair_of(const std::string& model, std::uint64_t seed) {
  auto what = test::known_pair(model);
  what.seed = seed;
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
