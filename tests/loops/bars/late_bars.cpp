// Parts that answer late, and devices that come up after the daemon.
#include <fmt/format.h>

#include <algorithm>

#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

constexpr const char* peer_address = "[fe80::2%osc0]:5100";

figures a_slow_part(const std::string& model, std::uint64_t seed) {
  figures worst{0.0, 0.0};
  std::vector<std::string> parts{"led_selka", "peer"};
  if (model == "orvapro") parts.push_back("tdcm");
  for (const auto& part : parts) {
    auto what = lit_topology(model, seed);
    what.peer = is_selka(model) ? "selka-min" : "orva-lite";
    plant_node node(what);
    node.network().attach(peer_address, node.plant().nexel_tree("peer", 1));
    if (part == "peer") {
      node.network().set_latency(peer_address, 1000ms);
    } else {
      node.plant().set_latency(0, part, 1000ms);
    }
    const auto begin = node.now();
    node.start();
    node.add_channels();
    require(node.run_until([&] { return node.all_on_target(); }, 5min), "no channel on target");
    worst[0] = std::max(worst[0], seconds(node.now() - begin));
    node.run_for(30s);
    const double jump =
        seconds_after_jump(node, node.channels()[3], [&] { return node.all_on_target(); });
    worst[1] = std::max(worst[1], jump);
    node.network().detach(peer_address);
  }
  return worst;
}

/// Seconds from the device's arrival to a channel's first correction, or to a node that needs none.
double regulation_after(plant_node& node, const std::string& device, double jump_db) {
  constexpr auto late_by = 30s;
  const auto channel = node.channels()[5];
  node.plant().set_nexel_state(0, device, sim::nexel_state::killed);
  node.disturb(channel, jump_db);
  const auto comes = node.now() + late_by;
  node.clock().at(
      comes, [&node, device] { node.plant().set_nexel_state(0, device, sim::nexel_state::ok); });
  node.restart();
  write_modes(node);
  const channel_watch add(node);
  const auto regulates = [&] {
    return node.now() >= comes && node.is_fully_operational() &&
           (add.steps(channel) > 0 || node.on_target(channel));
  };
  const bool does = node.run_until(regulates, 2min);
  const double time = does ? seconds(node.now() - comes) : never;
  node.run_for(20s);
  require(node.all_on_target(), "not on target afterwards");
  return time;
}

figures a_late_device(const std::string& model, std::uint64_t seed) {
  const auto node = started(lit_topology(model, seed));
  auto devices = node->devices();
  devices.insert({"system_info", "system_start"});
  double worst = 0.0;
  double jump_db = 3.0;
  for (const auto& device : devices) {
    worst = std::max(worst, regulation_after(*node, device, jump_db));
    jump_db = -jump_db;
  }
  return {worst};
}

}  // namespace

std::vector<bar> late_bars() {
  return {
      {"slow-part",
       "a panel, peer or compensator that answers 1 s late",
       {{"s to target after the start", 10}, {"s after a jump", 10}},
       all_models,
       a_slow_part},
      {"late-device",
       "a device that comes up 30 s after the daemon",
       {{"s to regulation after it", 5}},
       all_models,
       a_late_device},
  };
}

}  // namespace bars
