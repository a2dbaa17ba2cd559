// One whole manager on the simulated plant: real loops, real proxies, in-process trees, a store in
// memory and a clock moved by hand. Nothing here sleeps or opens a socket.
#pragma once

#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/manager/interface.h"
#include "tests/support/plant_stage.h"

namespace test {

class plant_node : public plant_stage {
 public:
  explicit plant_node(const std::string& product) : plant_node(sim::default_topology(product)) {}
  explicit plant_node(sim::topology topology);
  ~plant_node() override;

  /// Builds the manager; its waits move time.
  void start();
  /// The manager ends and another replaces it: devices and store keep their state.
  void restart();
  /// For tests that start the manager themselves.
  std::shared_ptr<manager::interface>& manager() { return manager_; }
  /// On models with channels by command: adds all of them, in a mode that regulates. Does nothing
  /// on the others.
  void add_channels();
  void add_channel(unsigned centre);
  /// Puts a channel of these models in a mode that regulates, in both directions.
  void regulate(unsigned centre);
  bool has_channels_by_command() const { return channels_by_command_; }
  /// Runs whole cycles until at least this much time has gone by.
  void run_for(std::chrono::nanoseconds duration);
  /// One cycle of the main loop, its sleep included.
  void cycle();
  /// Cycles until the condition holds; fails the test and returns false after `limit`.
  bool run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit);

  /// One more cycle, whose log says whether a loop is down; the log up to here is forgotten.
  bool is_fully_operational();
  /// Changes the power of one client instantly, so that a correction is due.
  void disturb(unsigned channel, double db);

  /// Where a node finds its peer.
  static constexpr const char* peer_address = "[fe80::2%osc0]:5100";
  /// Makes the plant's far end its peer, which plays the family that the topology names.
  void face_far_end();
  /// Makes the node its own peer: known if its model is, and with every value.
  void face_itself();

  /// Names of the devices that the manager holds on to: "booster", "sfp/0".
  std::set<std::string> devices() const;

  nx_db& tree() { return *tree_; }
  nx::in_process_network& network() { return network_; }

  /// Values of the daemon's tree; a value in error fails the test.
  float number(const std::string& path) { return static_cast<float>(number_of(*tree_, path)); }
  std::string text(const std::string& path) { return text_of(*tree_, path); }
  bool flag(const std::string& path) { return flag_of(*tree_, path); }
  void write(const std::string& path, const std::string& json) { write_to(*tree_, path, json); }
  /// A command; throws what its client would be answered with.
  void run(const std::string& path, const std::string& json) { run_at(*tree_, path, json); }

  /// Truth of the plant less the channel's target at the booster, dB.
  double true_error(unsigned channel) { return error_at(0, channel); }
  bool on_target(unsigned channel, double within_db = 0.5) {
    return std::fabs(true_error(channel)) < within_db;
  }
  bool all_on_target(double within_db = 0.5) { return all_within(0, within_db); }

 private:
  void poll(std::chrono::milliseconds passed) override { poller_->advance(passed); }
  void create_manager();
  void end_manager();

  std::shared_ptr<nx::manual_poller> poller_;
  std::unique_ptr<nx_db> tree_;
  std::shared_ptr<manager::interface> manager_;
  bool channels_by_command_;
  std::string own_address_;  // as a peer's, if it faces itself
  bool faces_far_end_ = false;
};

}  // namespace test
