// A node at rest is left alone, even while something it does not need is dead; and how soon it
// corrects again afterwards.
#include <algorithm>

#include "platform/kvs_client/kvs_client.h"
#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

/// Writes of both switches and of the line's attenuator.
class write_watch {
 public:
  explicit write_watch(plant_node& node)
      : node_(node), add_(node, sim::direction::rx), drop_(node, sim::direction::tx) {}

  double switches() const { return add_.all_steps() + drop_.all_steps(); }
  double steps(unsigned channel) const { return add_.steps(channel); }
  double most_of_a_channel() const {
    return std::max(most_steps(node_, add_), most_steps(node_, drop_));
  }
  double voa() const { return node_.plant().voa_writes(0) - voa_at_start_; }

 private:
  plant_node& node_;
  channel_watch add_;
  channel_watch drop_;
  unsigned voa_at_start_ = node_.plant().voa_writes(0);
};

figures an_hour_of_rest(const std::string& model, std::uint64_t seed) {
  const auto node = at_rest(model, seed);
  const write_watch watch(*node);
  node->run_for(1h);
  require(node->all_on_target(), "a channel has left its target");
  return {watch.switches(), watch.most_of_a_channel(), watch.voa()};
}

using change = std::function<void(plant_node&)>;

/// Cycles until the first correction after `mend`, of a channel that has moved meanwhile; writes of
/// the rest during ten minutes without the part.
struct outage {
  double writes = 0.0;
  double cycles = 0.0;
};

outage live_without(plant_node& node, const change& take, const change& give, double sign,
                    bool is_needed) {
  const auto channel = node.channels()[5];
  outage found;
  take(node);
  const write_watch rest(node);
  node.run_for(10min);
  found.writes = rest.switches() + rest.voa();
  const write_watch watch(node);
  node.disturb(channel, 2.0 * sign);
  node.run_for(12s);
  require((watch.steps(channel) == 0) == is_needed, is_needed ? "is not missed" : "is missed");
  give(node);
  for (; is_needed && watch.steps(channel) == 0 && found.cycles < 100; ++found.cycles)
    node.cycle();
  require(node.run_until([&] { return node.on_target(channel); }, 15s), "not back on target");
  node.take_log();
  node.run_for(30s);
  require(test::count_of(node.take_log(), "Manager not ") == 0, "a loop stays down");
  return found;
}

/// The other devices leave the channels of the add side to be regulated without them.
bool is_needed_by_channels(const std::string& device) {
  return device != "preamp" && device != "sfp/0" && device != "voa_sfp";
}

figures a_dead_part(const std::string& model, std::uint64_t seed) {
  const auto node = at_rest(model, seed);
  outage worst;
  double sign = 1.0;
  const auto look = [&](const change& take, const change& give, bool is_needed) {
    const auto found = live_without(*node, take, give, sign, is_needed);
    sign = -sign;
    worst.writes = std::max(worst.writes, found.writes);
    worst.cycles = std::max(worst.cycles, found.cycles);
  };
  std::vector<std::string> devices = switch_devices(model);
  devices.insert(devices.end(), {"booster", "preamp", "osc1", "sfp/0"});
  if (has_voa(model)) devices.push_back("voa_sfp");
  for (const auto& device : devices) {
    const auto set = [device](sim::nexel_state state) {
      return [device, state](plant_node& of) { of.plant().set_nexel_state(0, device, state); };
    };
    look(set(sim::nexel_state::killed), set(sim::nexel_state::ok), is_needed_by_channels(device));
  }
  // On selka attenuations go to the switch through the store.
  look([](plant_node&) { kvs_memory::set_available(false); },
       [](plant_node&) { kvs_memory::set_available(true); }, is_selka(model));
  return {worst.writes, worst.cycles};
}

}  // namespace

std::vector<bar> rest_bars() {
  return {
      {"rest",
       "an hour of rest",
       {{"switch writes an hour", 0}, {"of one channel", 2}, {"VOA writes an hour", 1}},
       all_models,
       an_hour_of_rest},
      {"dead-part",
       "a device or the store dead for 10 min",
       {{"writes meanwhile", 0}, {"cycles to the first correction after", 3}},
       all_models,
       a_dead_part},
  };
}

}  // namespace bars
