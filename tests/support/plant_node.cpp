#include "tests/support/plant_node.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/manager/automation.h"
#include "device/hardware/tdcm.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/note_log/note_log.h"
#include "products/factory.h"
#include "tests/support/daemon_surroundings.h"
#include "tests/support/tree_values.h"

namespace test {

namespace {

/// The twin switch of the selka models follows the node's store.
std::optional<double> stored_attenuation(const std::string& module, unsigned channel) {
  const auto text = kvs_memory::get(
      fmt::format("{{conf}}:nx/wss:config/module/{}/channel/{}/attenuation", module, channel));
  if (text.empty()) return std::nullopt;
  return std::stod(text);
}

}  // namespace

plant_node::plant_node(sim::topology topology)
    : plant_(std::make_unique<sim::plant>(std::move(topology))),
      clock_(std::make_shared<hand_clock>([this](std::chrono::nanoseconds piece) { step(piece); })),
      channels_(plant_->channels()),
      channels_by_command_(plant_->get_topology().nodes.front().product.starts_with("selka")) {
  helpers::waiting::instance().set_source(clock_);
  automation::instance().set("managedCLI");
  logger::instance().level = 2;
  note_log::set_observer([this](const note_log::record& record) { take_line(record.text); });
  plant_->attach_to(network_);
  plant_->set_switch_source(stored_attenuation);
  network_.set_wait([this](std::chrono::milliseconds time) { clock_->sleep_in_call(time); });
  network_.set_clock([this] { return clock_->steady_now(); });
  prepare_memory_store();
  load_board_file(plant_->board_file());
  device::hardware::tdcm::forget_for_test();
  create_manager();
}

void plant_node::create_manager() {
  poller_ = std::make_shared<nx::manual_poller>();
  tree_ = std::make_unique<nx_db>(poller_);
  tree_->set_clock([this] { return clock_->system_now(); });
  manager_ = products::create_manager(plant_->get_topology().nodes.front().product);
  if (!manager_) throw std::invalid_argument("no manager for this product");
}

void plant_node::end_manager() {
  // Its LED thread sees the end at its next look, a second of plant time away.
  std::atomic<bool> ended{false};
  const std::jthread destroyer([&] {
    manager_.reset();
    ended = true;
  });
  while (!ended)
    clock_->sleep(std::chrono::milliseconds(100));
}

void plant_node::restart() {
  end_manager();
  tree_.reset();
  create_manager();
  start();
}

plant_node::~plant_node() {
  helpers::waiting::instance().stop();
  clock_->interrupt();
  manager_.reset();
  tree_.reset();
  note_log::set_observer({});
  helpers::waiting::instance().set_source(nullptr);
}

void plant_node::step(std::chrono::nanoseconds piece) {
  plant_->step(piece);
  unpolled_ += piece;
  // Inside a device call this thread may hold what a getter or the receiver of an event waits for:
  // pollers and executors of their own would wait for the end of the call.
  if (clock_->is_held()) {
    network_.retry_subscriptions();
    return;
  }
  network_.deliver();
  // The poller counts in whole milliseconds; what is left over waits for the next step.
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(unpolled_);
  unpolled_ -= whole;
  poller_->advance(whole);
}

void plant_node::start() {
  manager_->start(*tree_);
}

void plant_node::add_channel(unsigned centre) {
  run("command/channel/add", fmt::format(R"({{"center":{},"width":10000,"port":2}})", centre));
  for (const char* side : {"rx", "tx"})
    write(fmt::format("config/client/{}/{}/opticalControlMode", centre, side), "\"power\"");
}

void plant_node::add_channels() {
  if (!channels_by_command_) return;
  for (const auto centre : channels_)
    add_channel(centre);
}

void plant_node::face_itself() {
  const auto& neighbour = plant_->get_topology().nodes.front().osc.neighbour;
  network_.attach(fmt::format("[{}]:5100", neighbour), *tree_);
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
  bool running = true;
  clock_->at(clock_->elapsed(), [&running] { running = false; });
  manager_->run(*tree_, &running);
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

float plant_node::number(const std::string& path) {
  return number_of(*tree_, path);
}

std::string plant_node::text(const std::string& path) {
  return text_of(*tree_, path);
}

bool plant_node::flag(const std::string& path) {
  return flag_of(*tree_, path);
}

void plant_node::write(const std::string& path, const std::string& json) {
  write_to(*tree_, path, json);
}

void plant_node::run(const std::string& path, const std::string& json) {
  run_at(*tree_, path, json);
}

double plant_node::true_error(unsigned channel) {
  return plant_->channel_power_dbm(0, sim::measuring_point::booster_output, channel) -
         plant_->booster_target_dbm(0, channel);
}

bool plant_node::on_target(unsigned channel, double within_db) {
  return std::fabs(true_error(channel)) < within_db;
}

bool plant_node::all_on_target(double within_db) {
  for (const auto channel : channels_) {
    if (!on_target(channel, within_db)) return false;
  }
  return true;
}

void plant_node::take_line(const std::string& text) {
  std::function<void()> action;
  {
    const std::lock_guard lock(log_mutex_);
    log_.push_back(text);
    if (at_awaited_line_ && text.starts_with(awaited_line_)) {
      action = std::exchange(at_awaited_line_, nullptr);
    }
  }
  if (action) action();
}

void plant_node::at_log_line(std::string beginning, std::function<void()> action) {
  const std::lock_guard lock(log_mutex_);
  awaited_line_ = std::move(beginning);
  at_awaited_line_ = std::move(action);
}

log_lines plant_node::take_log() {
  const std::lock_guard lock(log_mutex_);
  return std::exchange(log_, {});
}

}  // namespace test
