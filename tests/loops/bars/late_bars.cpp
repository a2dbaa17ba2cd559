// Parts that answer late, and devices that come up after the daemon.
#include <fmt/format.h>

#include <algorithm>

#include "base/insight/event_log.h"
#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

constexpr const char* panel = "led_selka";

using spoiling = std::function<void(plant_node&)>;

bool is_panel_told_away() {
  const auto events = insight::event_log::instance().events();
  const auto newest = std::find_if(events.rbegin(), events.rend(),
                                   [](const auto& each) { return each.on == "panel"; });
  return newest != events.rend() && newest->kind == insight::event_kind::loop_down;
}

/// Seconds until all channels are on target, after the start and after a jump; then the node is
/// healed and has some time.
figures seconds_with(plant_node& node, const spoiling& spoil, bool is_panel_away = false) {
  insight::event_log::instance().reset();
  node.face_far_end();
  spoil(node);
  const auto begin = node.now();
  node.start();
  node.add_channels();
  require(node.run_until([&] { return node.all_on_target(); }, 5min), "no channel on target");
  const double start = seconds(node.now() - begin);
  node.run_for(30s);
  const double jump =
      seconds_after_jump(node, node.channels()[3], [&] { return node.all_on_target(); });
  require(node.is_fully_operational(), "a loop is down");
  require(is_panel_told_away() == is_panel_away, "of the panel is told what is not so");
  node.plant().set_nexel_state(0, panel, sim::nexel_state::ok);
  node.plant().set_latency(0, panel, 0ms);
  node.run_for(15s);
  for (const char* side : {"rx", "tx"}) {
    const auto led = fmt::format("data/line/1/{}Led/status", side);
    require(test::text_of(node.plant().nexel_tree(panel), led) == "green", "a LED is wrong");
  }
  require(!is_panel_told_away(), "the panel's return is not told");
  return {start, jump};
}

figures a_slow_part(const std::string& model, std::uint64_t seed) {
  auto what = lit_topology(model, seed);
  what.peer = is_selka(model) ? "selka-min" : "orva-lite";
  const auto measure = [&](const spoiling& spoil, bool is_panel_away = false) {
    plant_node node(what);
    return seconds_with(node, spoil, is_panel_away);
  };
  const auto in_state = [](sim::nexel_state state) {
    return [state](plant_node& node) { node.plant().set_nexel_state(0, panel, state); };
  };
  const auto late = [](const char* part) {
    return [part](plant_node& node) { node.plant().set_latency(0, part, 1000ms); };
  };
  const auto well = measure([](plant_node&) {});
  for (const auto& afflicted :
       {measure(in_state(sim::nexel_state::hung), true),
        measure(in_state(sim::nexel_state::killed), true), measure(late(panel))}) {
    require(afflicted == well, "the panel costs the light time");
  }
  auto worst = measure(
      [](plant_node& node) { node.network().set_latency(plant_node::peer_address, 1000ms); });
  if (model == "orvapro") {
    const auto compensated = measure(late("tdcm"));
    for (std::size_t i = 0; i < worst.size(); ++i)
      worst[i] = std::max(worst[i], compensated[i]);
  }
  return worst;
}

bool is_named(plant_node& node, const std::string& device) {
  const auto lines = node.take_log();
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.ends_with("Not connected: /tmp/nexels/" + device);
  });
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
  node.take_log();
  node.restart();
  // The switch and monitor of orva is told by the path that it does not give.
  require(node.now() < comes || device == "wss_edge" || is_named(node, device), "it is not named");
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
       "a peer or compensator that answers 1 s late; a panel in any state costs nothing",
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
