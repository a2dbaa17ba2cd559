#include "tests/support/plant_pair.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "base/manager/automation.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/socket_path.h"
#include "products/factory.h"
#include "tests/support/daemon_surroundings.h"
#include "tests/support/tree_values.h"

namespace test {

using namespace std::chrono_literals;

plant_pair::plant_pair(sim::topology topology)
    : plant_(std::make_unique<sim::plant>(std::move(topology))),
      clock_(std::make_shared<hand_clock>([this](std::chrono::nanoseconds piece) { step(piece); })),
      channels_(plant_->channels()) {
  helpers::waiting::instance().set_source(clock_);
  automation::instance().set("managedCLI");
  logger::instance().level = 2;
  note_log::set_observer([this](const note_log::record& record) {
    const std::lock_guard lock(log_mutex_);
    log_.push_back(record.text);
  });
  network_.set_wait([this](std::chrono::milliseconds time) { clock_->sleep_in_call(time); });
  network_.set_clock([this] { return clock_->steady_now(); });
  prepare_memory_store();
  load_board_file(plant_->board_file());
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
  helpers::waiting::instance().stop();
  clock_->interrupt();
  for (const auto& node : nodes_) {
    if (node->thread.joinable()) node->thread.join();
  }
  for (const auto& node : nodes_)
    node->manager.reset();
  for (unsigned i = 0; i < nodes_.size(); ++i)
    network_.detach(peer_address(i));
  note_log::set_observer({});
  helpers::waiting::instance().set_source(nullptr);
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
  it.started = false;
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
}

void plant_pair::stop_manager(unsigned node) {
  auto& it = *nodes_[node];
  network_.set_state(peer_address(node), nx::link_state::dead);
  std::atomic_ref(it.running).store(false);
  // The rest of its cycle is a moment in which it can still be seen to act, so it ends at once.
  clock_->sleep(2s);
  it.thread.join();
  // Its LED thread sees the end at its next look, a second of plant time away.
  std::jthread destroyer([&it] { it.manager.reset(); });
  clock_->sleep(2s);
  destroyer.join();
  network_.detach(peer_address(node));
  it.tree.reset();
  it.poller.reset();
}

void plant_pair::set_peer_link(unsigned node, nx::link_state state) {
  network_.set_state(peer_address(node), state);
}

void plant_pair::step(std::chrono::nanoseconds piece) {
  plant_->step(piece);
  unpolled_ += piece;
  if (clock_->is_held()) {
    network_.retry_subscriptions();
    return;
  }
  network_.deliver();
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(unpolled_);
  unpolled_ -= whole;
  for (const auto& node : nodes_) {
    if (node->poller) node->poller->advance(whole);
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

float plant_pair::number(unsigned node, const std::string& path) {
  return number_of(tree(node), path);
}

std::string plant_pair::text(unsigned node, const std::string& path) {
  return text_of(tree(node), path);
}

std::optional<float> plant_pair::try_number(unsigned node, const std::string& path) {
  try {
    return number(node, path);
  } catch (const nx_error&) {
    return std::nullopt;
  }
}

double plant_pair::true_error(unsigned node, unsigned channel) {
  return plant_->channel_power_dbm(node, sim::measuring_point::booster_output, channel) -
         plant_->booster_target_dbm(node, channel);
}

bool plant_pair::all_on_target(unsigned node, double within_db) {
  for (const auto channel : channels_) {
    if (std::fabs(true_error(node, channel)) >= within_db) return false;
  }
  return true;
}

std::vector<std::string> plant_pair::take_log() {
  const std::lock_guard lock(log_mutex_);
  return std::exchange(log_, {});
}

}  // namespace test
