#include "tests/loops/bars/pair_case.h"

namespace bars {

sim::topology known_pair(const std::string& model) {
  auto topology = test::dark_topology(model, 2);
  for (auto& node : topology.nodes) {
    if (!sim::model_of(node).known_to_peers) node.part_number = "ORVA-LITE";
  }
  return topology;
}

sim::topology pair_of(const std::string& model, std::uint64_t seed) {
  auto what = known_pair(model);
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

double line_error(test::plant_stage& stage, unsigned node) {
  double sum = 0.0;
  for (const auto channel : stage.channels())
    sum += stage.plant().channel_power_dbm(1 - node, sim::measuring_point::preamp_output, channel);
  return sum / static_cast<double>(stage.channels().size()) - 5.0;
}

void begin(peer_failure what, plant_pair& pair) {
  switch (what) {
    case peer_failure::killed:
      return pair.stop_manager(1);
    case peer_failure::hung:
      return pair.set_peer_link(1, nx::link_state::hung);
    case peer_failure::restarted:
      pair.stop_manager(1);
      return pair.start_manager(1);
    case peer_failure::switch_service:
      return pair.plant().set_nexel_state(1, "wss_edge", sim::nexel_state::killed);
    case peer_failure::dark:
      return pair.write(1, "config/automationMode", "\"dark\"");
  }
}

void end(peer_failure what, plant_pair& pair) {
  switch (what) {
    case peer_failure::killed:
      return pair.start_manager(1);
    case peer_failure::hung:
      return pair.set_peer_link(1, nx::link_state::up);
    case peer_failure::restarted:
      return;
    case peer_failure::switch_service:
      return pair.plant().set_nexel_state(1, "wss_edge", sim::nexel_state::ok);
    case peer_failure::dark:
      return pair.write(1, "config/automationMode", "\"managedCLI\"");
  }
}

}  // namespace bars
