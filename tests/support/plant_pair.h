// Two whole managers face to face on the simulated plant, in one process: each on a thread of its
// own that takes turns with the test on the hand-driven clock, each with its own tree and folder,
// and each other's tree over the in-process transport as over the supervisory link.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/manager/interface.h"
#include "platform/nexel_client/in_process.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/poll_scheduler.h"
#include "sim/plant.h"
#include "tests/support/hand_clock.h"
#include "tests/support/temp_folder.h"

namespace test {

class plant_pair {
 public:
  explicit plant_pair(sim::topology topology);
  ~plant_pair();

  /// Brings both managers up; they then run until the end.
  void start();
  void run_for(std::chrono::nanoseconds duration) { clock_->sleep(duration); }
  /// Looks every tenth of a second; false when the condition does not come to hold in time.
  bool run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit);

  sim::plant& plant() { return *plant_; }
  nx_db& tree(unsigned node) { return *nodes_[node]->tree; }
  std::chrono::nanoseconds now() const { return clock_->elapsed(); }
  const std::vector<unsigned>& channels() const { return channels_; }

  float number(unsigned node, const std::string& path);
  std::string text(unsigned node, const std::string& path);
  /// Empty while the value is in error.
  std::optional<float> try_number(unsigned node, const std::string& path);

  /// The manager of a node ends, as a process that is killed: the peer loses its tree.
  void stop_manager(unsigned node);
  void start_manager(unsigned node);
  /// What the other node sees of this one's tree.
  void set_peer_link(unsigned node, nx::link_state state);

  double true_error(unsigned node, unsigned channel);
  bool all_on_target(unsigned node, double within_db = 0.5);
  /// Lines of level 2 of both managers since the last call.
  std::vector<std::string> take_log();

 private:
  struct managed_node {
    std::string root;
    std::shared_ptr<nx::manual_poller> poller;
    std::unique_ptr<nx_db> tree;
    std::shared_ptr<manager::interface> manager;
    std::atomic<bool> started{false};
    bool running = true;  // through std::atomic_ref
    std::jthread thread;
  };

  void step(std::chrono::nanoseconds piece);
  static std::string peer_address(unsigned node);
  void run_manager(managed_node& node);

  temp_folder folder_;
  nx::in_process_network network_;
  std::unique_ptr<sim::plant> plant_;
  std::shared_ptr<hand_clock> clock_;
  std::array<std::unique_ptr<managed_node>, 2> nodes_;
  std::vector<unsigned> channels_;
  std::chrono::nanoseconds unpolled_{0};
  std::mutex log_mutex_;
  std::vector<std::string> log_;
};

}  // namespace test
