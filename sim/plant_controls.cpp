// Changes to the light and the devices by tests and the control tree.
#include "sim/nexels/node_trees.h"
#include "sim/plant/device_range.h"
#include "sim/plant/truth.h"
#include "sim/plant_impl.h"

namespace sim {

namespace {

constexpr double most_hidden_loss_db = 30.0;

}  // namespace

void plant::cut_fibre(unsigned fibre) {
  const std::lock_guard lock(impl_->light);
  impl_->system.fibres.at(fibre).set_cut(true);
}

void plant::mend_fibre(unsigned fibre) {
  const std::lock_guard lock(impl_->light);
  impl_->system.fibres.at(fibre).set_cut(false);
}

void plant::cut_line() {
  cut_fibre(0);
  cut_fibre(1);
}

void plant::mend_line() {
  mend_fibre(0);
  mend_fibre(1);
}

void plant::set_span_offset(unsigned fibre, double loss_db) {
  require_range("span offset", loss_db, -10.0, 40.0, "dB");
  const std::lock_guard lock(impl_->light);
  impl_->system.fibres.at(fibre).set_offset(loss_db);
}

void plant::set_span_drift(unsigned fibre, double db_per_day) {
  require_range("span drift", db_per_day, -100.0, 100.0, "dB/day");
  const std::lock_guard lock(impl_->light);
  impl_->system.fibres.at(fibre).set_drift(db_per_day);
}

void plant::set_raman(bool on) {
  const std::lock_guard lock(impl_->light);
  for (fibre_span& fibre : impl_->system.fibres)
    fibre.set_raman(on);
}

laser_settings plant::get_laser(unsigned node, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  return impl_->at(node).lasers[impl_->system.slot_of(channel)].settings();
}

void plant::set_laser(unsigned node, unsigned channel, const laser_settings& settings) {
  const std::lock_guard lock(impl_->light);
  impl_->at(node).lasers[impl_->system.slot_of(channel)].set(settings);
}

void plant::change_laser(unsigned node, unsigned channel,
                         const std::function<void(laser_settings&)>& change) {
  const std::lock_guard lock(impl_->light);
  laser& of = impl_->at(node).lasers[impl_->system.slot_of(channel)];
  laser_settings settings = of.settings();
  change(settings);
  of.set(settings);
}

void plant::switch_laser(unsigned node, unsigned channel, bool on) {
  const std::lock_guard lock(impl_->light);
  impl_->at(node).lasers[impl_->system.slot_of(channel)].switch_to(on);
}

void plant::fill_band(unsigned node) {
  const std::lock_guard lock(impl_->light);
  for (laser& each : impl_->at(node).lasers)
    each.switch_to(true);
}

void plant::dark_band(unsigned node) {
  const std::lock_guard lock(impl_->light);
  for (laser& each : impl_->at(node).lasers)
    each.switch_to(false);
}

void plant::set_tap_offset(unsigned node, tap which, double offset_db) {
  require_range("tap offset", offset_db, -5.0, 5.0, "dB");
  const std::lock_guard lock(impl_->light);
  tap_of(impl_->at(node), which).set_offset(offset_db);
}

void plant::set_tap_drift(unsigned node, tap which, double db_per_day) {
  require_range("tap drift", db_per_day, -100.0, 100.0, "dB/day");
  const std::lock_guard lock(impl_->light);
  tap_of(impl_->at(node), which).set_drift(db_per_day);
}

void plant::set_monitor_offset(unsigned node, direction side, double offset_db) {
  require_range("monitor offset", offset_db, -10.0, 10.0, "dB");
  const std::lock_guard lock(impl_->light);
  monitor_of(impl_->at(node), side).set_offset(offset_db);
}

void plant::set_monitor_stuck(unsigned node, direction side, bool stuck) {
  const std::lock_guard lock(impl_->light);
  monitor_of(impl_->at(node), side).set_stuck(stuck);
}

void plant::repeat_monitor_pass(unsigned node, direction side) {
  const std::lock_guard lock(impl_->light);
  monitor_of(impl_->at(node), side).repeat_next_pass();
}

void plant::set_connector_loss(unsigned node, connector where, double loss_db) {
  require_range("connector loss", loss_db, 0.0, most_hidden_loss_db, "dB");
  const std::lock_guard lock(impl_->light);
  switch (where) {
    case connector::fibre_out:
      return impl_->system.fibres.at(node).set_start_loss(loss_db);
    case connector::fibre_in:
      return impl_->system.fibres.at(1 - node).set_end_loss(loss_db);
    default:
      impl_->at(node).dirt.connectors[static_cast<std::size_t>(where)] = loss_db;
  }
}

void plant::set_client_loss(unsigned node, direction side, unsigned channel, double loss_db) {
  require_range("client loss", loss_db, 0.0, most_hidden_loss_db, "dB");
  const std::lock_guard lock(impl_->light);
  hidden_losses& dirt = impl_->at(node).dirt;
  auto& losses = side == direction::rx ? dirt.client_rx : dirt.client_tx;
  losses[impl_->system.slot_of(channel)] = loss_db;
}

void plant::set_switch_port_loss(unsigned node, direction side, unsigned channel, double loss_db) {
  require_range("switch port loss", loss_db, 0.0, most_hidden_loss_db, "dB");
  const std::lock_guard lock(impl_->light);
  switch_of(impl_->at(node), side).set_port_loss(impl_->system.slot_of(channel), loss_db);
}

void plant::set_gain_deficit(unsigned node, direction side, double deficit_db) {
  require_range("gain deficit", deficit_db, 0.0, 10.0, "dB");
  const std::lock_guard lock(impl_->light);
  amplifier_of(impl_->at(node), side).set_deficit(deficit_db);
}

void plant::drop_power_limit(unsigned node, direction side, double drop_db,
                             std::chrono::nanoseconds duration) {
  require_range("power limit drop", drop_db, 0.0, 10.0, "dB");
  const std::lock_guard lock(impl_->light);
  amplifier_of(impl_->at(node), side)
      .drop_limit(drop_db, std::chrono::duration<double>(duration).count());
}

void plant::set_tended(unsigned node, bool tended) {
  const std::lock_guard lock(impl_->light);
  impl_->system.tended.at(node) = tended;
}

void plant::forget_channels(unsigned node, const std::string& name) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).forget_channels();
}

void plant::set_refuses_known_channels(unsigned node, const std::string& name, bool refuses) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).refuse_known_channels(refuses);
}

void plant::set_optical_switch_stuck(unsigned node, bool stuck) {
  const std::lock_guard lock(impl_->light);
  impl_->at(node).dispersion.stuck = stuck;
}

void plant::set_switch_source(const attenuation_source& source, unsigned node) {
  const std::lock_guard lock(impl_->light);
  for (auto& tree : impl_->trees.at(node))
    set_attenuation_source(*tree, source);
}

}  // namespace sim
