#include "tests/support/plant_node.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

#include "device/hardware/tdcm.h"
#include "products/factory.h"

namespace test {

plant_node::plant_node(sim::topology topology)
    : plant_stage(std::move(topology)),
      channels_by_command_(sim::model_of(plant_->get_topology().nodes.front()).plan ==
                           models::plan_kind::by_command) {
  plant_->attach_to(network_);
  // The twin switch of the selka models follows the node's store.
  plant_->set_switch_source([this](const std::string& module, unsigned channel) {
    const auto stored = store_.attenuation(module, channel);
    return stored.empty() ? std::nullopt : std::optional(std::stod(stored));
  });
  device::hardware::tdcm::forget_for_test();
  create_manager();
}

plant_node::~plant_node() {
  end_time();
  manager_.reset();
  if (faces_far_end_) network_.detach(peer_address);
  tree_.reset();
}

void plant_node::create_manager() {
  poller_ = std::make_shared<nx::manual_poller>();
  tree_ = std::make_unique<nx_db>(poller_);
  tree_->set_clock([this] { return clock_->system_now(); });
  manager_ = products::create_manager(plant_->get_topology().nodes.front().product);
  if (!manager_) throw std::invalid_argument("no manager for this product");
}

void plant_node::end_manager() {
  clock_->run_beside([this] { manager_.reset(); }, leds_end);
}

void plant_node::restart() {
  end_manager();
  if (!own_address_.empty()) network_.detach(own_address_);
  tree_.reset();
  create_manager();
  if (!own_address_.empty()) face_itself();
  start();
}

void plant_node::start() {
  manager_->start(*tree_);
}

void plant_node::add_channel(unsigned centre) {
  run("command/channel/add", fmt::format(R"({{"center":{},"width":10000,"port":2}})", centre));
  regulate(centre);
}

void plant_node::regulate(unsigned centre) {
  for (const char* side : {"rx", "tx"})
    write(fmt::format("config/client/{}/{}/opticalControlMode", centre, side), "\"power\"");
}

void plant_node::add_channels() {
  if (!channels_by_command_) return;
  for (const auto centre : channels())
    add_channel(centre);
}

void plant_node::face_far_end() {
  network_.attach(peer_address, plant_->nexel_tree("peer", 1));
  faces_far_end_ = true;
}

void plant_node::face_itself() {
  const auto& neighbour = plant_->get_topology().nodes.front().osc.neighbour;
  own_address_ = fmt::format("[{}]:5100", neighbour);
  network_.attach(own_address_, *tree_);
}

std::set<std::string> plant_node::devices() const {
  std::set<std::string> names;
  const auto folder = sim::plant::nexel_address("");
  for (const auto& address : network_.addresses_in_use()) {
    if (address.starts_with(folder)) names.insert(address.substr(folder.size()));
  }
  return names;
}

void plant_node::cycle() {
  run_for(std::chrono::nanoseconds(0));
}

void plant_node::run_for(std::chrono::nanoseconds duration) {
  bool running = true;
  clock_->at(clock_->elapsed() + duration, [&running] { running = false; });
  manager_->run(*tree_, &running);
}

bool plant_node::run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit) {
  const auto end = now() + limit;
  while (!condition()) {
    if (now() >= end) return false;
    cycle();
  }
  return true;
}

bool plant_node::is_fully_operational() {
  take_log();
  cycle();
  return count_of(take_log(), "Manager not fully operational") == 0;
}

void plant_node::disturb(unsigned channel, double db) {
  plant_->change_laser(0, channel, [db](sim::laser_settings& laser) {
    laser.power_dbm += db;
    laser.ramp_s = 0.0;
  });
}

}  // namespace test
