// The true state, whatever the read-outs say.
#include "sim/plant/truth.h"
#include "sim/plant_impl.h"

namespace sim {

std::vector<unsigned> plant::channels() const {
  std::vector<unsigned> keys;
  for (const slot& each : impl_->system.slots)
    keys.push_back(each.key);
  return keys;
}

double plant::channel_power_dbm(unsigned node, measuring_point where, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  return sim::channel_power_dbm(impl_->at(node), where, impl_->system.slot_of(channel));
}

double plant::total_power_dbm(unsigned node, measuring_point where) const {
  const std::lock_guard lock(impl_->light);
  return sim::total_power_dbm(impl_->at(node), where);
}

double plant::channel_osnr_db(unsigned node, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  const auto& beam = impl_->at(node).at(measuring_point::preamp_output);
  return osnr_db(beam, impl_->system.slots, impl_->system.slot_of(channel));
}

double plant::switch_attenuation_db(unsigned node, direction side, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  const sim::node& of = impl_->at(node);
  return switch_of(of, side).true_attenuation_db(impl_->system.slot_of(channel));
}

double plant::shown_attenuation_db(unsigned node, direction side, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  return switch_of(impl_->at(node), side).shown_attenuation_db(impl_->system.slot_of(channel));
}

double plant::voa_attenuation_db(unsigned node) const {
  const std::lock_guard lock(impl_->light);
  return impl_->at(node).voa.true_attenuation_db();
}

double plant::amplifier_gain_db(unsigned node, direction side) const {
  const std::lock_guard lock(impl_->light);
  return amplifier_of(impl_->at(node), side).true_gain_db();
}

double plant::amplifier_saturation_db(unsigned node, direction side) const {
  const std::lock_guard lock(impl_->light);
  return amplifier_of(impl_->at(node), side).saturation_db();
}

double plant::span_loss_db(unsigned fibre) const {
  const std::lock_guard lock(impl_->light);
  return impl_->system.fibres.at(fibre).span_loss_db();
}

double plant::booster_target_dbm(unsigned node, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  return impl_->system.booster_target_dbm(node, impl_->system.slot_of(channel));
}

bool plant::osc_ready(unsigned node) const {
  const std::lock_guard lock(impl_->light);
  return impl_->at(node).osc.ready();
}

double plant::compensation_ps_per_nm(unsigned node) const {
  const std::lock_guard lock(impl_->light);
  const dispersion_module& of = impl_->at(node).dispersion;
  return of.tunable_ps_per_nm + (of.path == 1 ? fixed_module_ps_per_nm : 0.0);
}

write_counters plant::channel_writes(unsigned node, direction side, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  const sim::node& of = impl_->at(node);
  return switch_of(of, side).counters(impl_->system.slot_of(channel));
}

unsigned plant::switch_writes(unsigned node, direction side) const {
  const std::lock_guard lock(impl_->light);
  const sim::node& of = impl_->at(node);
  const auto counters = switch_of(of, side).all_counters();
  return counters.switch_attenuation + counters.switch_port;
}

unsigned plant::voa_writes(unsigned node) const {
  const std::lock_guard lock(impl_->light);
  return impl_->at(node).voa.writes;
}

unsigned plant::amplifier_writes(unsigned node, direction side) const {
  const std::lock_guard lock(impl_->light);
  return amplifier_of(impl_->at(node), side).writes;
}

void plant::reset_counters() {
  const std::lock_guard lock(impl_->light);
  for (const auto& of_node : impl_->trees) {
    for (const auto& tree : of_node)
      tree->writes().reset_count();
  }
  for (const auto& of : impl_->system.nodes) {
    of->add_switch.reset_counters();
    of->drop_switch.reset_counters();
    of->voa.writes = 0;
    of->booster.writes = 0;
    of->preamp.writes = 0;
  }
}

}  // namespace sim
