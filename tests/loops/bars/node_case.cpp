#include "tests/loops/bars/node_case.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace bars {

sim::topology lit_topology(const std::string& model, std::uint64_t seed) {
  auto what = sim::default_topology(model);
  what.seed = seed;
  return what;
}

sim::topology dark_topology(const std::string& model, std::uint64_t seed) {
  auto what = test::dark_topology(model);
  what.seed = seed;
  return what;
}

std::unique_ptr<plant_node> started(const sim::topology& what) {
  auto node = std::make_unique<plant_node>(what);
  node->start();
  node->add_channels();
  node->run_for(20s);
  return node;
}

std::unique_ptr<plant_node> at_rest(const std::string& model, std::uint64_t seed) {
  auto node = started(dark_topology(model, seed));
  node->plant().fill_band(0);
  node->run_for(10min);
  require(node->all_on_target(), "the band does not come to rest");
  return node;
}

void write_modes(plant_node& node) {
  if (!node.has_channels_by_command()) return;
  for (const auto channel : node.channels())
    node.regulate(channel);
}

double seconds_until(plant_node& node, const std::function<bool()>& condition, nanoseconds limit) {
  const auto begin = node.now();
  return node.run_until(condition, limit) ? seconds(node.now() - begin) : never;
}

double seconds_after_jump(plant_node& node, unsigned channel,
                          const std::function<bool()>& condition) {
  const auto begin = node.now();
  node.disturb(channel, 3.0);
  node.cycle();  // the light jumps with time alone
  return node.run_until(condition, 5min) ? seconds(node.now() - begin) : never;
}

double most_steps(const plant_node& node, const channel_watch& watch) {
  unsigned most = 0;
  for (const auto channel : node.channels())
    most = std::max(most, watch.steps(channel));
  return most;
}

bool rests(plant_node& node, unsigned channel) {
  const double attenuation_db = node.plant().switch_attenuation_db(0, sim::direction::rx, channel);
  constexpr double noise_db = 0.15;
  return std::fabs(node.true_error(channel)) <= 0.2 + attenuation_db / 30.0 + noise_db;
}

bool others_rest(plant_node& node, unsigned but) {
  const auto& all = node.channels();
  return std::all_of(all.begin(), all.end(),
                     [&](unsigned channel) { return channel == but || rests(node, channel); });
}

bool all_rest(plant_node& node) {
  return others_rest(node, 0);
}

std::vector<std::string> switch_devices(const std::string& model) {
  if (is_selka(model)) return {"wss", "ocm"};
  return {"wss_edge"};
}

std::string switch_device(const std::string& model) {
  return switch_devices(model).front();
}

std::string monitor_device(const std::string& model) {
  return switch_devices(model).back();
}

std::string attenuation_path(const std::string& model, const std::string& root,
                             const std::string& channel) {
  return fmt::format("{}/{}/channel/{}/attenuation", root, is_selka(model) ? "module/add" : "wss/1",
                     channel);
}

std::string power_path(const std::string& model, const std::string& channel, bool detected) {
  if (is_selka(model))
    return fmt::format("data/port/0/channel/{}/{}", channel, detected ? "peak" : "power");
  return fmt::format("data/ocm/1/channel/{}/{}", channel, detected ? "detected" : "powerLevel");
}

}  // namespace bars
