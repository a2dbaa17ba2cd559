// One whole manager on the simulated plant: real loops, real proxies, in-process trees, a store in
// memory and a clock that is moved by hand. Nothing here sleeps or opens a socket.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/manager/interface.h"
#include "platform/nexel_client/in_process.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/poll_scheduler.h"
#include "sim/plant.h"
#include "tests/support/hand_clock.h"

namespace test {

/// A stretch of cycles' worth of log lines that the daemon wrote at level 2.
using log_lines = std::vector<std::string>;

class plant_node {
 public:
  explicit plant_node(const std::string& product) : plant_node(sim::default_topology(product)) {}
  explicit plant_node(sim::topology topology);
  ~plant_node();

  /// Builds the manager; its waits move time.
  void start();
  /// The manager ends and another takes its place: devices and store keep what they have.
  void restart();
  /// For whoever starts the manager itself.
  std::shared_ptr<manager::interface>& manager() { return manager_; }
  /// On the models whose channels come by command: all of them, in a mode that regulates. Nothing
  /// on the others.
  void add_channels();
  void add_channel(unsigned centre);
  bool has_channels_by_command() const { return channels_by_command_; }
  /// Runs whole cycles until at least this much time has gone by.
  void run_for(std::chrono::nanoseconds duration);
  /// One cycle of the main loop, its sleep included.
  void cycle();
  /// Cycles until the condition holds; fails the test and returns false after `limit`.
  bool run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit);

  /// Makes the node its own peer: one that is known, where its model is, and has every value.
  void face_itself();

  /// Names of the devices that the manager holds on to: "booster", "sfp/0".
  std::set<std::string> devices() const;

  sim::plant& plant() { return *plant_; }
  nx_db& tree() { return *tree_; }
  hand_clock& clock() { return *clock_; }
  nx::in_process_network& network() { return network_; }
  std::chrono::nanoseconds now() const { return clock_->elapsed(); }

  /// Values of the daemon's tree; a value in error fails the test.
  float number(const std::string& path);
  std::string text(const std::string& path);
  bool flag(const std::string& path);
  void write(const std::string& path, const std::string& json);
  /// A command; throws what its client would be answered with.
  void run(const std::string& path, const std::string& json);

  /// Truth of the plant less the channel's target at the booster, dB.
  double true_error(unsigned channel);
  /// What the daemon sees: reading plus calibration less target.
  bool on_target(unsigned channel, double within_db = 0.5);
  bool all_on_target(double within_db = 0.5);
  const std::vector<unsigned>& channels() const { return channels_; }

  /// Lines of level 2 since the last call.
  log_lines take_log();
  /// Calls `action` once, at the next log line that begins so: between two steps of an operation.
  void at_log_line(std::string beginning, std::function<void()> action);

 private:
  void step(std::chrono::nanoseconds piece);
  void create_manager();
  void end_manager();
  void take_line(const std::string& text);

  nx::in_process_network network_;
  std::unique_ptr<sim::plant> plant_;
  std::shared_ptr<hand_clock> clock_;
  std::shared_ptr<nx::manual_poller> poller_;
  std::unique_ptr<nx_db> tree_;
  std::shared_ptr<manager::interface> manager_;
  std::vector<unsigned> channels_;
  bool channels_by_command_;
  std::mutex log_mutex_;
  log_lines log_;
  std::string awaited_line_;
  std::function<void()> at_awaited_line_;
  std::chrono::nanoseconds unpolled_{0};
};

}  // namespace test
