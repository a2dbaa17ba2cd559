#include "sim/plant.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <stdexcept>

#include "platform/nexel_client/in_process.h"
#include "sim/nexels/control_tree.h"
#include "sim/nexels/node_trees.h"
#include "sim/nexels/peer_tree.h"
#include "sim/plant/board.h"
#include "sim/plant/device_range.h"
#include "sim/plant/line_system.h"
#include "sim/plant/truth.h"

namespace sim {

struct plant::impl {
  impl(topology given, plant& owner) : what(std::move(given)), system(what) {
    for (unsigned i = 0; i < what.nodes.size(); ++i)
      trees[i] = make_node_trees(light, *system.nodes[i]);
    if (!what.peer.empty()) {
      trees[1].push_back(std::make_unique<peer_tree>(light, system, what.peer));
    }
    control = std::make_unique<sim::control_tree>(light, owner, system);
    for (unsigned i = 0; i < trees.size(); ++i) {
      states[i].assign(trees[i].size(), nexel_state::ok);
      std::vector<std::string> names;
      for (const auto& tree : trees[i])
        names.push_back(tree->name());
      control->add_nexels(i, names);
    }
  }

  node& at(unsigned number) const { return *system.nodes.at(number); }
  std::size_t index_of(unsigned number, const std::string& name) const;
  device_tree& tree(unsigned number, const std::string& name) const {
    return *trees.at(number)[index_of(number, name)];
  }
  void publish() const;

  topology what;
  mutable std::mutex light;
  line_system system;
  std::chrono::nanoseconds gathered{0};  // not yet stepped
  std::array<std::vector<std::unique_ptr<device_tree>>, 2> trees;
  std::unique_ptr<sim::control_tree> control;

