// Two whole managers face to face on the simulated plant, in one process: each on a thread that
// takes turns with the test on the hand-driven clock, with its own tree and folder, and with access
// to the other's tree over the in-process transport, like over the supervisory link.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/manager/interface.h"
#include "tests/support/plant_stage.h"
#include "tests/support/temp_folder.h"

namespace test {

class plant_pair : public plant_stage {
 public:
  explicit plant_pair(sim::topology topology);
  ~plant_pair() override;

  /// Brings both managers up; they then run until the end.
  void start();
  void run_for(std::chrono::nanoseconds duration) { clock_->sleep(duration); }
  /// Looks every tenth of a second; false when the condition does not come to hold in time.
  bool run_until(const std::function<bool()>& condition, std::chrono::nanoseconds limit);

  nx_db& tree(unsigned node) { return *nodes_[node]->tree; }

  float number(unsigned node, const std::string& path) {
    return static_cast<float>(number_of(tree(node), path));
  }
  std::string text(unsigned node, const std::string& path) { return text_of(tree(node), path); }
  /// A client's write. While a manager sleeps inside a device call it may hold what the write
  /// needs: as on a node, the write then waits until the call has ended, while time continues.
  void write(unsigned node, const std::string& path, const std::string& json);
  /// The manager of a node ends, as a process that is killed: the peer loses its tree.
  void stop_manager(unsigned node);
  void start_manager(unsigned node);
  /// What the other node sees of this one's tree.
  void set_peer_link(unsigned node, nx::link_state state);

  double true_error(unsigned node, unsigned channel) { return error_at(node, channel); }
  bool all_on_target(unsigned node, double within_db = 0.5) { return all_within(node, within_db); }

 private:
  struct managed_node {
    std::string root;
    std::shared_ptr<nx::manual_poller> poller;
    std::unique_ptr<nx_db> tree;
    std::shared_ptr<manager::interface> manager;
    std::atomic<bool> started{false};
    std::atomic<bool> ended{false};
    bool running = true;  // through std::atomic_ref
    std::jthread thread;
  };

  void poll(std::chrono::milliseconds passed) override;
  static std::string peer_address(unsigned node);
  void run_manager(managed_node& node);

  temp_folder folder_;
  std::array<std::unique_ptr<managed_node>, 2> nodes_;
};

}  // namespace test
