#include "sim/plant.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "platform/in_process/network.h"
#include "sim/nexels/node_trees.h"
#include "sim/nexels/peer_tree.h"
#include "sim/plant/board.h"
#include "sim/plant/device_range.h"
#include "sim/plant_impl.h"

namespace sim {

plant::impl::impl(topology given, plant& owner) : what(std::move(given)), system(what) {
  for (unsigned i = 0; i < what.nodes.size(); ++i)
    trees[i] = make_node_trees(light, *system.nodes[i]);
  if (!what.peer.empty()) {
    trees[1].push_back(std::make_unique<peer_tree>(light, system, what.peer));
  }
  control = std::make_unique<sim::control_tree>(light, owner, system);
  for (unsigned i = 0; i < trees.size(); ++i) {
    states[i].assign(trees[i].size(), nexel_state::ok);
    std::vector<std::string> names;
    for (const auto& tree : trees[i]) {
      tree->set_noise(what.seed, fmt::format("node {} {}", i, tree->name()));
      names.push_back(tree->name());
    }
    control->add_nexels(i, names);
  }
}

std::size_t plant::impl::index_of(unsigned number, const std::string& name) const {
  const auto& of_node = trees.at(number);
  for (std::size_t i = 0; i < of_node.size(); ++i) {
    if (of_node[i]->name() == name) return i;
  }
  throw std::out_of_range("no nexel '" + name + "' in node " + std::to_string(number));
}

void plant::impl::publish(std::chrono::nanoseconds dt) const {
  for (const auto& of_node : trees) {
    for (const auto& each : of_node) {
      each->step_faults(dt);
      each->publish();
    }
  }
  control->publish();
}

plant::plant(topology what) {
  check(what);
  impl_ = std::make_unique<impl>(std::move(what), *this);
}

plant::~plant() {
  for (const auto& detach : impl_->detach)
    detach();
}

void plant::step(std::chrono::nanoseconds dt) {
  // Waits of a microsecond are accumulated: nothing in the plant is that fast.
  constexpr std::chrono::milliseconds shortest_step(1);
  const std::lock_guard lock(impl_->light);
  impl_->gathered += dt;
  if (impl_->gathered < shortest_step) return;
  // Published part by part: a long step shows every pass of the monitors, as short ones would.
  while (impl_->gathered.count() > 0) {
    const auto part = std::min(impl_->gathered, line_system::longest_step);
    impl_->system.step(part);
    impl_->publish(part);
    impl_->gathered -= part;
  }
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
  impl_->latency_handlers.emplace_back([&network, node, prefix](unsigned of,
                                                                const std::string& name,
                                                                std::chrono::milliseconds latency) {
    if (of == node) network.set_latency(prefix + nexel_address(name), latency);
  });
}

void plant::set_state_handler(state_setter set_state) {
  const std::lock_guard lock(impl_->states_mutex);
  impl_->handlers.push_back(std::move(set_state));
}

void plant::set_latency_handler(latency_setter set_latency) {
  const std::lock_guard lock(impl_->states_mutex);
  impl_->latency_handlers.push_back(std::move(set_latency));
}

std::string plant::board_file(unsigned node) const {
  const sim::node& of = impl_->at(node);
  return sim::board_file(of.settings, of.booster.ripple_db());
}

// --- States of the services

void plant::set_nexel_state(unsigned node, const std::string& name, nexel_state state) {
  const std::size_t index = impl_->index_of(node, name);
  {
    const std::lock_guard lock(impl_->light);
    device_tree& tree = impl_->tree(node, name);
    tree.set_refusing(state == nexel_state::refusing);
    state == nexel_state::killed ? tree.readings().stopped() : tree.readings().came_back();
  }
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

void plant::set_latency(unsigned node, const std::string& name, std::chrono::milliseconds latency) {
  constexpr double most_ms = 60000.0;
  require_range("latency", static_cast<double>(latency.count()), 0.0, most_ms, "ms");
  const std::size_t index = impl_->index_of(node, name);
  std::vector<latency_setter> handlers;
  {
    const std::lock_guard lock(impl_->states_mutex);
    handlers = impl_->latency_handlers;
  }
  impl_->control->show_latency(node, index, latency);
  for (const latency_setter& handler : handlers)
    handler(node, name, latency);
}

void plant::drop_subscription(unsigned node, const std::string& name, const std::string& path) {
  impl_->tree(node, name).drop_subscriptions(path);
}

}  // namespace sim