  mutable std::mutex states_mutex;                 // never held together with `light`
  std::array<std::vector<nexel_state>, 2> states;  // in the order of the trees
  std::vector<state_setter> handlers;
  std::vector<std::function<void()>> detach;
};

std::size_t plant::impl::index_of(unsigned number, const std::string& name) const {
  const auto& of_node = trees.at(number);
  for (std::size_t i = 0; i < of_node.size(); ++i) {
    if (of_node[i]->name() == name) return i;
  }
  throw std::out_of_range("no nexel '" + name + "' in node " + std::to_string(number));
}

void plant::impl::publish() const {
  for (const auto& of_node : trees) {
    for (const auto& each : of_node)
      each->publish();
  }
  control->publish();
}

plant::plant(topology what) : impl_() {
  check(what);
  impl_ = std::make_unique<impl>(std::move(what), *this);
}

plant::~plant() {
  for (const auto& detach : impl_->detach)
    detach();
}

void plant::step(std::chrono::nanoseconds dt) {
  // Waits of a microsecond are gathered: nothing in the plant is that quick.
  constexpr std::chrono::milliseconds shortest_step(1);
  const std::lock_guard lock(impl_->light);
  impl_->gathered += dt;
  if (impl_->gathered < shortest_step) return;
  // Published part by part: a long step shows every pass of the monitors, as a short one would.
  while (impl_->gathered.count() > 0) {
    const auto part = std::min(impl_->gathered, line_system::longest_step);
    impl_->system.step(part);
    impl_->publish();
    impl_->gathered -= part;
  }
}

std::chrono::nanoseconds plant::time() const {
  const std::lock_guard lock(impl_->light);
  return impl_->system.time() + impl_->gathered;
}

const topology& plant::get_topology() const {
  return impl_->what;
}

// --- Trees

std::vector<std::string> plant::nexel_names(unsigned node) const {
  std::vector<std::string> names;
  for (const auto& tree : impl_->trees.at(node))
    names.push_back(tree->name());
  return names;
}

nx_db& plant::nexel_tree(const std::string& name, unsigned node) {
  return impl_->tree(node, name).db();
}

nx_db& plant::control_tree() {
  return impl_->control->db();
}

std::string plant::nexel_address(const std::string& name) {
  return "/tmp/nexels/" + name;
}

void plant::attach_to(nx::in_process_network& network, unsigned node, const std::string& prefix) {
  for (const auto& tree : impl_->trees.at(node)) {
    const std::string address = prefix + nexel_address(tree->name());
    network.attach(address, tree->db());
    impl_->detach.emplace_back([&network, address] { network.detach(address); });
  }
  const std::lock_guard lock(impl_->states_mutex);
  impl_->handlers.emplace_back(
      [&network, node, prefix](unsigned of, const std::string& name, nexel_state state) {
        if (of != node) return;
        const auto link = state == nexel_state::killed ? nx::link_state::dead
                          : state == nexel_state::hung ? nx::link_state::hung
                                                       : nx::link_state::up;
        network.set_state(prefix + nexel_address(name), link);
      });
}

void plant::set_state_handler(state_setter set_state) {
  const std::lock_guard lock(impl_->states_mutex);
  impl_->handlers.push_back(std::move(set_state));
}

std::string plant::board_file(unsigned node) const {
  const sim::node& of = impl_->at(node);
  return sim::board_file(of.settings, of.booster.ripple_db());
}

// --- Controls

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

void plant::set_tended(unsigned node, bool tended) {
  const std::lock_guard lock(impl_->light);
  impl_->system.tended.at(node) = tended;
}

void plant::set_nexel_state(unsigned node, const std::string& name, nexel_state state) {
  const std::size_t index = impl_->index_of(node, name);
  impl_->tree(node, name).set_refusing(state == nexel_state::refusing);
  std::vector<state_setter> handlers;
  {
    const std::lock_guard lock(impl_->states_mutex);
    impl_->states[node][index] = state;
    handlers = impl_->handlers;
  }
  impl_->control->show_nexel_state(node, index, state);
  for (const state_setter& handler : handlers)
    handler(node, name, state);
}

nexel_state plant::get_nexel_state(unsigned node, const std::string& name) const {
  const std::lock_guard lock(impl_->states_mutex);
  return impl_->states.at(node)[impl_->index_of(node, name)];
}

void plant::drop_subscription(unsigned node, const std::string& name, const std::string& path) {
  impl_->tree(node, name).drop_subscriptions(path);
}

void plant::forget_channels(unsigned node, const std::string& name) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).forget_channels();
}

void plant::set_optical_switch_stuck(unsigned node, bool stuck) {
  const std::lock_guard lock(impl_->light);
  impl_->at(node).dispersion.stuck = stuck;
}

void plant::set_switch_source(attenuation_source source, unsigned node) {
  const std::lock_guard lock(impl_->light);
  for (auto& tree : impl_->trees.at(node))
    set_attenuation_source(*tree, source);
}

// --- Truth

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

double plant::raman_tilt_db(unsigned fibre) const {
  const std::lock_guard lock(impl_->light);
  return impl_->system.fibres.at(fibre).raman_tilt_db();
}

double plant::booster_target_dbm(unsigned node, unsigned channel) const {
  const std::lock_guard lock(impl_->light);
  return impl_->system.booster_target_dbm(node, impl_->system.slot_of(channel));
}

bool plant::osc_ready(unsigned node) const {
  const std::lock_guard lock(impl_->light);
  return impl_->at(node).osc.ready();
}

unsigned plant::monitor_passes(unsigned node, direction side) const {
  const std::lock_guard lock(impl_->light);
  const sim::node& of = impl_->at(node);
  return monitor_of(of, side).passes();
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
  return switch_of(of, side).all_counters().switch_attenuation;
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
  for (const auto& of : impl_->system.nodes) {
    of->add_switch.reset_counters();
    of->drop_switch.reset_counters();
    of->voa.writes = 0;
    of->booster.writes = 0;
    of->preamp.writes = 0;
  }
}

}  // namespace sim
