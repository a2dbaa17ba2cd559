// The plant's internals: the light with its lock, the trees of the device services and their
// states. Only for the plant's own files.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/nexels/control_tree.h"
#include "sim/nexels/device_tree.h"
#include "sim/plant.h"
#include "sim/plant/line_system.h"

namespace sim {

struct plant::impl {
  impl(topology given, plant& owner);

  node& at(unsigned number) const { return *system.nodes.at(number); }
  std::size_t index_of(unsigned number, const std::string& name) const;
  device_tree& tree(unsigned number, const std::string& name) const {
    return *trees.at(number)[index_of(number, name)];
  }
  /// After a step of the light by `dt`.
  void publish(std::chrono::nanoseconds dt) const;

  topology what;
  mutable std::mutex light;
  line_system system;
  std::chrono::nanoseconds gathered{0};  // not yet stepped
  std::array<std::vector<std::unique_ptr<device_tree>>, 2> trees;
  std::unique_ptr<sim::control_tree> control;

  mutable std::mutex states_mutex;                 // never held together with `light`
  std::array<std::vector<nexel_state>, 2> states;  // in the order of the trees
  std::vector<state_setter> handlers;
  std::vector<latency_setter> latency_handlers;
  std::vector<std::function<void()>> detach;
};

}  // namespace sim
