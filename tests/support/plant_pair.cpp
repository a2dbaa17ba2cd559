#include "tests/support/plant_pair.h"

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "platform/wire/socket_path.h"
#include "products/factory.h"

namespace test {

using namespace std::chrono_literals;

plant_pair::plant_pair(sim::topology topology) : plant_stage(std::move(topology)) {
  for (unsigned i = 0; i < nodes_.size(); ++i) {
    nodes_[i] = std::make_unique<managed_node>();
    nodes_[i]->root = folder_.file(fmt::format("node{}", i));
    std::filesystem::create_directories(nodes_[i]->root + "/tmp");
    plant_->attach_to(network_, i, nodes_[i]->root);
  }
}

plant_pair::~plant_pair() {
  for (const auto& node : nodes_)
    std::atomic_ref(node->running).store(false);
  end_time();
  for (const auto& node : nodes_) {
    if (node->thread.joinable()) node->thread.join();
  }
  for (const auto& node : nodes_)
    node->manager.reset();
  for (unsigned i = 0; i < nodes_.size(); ++i)
    network_.detach(peer_address(i));
}

std::string plant_pair::peer_address(unsigned node) {
  return fmt::format("[fe80::{}%osc0]:5100", node + 1);
}

void plant_pair::start() {
  start_manager(0);
  start_manager(1);
}

void plant_pair::start_manager(unsigned node) {
  auto& it = *nodes_[node];
  it.poller = std::make_shared<nx::manual_poller>();
  it.tree = std::make_unique<nx_db>(it.poller);
  it.tree->set_clock([this] { return clock_->system_now(); });
  it.manager = products::create_manager(plant_->get_topology().nodes[node].product);
  if (!it.manager) throw std::invalid_argument("no manager for this product");
  network_.attach(peer_address(node), *it.tree);
  network_.set_state(peer_address(node), nx::link_state::up);
  it.running = true;
  it.started = it.ended = false;
  it.thread = clock_->start_turn_taker([this, &it] { run_manager(it); });
  if (!run_until([&] { return it.started.load(); }, 60s)) {
    throw std::runtime_error("a manager does not come up");
  }
}

void plant_pair::run_manager(managed_node& node) {
  const nx::thread_root root(node.root);
  node.manager->start(*node.tree);
  node.started = true;
  node.manager->run(*node.tree, &node.running);
  node.ended = true;
}

void plant_pair::write(unsigned node, const std::string& path, const std::string& json) {
  if (!run_until([this] { return !clock_->is_in_call(); }, 60s)) {
    throw std::runtime_error("a call to a device does not end");
  }
  write_to(tree(node), path, json);
}

void plant_pair::stop_manager(unsigned node) {
  auto& it = *nodes_[node];
  network_.set_state(peer_address(node), nx::link_state::dead);
  std::atomic_ref(it.running).store(false);
  // The rest of its cycle is a moment in which it can still be seen to act, so it ends at once.
  clock_->sleep(2s);
  // A cycle that waits for silent devices takes longer, and time has to go on for it.
  if (!run_until([&it] { return it.ended.load(); }, 60s)) {
    throw std::runtime_error("a manager does not end");
  }
  it.thread.join();
  clock_->run_beside([&it] { it.manager.reset(); }, leds_end);
  network_.detach(peer_address(node));
  it.tree.reset();
  it.poller.reset();
}

void plant_pair::set_peer_link(unsigned node, nx::link_state state) {
  network_.set_state(peer_address(node), state);
}

void plant_pair::poll(std::chrono::milliseconds passed) {
  for (const auto& node : nodes_) {
    if (node->poller) node->poller->advance(passed);
  }
}

bool plant_pair::run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit) {
  const auto end = now() + limit;
  while (!condition()) {
    if (now() >= end) return false;
    clock_->sleep(100ms);
  }
  return true;
}

}  // namespace test
