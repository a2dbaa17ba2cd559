#include "sim/nexels/node_trees.h"

#include "sim/nexels/amplifier_tree.h"
#include "sim/nexels/dispersion_trees.h"
#include "sim/nexels/line_trees.h"
#include "sim/nexels/panel_trees.h"
#include "sim/nexels/port_monitor_tree.h"
#include "sim/nexels/spectrum_tree.h"
#include "sim/nexels/twin_switch_tree.h"

namespace sim {

std::vector<std::unique_ptr<device_tree>> make_node_trees(std::mutex& light, node& of) {
  const auto& model = model_of(of.settings);
  std::vector<std::unique_ptr<device_tree>> trees;
  trees.push_back(std::make_unique<system_info_tree>(light, of.settings));
  trees.push_back(std::make_unique<system_start_tree>(light, of.settings));
  trees.push_back(std::make_unique<amplifier_tree>("preamp", light, of.preamp));
  trees.push_back(std::make_unique<amplifier_tree>("booster", light, of.booster));
  trees.push_back(std::make_unique<osc_tree>(light, of.osc));
  trees.push_back(std::make_unique<sfp_tree>(light, of.osc));
  trees.push_back(std::make_unique<led_tree>(light, model.panel));
  if (of.settings.has_voa) trees.push_back(std::make_unique<voa_tree>(light, of.voa));
  if (model.kin == models::family::selka) {
    trees.push_back(std::make_unique<twin_switch_tree>(light, of));
    trees.push_back(std::make_unique<port_monitor_tree>(light, of));
  } else {
    trees.push_back(std::make_unique<spectrum_tree>(light, of));
  }
  if (model.has_compensator) {
    trees.push_back(
        std::make_unique<compensator_tree>(light, of.dispersion, of.settings.compensator));
    trees.push_back(std::make_unique<optical_switch_tree>(light, of.dispersion));
  }
  return trees;
}

void set_attenuation_source(device_tree& tree, const plant::attenuation_source& source) {
  if (auto* twin = dynamic_cast<twin_switch_tree*>(&tree)) twin->set_source(source);
}

}  // namespace sim
