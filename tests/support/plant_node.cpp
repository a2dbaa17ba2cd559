#include "tests/support/plant_node.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <utility>

#include "base/manager/automation.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
#include "helpers/redis.h"
#include "helpers/waiting.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "products/factory.h"

namespace test {

plant_node::plant_node(sim::topology topology)
    : plant_(std::make_unique<sim::plant>(std::move(topology))),
      clock_(std::make_shared<hand_clock>([this](std::chrono::nanoseconds piece) { step(piece); })),
      poller_(std::make_shared<nx::manual_poller>()),
      tree_(std::make_unique<nx_db>(poller_)),
      channels_(plant_->channels()) {
  helpers::waiting::instance().set_source(clock_);
  automation::instance().set("managedCLI");
  logger::instance().level = 2;
  note_log::set_observer([this](const note_log::record& record) {
    const std::lock_guard lock(log_mutex_);
    log_.push_back(record.text);
  });
  plant_->attach_to(network_);
  network_.set_wait([this](std::chrono::milliseconds time) {
    in_device_call_ = true;
    clock_->sleep(time);
    in_device_call_ = false;
  });
  tree_->set_clock([this] { return clock_->system_now(); });
  prepare_store();
  load_board();
  manager_ = products::create_manager(plant_->get_topology().nodes.front().product);
  if (!manager_) throw std::invalid_argument("no manager for this product");
}

plant_node::~plant_node() {
  helpers::waiting::instance().stop();
  clock_->interrupt();
  manager_.reset();
  tree_.reset();
  note_log::set_observer({});
  helpers::waiting::instance().set_source(nullptr);
}

void plant_node::prepare_store() {
  setenv("KVS_URL", "memory:", 1);
  setenv("REDIS_CONF_HASH_TAG", "{conf}", 1);
  setenv("REDIS_DATA_HASH_TAG", "{data}", 1);
  kvs_memory::clear();
  kvs_memory::set_available(true);
  kvs_memory::set("{data}:qz:status", "ok");
  kvs_memory::set("{conf}:qz:mounts", "/mnt/store");
  kvs_memory::set("{data}:nx/system/info:data/swVersion", "1.0.0");
  redis::instance().reset_for_test();
}

void plant_node::load_board() {
  auto path = (std::filesystem::temp_directory_path() / "lumora_board_XXXXXX").string();
  const int file = mkstemp(path.data());
  if (file < 0) throw std::runtime_error("no temporary file for the board's calibration");
  std::ofstream(path) << plant_->board_file();
  calibration::instance().reset();
  calibration::instance().read_calibration_values(path);
  std::filesystem::remove(path);
  close(file);
}

void plant_node::step(std::chrono::nanoseconds piece) {
  plant_->step(piece);
  network_.deliver();
  // The poller counts in whole milliseconds; what is left over waits for the next step. Inside a
  // device call, and in the short sleeps between the looks at a new subscription, this thread may
  // hold what a getter waits for: a poller of its own would wait for the end of the call.
  constexpr std::chrono::milliseconds shortest_sleep_of_a_cycle{1};
  unpolled_ += piece;
  if (in_device_call_ || piece < shortest_sleep_of_a_cycle) return;
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(unpolled_);
  unpolled_ -= whole;
  poller_->advance(whole);
}

void plant_node::start() {
  manager_->start(*tree_);
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

namespace {

rapidjson::Document read_value(nx_db& tree, const std::string& path) {
  rapidjson::Document result(rapidjson::kObjectType);
  const auto node = tree.find(path);
  if (!node) throw std::runtime_error("no such path: " + path);
  node->get(path, result.GetAllocator(), result);
  rapidjson::Document value;
  value.CopyFrom(result[path.c_str()], value.GetAllocator());
  return value;
}

}  // namespace

float plant_node::number(const std::string& path) {
  return nx::from_json<float>(read_value(*tree_, path));
}

std::string plant_node::text(const std::string& path) {
  return nx::from_json<std::string>(read_value(*tree_, path));
}

bool plant_node::flag(const std::string& path) {
  return nx::from_json<bool>(read_value(*tree_, path));
}

void plant_node::write(const std::string& path, const std::string& json) {
  const auto node = tree_->find(path);
  if (!node) throw std::runtime_error("no such path: " + path);
  node->set(path, nx::parse_json(json));
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

log_lines plant_node::take_log() {
  const std::lock_guard lock(log_mutex_);
  return std::exchange(log_, {});
}

}  // namespace test
