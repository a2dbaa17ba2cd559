#include "sim/plant/topology.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

#include "sim/optics/light.h"
#include "sim/plant/topology_values.h"

namespace sim {

namespace {

class range_check {
 public:
  explicit range_check(std::string where) : where_(std::move(where)) {}

  void operator()(const char* name, double value, double low, double high, const char* unit) const {
    if (std::isfinite(value) && value >= low && value <= high) return;
    throw topology_error(fmt::format("{}.{}: found {} {}, accepted is {} to {} {}", where_, name,
                                     value, unit, low, high, unit));
  }

 private:
  std::string where_;
};

void check_fibre(fibre_settings fibre, const osc_settings& osc, const std::string& where) {
  const range_check range(where);
  visit_values(fibre, range);
  constexpr double longest_span_db = 28.0;
  constexpr double longest_osc_db = 38.0;
  range("span loss", fibre.span_loss_db(), 1.0, longest_span_db, "dB");
  range("span loss at the supervisory wavelength",
        fibre.span_loss_db() + osc.extra_loss_db_per_km * fibre.length_km, 0.0, longest_osc_db,
        "dB");
}

void check_lit(const std::vector<unsigned>& lit, const models::channel_grid& plan,
               const std::string& where) {
  const auto slots = make_grid(plan.first_center, plan.spacing, plan.channels, plan.group);
  for (const unsigned key : lit) {
    if (std::any_of(slots.begin(), slots.end(), [=](const slot& at) { return at.key == key; }))
      continue;
    throw topology_error(fmt::format("{}.lit: found {}, accepted are the channels {} to {}", where,
                                     key, slots.front().key, slots.back().key));
  }
}

void check_node(node_settings node, const std::string& where) {
  const auto& model = model_of(node);
  visit_values(node, range_check(where));
  visit_devices(node, [&](const char* name, auto& device) {
    visit_values(device, range_check(where + "." + name));
  });
  for (std::size_t i = 0; i < node.taps.size(); ++i) {
    visit_values(node.taps[i], range_check(where + ".taps." + tap_names[i]));
  }
  if (node.lit) check_lit(*node.lit, model.grid, where);
}

void use_fixed_gain_plan(node_settings& node, const models::plant_defaults& model) {
  // A general-purpose node: 80 km of fibre leave room in every attenuator.
  node.booster.gain_db = model.booster_gain;
  node.booster.power_limit_dbm = 20.0;
  node.preamp.gain_db = model.preamp_gain;
  node.preamp.power_limit_dbm = model.preamp_power_limit;
}

}  // namespace

const models::model& model_of(const std::string& product) {
  if (const auto* found = models::find(product)) return *found;
  throw topology_error(fmt::format("product: found '{}', accepted are {}", product,
                                   fmt::join(models::names(), ", ")));
}

node_settings default_node(const std::string& product) {
  const auto& model = model_of(product);
  node_settings node;
  node.product = product;
  node.part_number = model.product_text;
  use_fixed_gain_plan(node, model.plant);
  node.has_voa = model.has_line_voa;
  node.drop_switch_mid_stage = model.plant.drop_switch_mid_stage;
  node.add_switch.max_attenuation_db = static_cast<double>(model.most_attenuation);
  node.drop_switch.max_attenuation_db = node.add_switch.max_attenuation_db;
  node.booster_monitor.offset_db = 0.3;
  node.preamp_monitor.offset_db = -0.2;
  // The noise after the preamp must stay below the lowest level at which a peer asks for detection,
  // so its tap passes less light.
  node.preamp_monitor.tap_loss_db = 20.0;
  node.drop_switch.start_attenuation_db = 5.0;
  constexpr double tap_offsets_db[] = {-0.05, 0.05, 0.08, -0.06, 0.07, -0.04};
  for (std::size_t i = 0; i < node.taps.size(); ++i)
    node.taps[i].offset_db = tap_offsets_db[i];
  node.osc.neighbour = "fe80::2%osc0";
  return node;
}

topology default_topology(const std::string& product, unsigned nodes) {
  topology what;
  what.nodes.assign(nodes, default_node(product));
  if (nodes == 2) what.nodes[1].osc.neighbour = "fe80::1%osc0";
  return what;
}

void check_peer(const topology& what) {
  if (what.peer.empty()) return;
  if (what.nodes.size() == 2) {
    throw topology_error("peer: found beside two nodes, accepted is one for a node alone");
  }
  const auto known = models::simulated_peers();
  if (std::find(known.begin(), known.end(), what.peer) != known.end()) return;
  throw topology_error(
      fmt::format("peer: found '{}', accepted are {}", what.peer, fmt::join(known, ", ")));
}

void check(const topology& what) {
  if (what.nodes.empty() || what.nodes.size() > 2) {
    throw topology_error(fmt::format("nodes: found {}, accepted is 1 or 2", what.nodes.size()));
  }
  for (std::size_t i = 0; i < what.nodes.size(); ++i) {
    check_node(what.nodes[i], fmt::format("nodes[{}]", i));
  }
  if (what.nodes.size() == 2 && model_of(what.nodes[0]).grid != model_of(what.nodes[1]).grid) {
    throw topology_error(
        fmt::format("nodes: found {} facing {}, accepted are products with the same "
                    "channels",
                    what.nodes[0].product, what.nodes[1].product));
  }
  check_peer(what);
  for (std::size_t i = 0; i < what.fibres.size(); ++i) {
    check_fibre(what.fibres[i], what.nodes[std::min(i, what.nodes.size() - 1)].osc,
                fmt::format("fibres[{}]", i));
  }
}

}  // namespace sim
